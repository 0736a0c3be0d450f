#pragma once

#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Gives every column of every stream mean 0 and deviation 1, in place; the deviation divides by rows - 1.
/// A column without deviation only loses its mean; one with a NaN becomes NaN throughout.
void standardize_columns(tavel::Vector<tavel::Matrix<double>>& streams);

} // namespace veloria
