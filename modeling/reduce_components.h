#pragma once

#include "tavel/tavel_dense_vector.h"
#include "veloria/progress.h"

namespace veloria {

/// Turns each stream, in place, onto its principal axes and keeps the components whose variance is above a
/// hundredth of the largest, 3 at least if there are as many: rows stay, columns become scores in descending order of
/// their variance. The sign of a column is open. Columns whose mean isn't a number are left out, unless fewer than
/// 3 others are there.
/// @param progress  set up by the caller, with `scale` per column of the streams; counts the columns kept
/// @throws tavel::error "min/max_elem called for empty expression \n" for a stream without columns;
///         corvane::cancel_exception
/// Method: I. T. Jolliffe, "Principal Component Analysis", 2nd ed., Springer 2002, chapters 3.5 and 6.1.
void reduce_components(tavel::Vector<tavel::Matrix<double>>& streams, progress_record& progress);

} // namespace veloria
