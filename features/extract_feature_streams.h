#pragma once

#include "features/analysis_costs.h"
#include "tavel/tavel_dense_vector.h"
#include "veloria/progress.h"

namespace veloria {

/// Feature streams of a sound, all with a row per frame, each column with mean 0 and deviation 1.
/// Selection 0: cepstrum (13 columns) and contrast (12); 1: pitch class (12); 2: all three.
/// @param samples      mono sound
/// @param sr           sample rate in Hz
/// @param features     the selection
/// @param costs        they divide the piece of the bar between the features and what follows
/// @param frame_slice  set to the centre samples of the frames; frame i stands for the time
///                     (start + 1 + step * i) / sr seconds
/// @param progress     holds what remains of its piece on return
/// @throws std::logic_error "unexpected feature type"; what extract_timbre and extract_harmonic throw
void extract_feature_streams(const tavel::Vector<double>& samples, double sr, int features, const analysis_costs& costs,
                             tavel::Slice<int>& frame_slice, tavel::Vector<tavel::Matrix<double>>& streams,
                             progress_record& progress);

} // namespace veloria
