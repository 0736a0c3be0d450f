#pragma once

#include "road/progress.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Which features lead, and which ones follow them. For the window of each moment, a histogram of the transitions from
/// the four largest features of a frame to the four largest of the next frame; higher ranks weigh more. Only the order
/// of the features counts, not their values. Equal features rank in the order of their numbers.
/// @param stream   frames by features, at least 4 features
/// @param modeled  sized here: a row per moment; column i * features + j holds the transitions from feature i to
///                 feature j. A row adds up to 536 for each pair of neighboring frames in its window.
/// @throws corvane::cancel_exception
void model_mph(const tavel::Matrix<double>& stream, int modeling_frames, const tavel::Vector<int>& frame_centers,
               tavel::Matrix<double>& modeled, const progress_record& progress);

} // namespace veloria
