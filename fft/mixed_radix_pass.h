#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "fft/butterflies.h"
#include "fft/mixed_radix.h"

namespace libfft {

/// A pass of a mixed-radix transform combines `radix` sequences. Seen from it the values are an array of `columns` by
/// `blocks` by `radix` on one side and of `columns` by `radix` by `blocks` on the other, the first count running
/// fastest. The columns of a real transform are a sequence in halfcomplex order: the real first value, then pairs of
/// real and imaginary part, and with an even number of columns the real last value.
struct pass_shape {
    std::ptrdiff_t radix, columns, blocks;

    std::ptrdiff_t row_size() const { return columns * blocks; }
};

template <class T>
complex_value<T> load_pair(const T* values)
{
    return {values[0], values[1]};
}

template <class T>
void store_pair(const complex_value<T>& value, T* values)
{
    values[0] = value.real;
    values[1] = value.imag;
}

/// Trial division by the first tries, then by 7, 9, 11 and so on. A late 2 goes to the front: so, of the passes of a
/// real transform, only those of 2 and 4 meet an even number of columns.
pass_factors factorize(int size, const std::array<int, 4>& first_tries);

/// The sums over any odd radix for all columns at once, given the sums (rows 1 .. radix/2) and differences (their
/// mirror rows) of rows that belong together: row m becomes the sum with the cosines, its mirror row that with the
/// sines of the angles 2 pi j m / radix.
template <class T, class ROOT>
void sum_rows(const pass_shape& shape, const T* __restrict rows, T* __restrict sums, ROOT root)
{
    const std::ptrdiff_t size = shape.row_size();
    std::copy_n(rows, size, sums);
    for (std::ptrdiff_t j = 1; 2 * j < shape.radix; ++j)
        for (std::ptrdiff_t i = 0; i < size; ++i)
            sums[i] += rows[j * size + i];
    for (std::ptrdiff_t m = 1; 2 * m < shape.radix; ++m) {
        T* __restrict cosine_sum = sums + m * size;
        T* __restrict sine_sum = sums + (shape.radix - m) * size;
        std::copy_n(rows, size, cosine_sum);
        std::fill_n(sine_sum, size, T(0));
        for (std::ptrdiff_t j = 1; 2 * j < shape.radix; ++j) {
            const complex_value<T> w = root(j * m % shape.radix);
            const T* __restrict sum = rows + j * size;
            const T* __restrict difference = rows + (shape.radix - j) * size;
            for (std::ptrdiff_t i = 0; i < size; ++i) {
                cosine_sum[i] += w.real * sum[i];
                sine_sum[i] += w.imag * difference[i];
            }
        }
    }
}

/// Two mirrored bins from their sums with the cosines and with the sines.
template <class T>
std::pair<complex_value<T>, complex_value<T>> unfold(const complex_value<T>& cosine_sum,
                                                     const complex_value<T>& sine_sum)
{
    const complex_value<T> turned = turn_back(sine_sum);
    return {cosine_sum + turned, cosine_sum - turned};
}

} // namespace libfft
