#pragma once

#include "road/progress.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Turns each stream, in place, onto its principal axes and keeps the components whose variance is above a
/// hundredth of the largest, 3 at least if there are as many: rows stay, columns become scores in descending order of
/// their variance. The sign of a column is open. Columns whose mean isn't a number are left out, unless fewer than
/// 3 others are there. Streams of fewer than 4 rows stay as they are.
/// @param streams   standardized, rows by any number of columns; at least one
/// @param progress  counts the columns kept out of all columns, so that its reports end before the piece does
/// @throws tavel::error "min/max_elem called for empty expression \n" for a stream without columns;
///         corvane::cancel_exception
/// Method: I. T. Jolliffe, "Principal Component Analysis", 2nd ed., Springer 2002, chapters 3.5 and 6.1.
void reduce_components(tavel::Vector<tavel::Matrix<double>>& streams, const progress_record& progress);

} // namespace veloria
