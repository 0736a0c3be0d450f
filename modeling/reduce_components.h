#pragma once

#include "road/progress.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Replaces the columns of each stream, in place, by its principal components, in descending order of their variance:
/// those whose variance is above a hundredth of the largest, but at least 3 if there are as many. The sign of a column
/// is open. Columns whose mean is NaN are left out if at least 3 others are there. Streams of fewer than 4 rows stay as
/// they are.
/// @param streams   standardized, rows by any number of columns; at least one
/// @param progress  counts the columns kept out of all columns, so that its reports end before the piece does
/// @throws tavel::error "min/max_elem called for empty expression \n" for a stream without columns;
///         corvane::cancel_exception
/// Method: I. T. Jolliffe, "Principal Component Analysis", 2nd ed., Springer 2002, chapters 3.5 and 6.1.
void reduce_components(tavel::Vector<tavel::Matrix<double>>& streams, const progress_record& progress);

} // namespace veloria
