#pragma once

#include "road/progress.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Distances of all pairs of moments: Euclidean in each stream, equalized by the stream's own distribution of
/// distances, summed over the streams.
/// @param streams  score streams, a row for each of n moments; at least one
/// @param distance empty on entry; n by n on return. The strict lower triangle holds the sums, 0.0 to the number of
///                 streams, all other cells 0.0. A single moment gives 1 by 1; if all moments are alike, the sums are
///                 NaN.
/// @param progress a report for each row measured and for each column counted and mapped
/// @throws corvane::cancel_exception; `distance` is of no use then
void compute_frame_distances(const tavel::Vector<tavel::Matrix<double>>& streams, tavel::Matrix<double>& distance,
                             const progress_record& progress);

} // namespace veloria
