#include "tavel/mldivide.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "tavel/error.h"
#include "tavel/lapack.h"
#include "tavel/saturate.h"

namespace tavel {
namespace {

void check_info(int info)
{
    if (info > 0)
        throw error("mldivide :: solution is badly conditioned \n");
    if (info < 0)
        throw error("mldivide :: argument error in mldivide info = " + std::to_string(info) + "\n");
}

// LAPACK's copy of a matrix that it overwrites: at least `rows` rows, the new ones 0.
Matrix<double> scratch_copy(const Matrix<double>& matrix, int rows)
{
    Matrix<double> copy;
    copy = matrix;
    copy.resize(rows, matrix.columns, 0.0);
    return copy;
}

Matrix<double> solve_square(const Matrix<double>& a, const Matrix<double>& b)
{
    Matrix<double> factors = scratch_copy(a, a.rows), x = scratch_copy(b, b.rows);
    Vector<int> pivots(a.rows);
    const int leading = std::max(1, a.rows);
    int info = 0;
    dgesv_(&a.rows, &b.columns, factors.data, &leading, pivots.data, x.data, &leading, &info);
    check_info(info);
    return x;
}

Matrix<double> solve_least_squares(const Matrix<double>& a, const Matrix<double>& b)
{
    const int larger = std::max(a.rows, a.columns), smaller = std::min(a.rows, a.columns);
    const int work_size = saturate_cast<int>(5.0 * larger);
    const std::int64_t least_work =
        std::int64_t{3} * smaller +
        std::max({2 * std::int64_t{smaller}, std::int64_t{larger}, std::int64_t{b.columns}});
    if (work_size < least_work)
        check_info(-12); // of dgelss; LAPACK's own answer may end the program

    Matrix<double> factors = scratch_copy(a, a.rows), x = scratch_copy(b, larger);
    Vector<double> singular_values(std::max(1, smaller)), work(work_size);
    const double rcond = a.rows * std::numeric_limits<double>::epsilon();
    const int leading = std::max(1, a.rows);
    int rank = 0, info = 0;
    dgelss_(&a.rows, &a.columns, &b.columns, factors.data, &leading, x.data, &larger, singular_values.data, &rcond,
            &rank, work.data, &work_size, &info);
    check_info(info);
    x.resize(a.columns, b.columns, 0.0);
    return x;
}

} // namespace

Matrix<double> mldivide(const Matrix<double>& a, const Matrix<double>& b)
{
    if (a.rows != b.rows)
        check_info(-7); // the leading dimension of B, of both routines
    return a.rows == a.columns ? solve_square(a, b) : solve_least_squares(a, b);
}

Vector<double> mldivide(const Matrix<double>& a, const Vector<double>& b)
{
    Matrix<double> right_side(b.size, 1);
    right_side(all, 0) = b;
    Vector<double> solution(a.columns, 0.0, true);
    solution = mldivide(a, right_side);
    return solution;
}

} // namespace tavel
