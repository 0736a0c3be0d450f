#pragma once

#include "road/progress.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Mean, and if asked variance, of each feature over the window of each moment.
/// @param stream         frames by features
/// @param modeling_frames width of the window, as modeling_window_frames() gives it
/// @param frame_centers  the frame of each moment
/// @param modeled        sized here: a row per moment; a column of means per feature, then one of variances.
///                       A variance is the one that divides by the count of the frames. Both are NaN where a window
///                       has no frames.
/// @throws corvane::cancel_exception
void model_window_statistics(const tavel::Matrix<double>& stream, int modeling_frames,
                             const tavel::Vector<int>& frame_centers, bool with_variance,
                             tavel::Matrix<double>& modeled, const progress_record& progress);

} // namespace veloria
