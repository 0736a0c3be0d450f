#pragma once

#include <algorithm>

#include "tavel/matrix.h"
#include "tavel/vector.h"

namespace tavel {

/// The listed columns, in the order of the list. There is no check of the indices.
template <class T>
Matrix<T> select_columns(const Matrix<T>& matrix, const Vector<int>& index)
{
    Matrix<T> selected(matrix.rows, index.size);
    for (int k = 0; k < index.size; ++k)
        std::copy_n(matrix.column_data(index[k]), matrix.rows, selected.column_data(k));
    return selected;
}

} // namespace tavel
