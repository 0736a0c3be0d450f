#pragma once

#include <algorithm>
#include <numeric>

#include "tavel/error.h"
#include "tavel/vector.h"

namespace tavel {

/// Positions, from 0, of the elements in sorted order; only the positions move. Equal elements keep their order in
/// both directions, and a NaN comes last.
/// @param index  result; gets the size and the orientation of data
/// @param dim    1 sorts a column, 2 a row; along the other dimension every element stays in place
/// @param mode   descending if it begins with d or D; else, or if null, ascending
template <class T>
void sort(const Vector<T>& data, Vector<int>& index, int dim, const char* mode)
{
    index.resize(data.size);
    index.column = data.column;
    std::iota(index.begin(), index.end(), 0);
    if (dim != (data.column ? 1 : 2))
        return;

    const T* values = data.data;
    const auto by_value = [values](auto before) {
        return [values, before](int a, int b) {
            const T x = values[a], y = values[b];
            if (before(x, y))
                return true;
            if (before(y, x))
                return false;
            const bool x_is_nan = x != x, y_is_nan = y != y;
            return x_is_nan == y_is_nan ? a < b : y_is_nan;
        };
    };
    if (mode != nullptr && (*mode == 'd' || *mode == 'D'))
        std::sort(index.begin(), index.end(), by_value([](T x, T y) { return x > y; }));
    else
        std::sort(index.begin(), index.end(), by_value([](T x, T y) { return x < y; }));
}

/// The same along the vector's own length, with a sorted copy of the data.
/// @throws tavel::error "sort (const Tin& datain, Tout& dataout, Tind& outind...) called with inplace arguments\n"
template <class T>
void sort(const Vector<T>& data, Vector<T>& sorted, Vector<int>& index, const char* mode)
{
    if (data.data == sorted.data)
        throw error("sort (const Tin& datain, Tout& dataout, Tind& outind...) called with inplace arguments\n");
    sort(data, index, data.column ? 1 : 2, mode);
    sorted = data(index);
}

} // namespace tavel
