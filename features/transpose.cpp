#include "features/transpose.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace veloria {

namespace {

void swap_across_diagonal(tavel::Matrix<double>& matrix)
{
    for (int c = 1; c < matrix.columns; ++c)
        for (int r = 0; r < c; ++r)
            std::swap(matrix(r, c), matrix(c, r));
}

// Moves each element of a matrix stored by columns to its place in the transposed one. The first and the last
// element stay where they are.
void follow_cycles(double* data, std::size_t rows, std::size_t columns)
{
    const std::size_t count = rows * columns;
    std::vector<bool> moved(count);
    for (std::size_t first = 1; first + 1 < count; ++first) {
        if (moved[first])
            continue;
        double carried = data[first];
        std::size_t place = first;
        do {
            place = place % rows * columns + place / rows;
            std::swap(carried, data[place]);
            moved[place] = true;
        } while (place != first);
    }
}

} // namespace

void transpose_in_place(tavel::Matrix<double>& matrix)
{
    if (matrix.rows == matrix.columns) {
        swap_across_diagonal(matrix);
        return;
    }
    if (matrix.rows > 1 && matrix.columns > 1)
        follow_cycles(matrix.data, static_cast<std::size_t>(matrix.rows), static_cast<std::size_t>(matrix.columns));
    std::swap(matrix.rows, matrix.columns);
}

} // namespace veloria
