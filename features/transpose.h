#pragma once

#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Exchanges rows and columns in the matrix's own storage, at the cost of one bit per element.
/// E. G. Cate and D. W. Twigg, "Algorithm 513: Analysis of in-situ transposition", ACM TOMS 3(1), 1977.
void transpose_in_place(tavel::Matrix<double>& matrix);

} // namespace veloria
