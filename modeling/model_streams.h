#pragma once

#include <vector>

#include "road/progress.h"
#include "road/settings.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Sums up feature streams into modeled streams, which have a row for each moment. A moment is a time of the grid that
/// has a frame of its own.
/// @param features     one stream or more, standardized, frames by features
/// @param sr           sample rate of the sound in Hz
/// @param frame_slice  center samples of the frames
/// @param grid         window centers in seconds, ascending
/// @param chosen       the kind of modeling, and its window
/// @param frame_times  time of each moment in seconds; sized here
/// @param modeled      a stream for each of `features`, rows as in `frame_times`; empty on entry. Each stream takes a
///                     part of the progress bar as large as its part of the features.
/// @throws tavel::error; corvane::cancel_exception
void model_streams(const tavel::Vector<tavel::Matrix<double>>& features, double sr,
                   const tavel::Slice<int>& frame_slice, const std::vector<double>& grid, const settings& chosen,
                   tavel::Vector<double>& frame_times, tavel::Vector<tavel::Matrix<double>>& modeled,
                   const progress_record& progress);

} // namespace veloria
