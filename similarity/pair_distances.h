#pragma once

#include "road/progress.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Euclidean distances of all pairs of rows of a stream. Reports for each row, in ascending order, how many pairs are
/// done up to it; up to 64 reports come one right after the other.
/// @param stream   n by any number of components
/// @param distance n by n; cell (i, j) with j < i becomes the distance of rows i and j, other cells stay
/// @return the largest distance, at least 0.0; NaN are passed over
double measure_pairs(const tavel::Matrix<double>& stream, tavel::Matrix<double>& distance,
                     const progress_record& progress);

} // namespace veloria
