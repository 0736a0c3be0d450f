#include "tavel/mean.h"

namespace tavel {

Vector<double> mean(const Matrix<double>& matrix, int dim)
{
    Vector<double> means(dim == 1 ? matrix.columns : matrix.rows, 0.0, dim != 1 && matrix.rows > 1);
    for (int c = 0; c < matrix.columns; ++c) {
        const double* column = matrix.column_data(c);
        for (int r = 0; r < matrix.rows; ++r)
            means[dim == 1 ? c : r] += column[r];
    }
    means = means / static_cast<double>(dim == 1 ? matrix.rows : matrix.columns);
    return means;
}

} // namespace tavel
