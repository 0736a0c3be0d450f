#pragma once

#include "tavel/matrix.h"
#include "tavel/vector.h"

namespace tavel {

/// Means along a dimension: dim 1 gives a row with the mean of each column, dim 2 the mean of each row, a column if
/// there is more than one. Sums run in index order from 0.0; a mean over nothing is NaN.
Vector<double> mean(const Matrix<double>& matrix, int dim);

} // namespace tavel
