#pragma once

#include "road/progress.h"
#include "road/settings.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Feature streams of a sound, all with a row per frame: cepstrum (13 columns) and contrast (12) for timbre, pitch
/// class (12) for harmony, in this order all three for a mixed selection.
/// @param samples      mono sound
/// @param sr           sample rate in Hz
/// @param frame_slice  set to the center samples of the frames; frame i stands for the time
///                     (start + 1 + step * i) / sr seconds
/// @throws std::logic_error "unexpected feature type"; what extract_timbre and extract_harmonic throw
void extract_feature_streams(const tavel::Vector<double>& samples, double sr, feature_selection features,
                             tavel::Slice<int>& frame_slice, tavel::Vector<tavel::Matrix<double>>& streams,
                             const progress_record& progress);

} // namespace veloria
