#pragma once

#include <vector>

#include "features/analysis_costs.h"
#include "tavel/tavel_dense_vector.h"
#include "veloria/progress.h"

namespace veloria {

/// From feature streams to score streams: a row for each point of the grid that a frame stands for, standardised,
/// and on its principal axes where there are more than 3 rows.
/// @param features         one stream or more, standardised, frames by features
/// @param sr               sample rate of the sound in Hz
/// @param frame_slice      centre samples of the frames
/// @param grid             window centres in seconds, ascending
/// @param modeling_window  seconds
/// @param modeling         0 mean, 1 mean and variance, 2 modulation spectrum, 3 histogram of leading features;
///                         any other leaves the streams empty
/// @param costs            divide the piece of the progress bar between modeling and reduction
/// @param frame_times      time of each row in seconds; sized here
/// @param scores           a stream for each of `features`, rows as in `frame_times`; empty on entry
/// @throws tavel::error; corvane::cancel_exception
void model_streams(const tavel::Vector<tavel::Matrix<double>>& features, double sr,
                   const tavel::Slice<int>& frame_slice, const std::vector<double>& grid, double modeling_window,
                   int modeling, const analysis_costs& costs, tavel::Vector<double>& frame_times,
                   tavel::Vector<tavel::Matrix<double>>& scores, progress_record& progress);

} // namespace veloria
