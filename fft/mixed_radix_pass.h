#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include "fft/butterflies.h"

namespace libfft {

/// One pass of a transform of radix * columns * blocks values. On one side of the pass the values of column i, block k
/// lie a row apart: value j at i + columns * (k + blocks * j). On the other side they lie together: value h at
/// i + columns * (h + radix * k). The columns of a real transform are a spectrum in halfcomplex order: bin 0, then real
/// and imaginary part in turn, and with an even number of columns the real bin at the Nyquist frequency.
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

/// The factors of a size in the order of the passes: by trial division by the first tries, then by 7, 9, 11 and so on.
/// A 2 goes to the front of what was found. So, of the passes of a real transform, only those by 2 and 4 meet an even
/// number of columns.
inline std::vector<int> factorize(int size, const std::array<int, 4>& first_tries)
{
    std::vector<int> factors;
    int divisor = 0;
    for (std::size_t attempt = 0; size > 1; ++attempt) {
        divisor = attempt < first_tries.size() ? first_tries[attempt] : divisor + 2;
        for (; size % divisor == 0; size /= divisor)
            factors.insert(divisor == 2 ? factors.begin() : factors.end(), divisor);
    }
    return factors;
}

/// Runs a pass: `special`, with the radix as a constant, where it has a butterfly of its own, and else `general`. The
/// first goes from one array to the other, the second works in place; the result is in `from` afterwards.
template <class T, class SPECIAL, class GENERAL>
void run_pass(std::ptrdiff_t radix, T*& from, T*& to, SPECIAL special, GENERAL general)
{
    switch (radix) {
    case 2:
        special(std::integral_constant<int, 2>());
        break;
    case 3:
        special(std::integral_constant<int, 3>());
        break;
    case 4:
        special(std::integral_constant<int, 4>());
        break;
    case 5:
        special(std::integral_constant<int, 5>());
        break;
    default:
        return general();
    }
    std::swap(from, to);
}

/// The sums of a pass by any odd radix, for all columns at once. With x[j] the values to transform, row j of `rows`
/// holds x[j] + x[radix - j] for 0 < j < radix / 2, row radix - j holds x[j] - x[radix - j], row 0 holds x[0].
/// Row 0 of `sums` becomes the sum of all x; for 0 < m < radix / 2, row m becomes x[0] plus the sum over j of
/// cos(2 pi j m / radix) rows[j], and row radix - m the sum over j of sin(2 pi j m / radix) rows[radix - j].
/// @param root  root(q) is the complex number at the angle 2 pi q / radix
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

/// Bins m and radix - m from their sums with the cosines and with the sines.
template <class T>
std::pair<complex_value<T>, complex_value<T>> unfold(const complex_value<T>& cosine_sum,
                                                     const complex_value<T>& sine_sum)
{
    const complex_value<T> turned = turn_back(sine_sum);
    return {cosine_sum + turned, cosine_sum - turned};
}

} // namespace libfft
