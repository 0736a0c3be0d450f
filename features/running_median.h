#pragma once

#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Replaces each row by its running median, in place; an even length reaches one column further back than ahead,
/// and what lies outside the row counts as 0. A length below 2 or above the number of columns changes nothing.
/// A NaN counts as the largest value.
/// Running medians: J. W. Tukey, "Exploratory Data Analysis", Addison-Wesley, 1977.
void median_filter_rows(tavel::Matrix<double>& matrix, int length);

} // namespace veloria
