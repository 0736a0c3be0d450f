#pragma once

#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Turns distances into a picture of similarity: the smallest cell of `distance` becomes 255, the largest 0, a NaN 0.
/// @param distance   n by n, 0.0 on and above the diagonal; no cell above the diagonal is read
/// @param similarity resized to n by n; symmetric, 255 on the diagonal
/// @param n          moments; `distance` may have another size where there are no pairs of moments
void quantize_distances(const tavel::Matrix<double>& distance, tavel::Matrix<unsigned char>& similarity, int n);

} // namespace veloria
