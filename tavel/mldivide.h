#pragma once

#include "tavel/matrix.h"
#include "tavel/vector.h"

namespace tavel {

/// Solution X of A X = B: by elimination where A is square, else the least-squares solution of smallest norm, from the
/// singular values above eps times the rows of A times the largest one.
/// @throws tavel::error "mldivide :: solution is badly conditioned \n", "mldivide :: argument error in mldivide
///         info = %d\n" with the number of LAPACK's bad argument, negated
Matrix<double> mldivide(const Matrix<double>& a, const Matrix<double>& b);

/// The same for one right-hand side; the solution is a column.
Vector<double> mldivide(const Matrix<double>& a, const Vector<double>& b);

} // namespace tavel
