#include "fft/mixed_radix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

#include "fft/butterflies.h"
#include "fft/mixed_radix_pass.h"

namespace libfft {

namespace {

using std::ptrdiff_t;

// Roots of unity of a general radix: the first pair of each group of its twiddles.
template <class T>
struct complex_roots {
    pass_shape shape;
    const T* twiddles;

    complex_value<T> operator()(ptrdiff_t q) const { return load_pair(twiddles + 2 * (q - 1) * shape.columns); }
};

template <class T>
void fill_complex_twiddles(const pass_factors& factors, T* table)
{
    const ptrdiff_t size = factors[0];
    const T step = T(2) * std::numbers::pi_v<T> / static_cast<T>(size);
    ptrdiff_t done = 1;
    for (int k = 0; k < factors[1]; ++k) {
        const ptrdiff_t radix = factors[static_cast<std::size_t>(2 + k)];
        const ptrdiff_t columns = size / (done * radix);
        for (ptrdiff_t j = 1; j < radix; ++j, table += 2 * columns) {
            for (ptrdiff_t i = 0; i < columns; ++i) {
                // No column needs the factor 1, and the roots of a general radix need a place.
                const T angle = static_cast<T>((i == 0 && radix > 5 ? columns : i) * j * done) * step;
                store_pair<T>({std::cos(angle), std::sin(angle)}, table + 2 * i);
            }
        }
        done *= radix;
    }
}

// A complex value with its parts swapped if the transform is an inverse one.
template <bool INVERSE, class T>
complex_value<T> turned(const complex_value<T>& value)
{
    return INVERSE ? swap_parts(value) : value;
}

template <int RADIX, bool INVERSE, class T>
void complex_pass(const pass_shape& shape, const T* __restrict in, T* __restrict out, const T* __restrict twiddles)
{
    const ptrdiff_t columns = 2 * shape.columns, row = 2 * shape.row_size();
    for (ptrdiff_t k = 0; k < shape.blocks; ++k, in += RADIX * columns, out += columns) {
        for (ptrdiff_t i = 0; i < columns; i += 2) {
            complex_value<T> z[RADIX];
            for (int j = 0; j < RADIX; ++j)
                z[j] = turned<INVERSE>(load_pair(in + j * columns + i));
            butterfly(z);
            store_pair(turned<INVERSE>(z[0]), out + i);
            for (int j = 1; j < RADIX; ++j) {
                const complex_value<T> w = load_pair(twiddles + (j - 1) * columns + i);
                store_pair(turned<INVERSE>(multiply_conjugate(z[j], w)), out + j * row + i);
            }
        }
    }
}

// Leaves its result in `values`.
template <bool INVERSE, class T>
void general_complex_pass(const pass_shape& shape, T* __restrict values, T* __restrict scratch, const T* twiddles)
{
    const pass_shape parts = {shape.radix, 2 * shape.columns, shape.blocks};
    const ptrdiff_t radix = parts.radix, columns = parts.columns, row = parts.row_size();
    for (ptrdiff_t k = 0; k < shape.blocks; ++k) {
        const T* in = values + radix * columns * k;
        std::copy_n(in, columns, scratch + k * columns);
        for (ptrdiff_t j = 1; 2 * j < radix; ++j)
            for (ptrdiff_t i = 0; i < columns; ++i) {
                const T a = in[j * columns + i], b = in[(radix - j) * columns + i];
                scratch[j * row + k * columns + i] = a + b;
                scratch[(radix - j) * row + k * columns + i] = a - b;
            }
    }
    sum_rows(parts, scratch, values, complex_roots<T>{shape, twiddles});
    for (ptrdiff_t m = 1; 2 * m < radix; ++m) {
        for (ptrdiff_t k = 0; k < shape.blocks; ++k) {
            T* a = values + m * row + k * columns;
            T* b = values + (radix - m) * row + k * columns;
            for (ptrdiff_t i = 0; i < columns; i += 2) {
                auto [z, y] = unfold(turned<INVERSE>(load_pair(a + i)), turned<INVERSE>(load_pair(b + i)));
                if (i > 0) {
                    z = multiply_conjugate(z, load_pair(twiddles + (m - 1) * columns + i));
                    y = multiply_conjugate(y, load_pair(twiddles + (radix - m - 1) * columns + i));
                }
                store_pair(turned<INVERSE>(z), a + i);
                store_pair(turned<INVERSE>(y), b + i);
            }
        }
    }
}

template <bool INVERSE, class T>
void complex_passes(int size, T* data, transform_tables<T>& tables)
{
    T* const scratch = tables.data.get();
    const T* twiddles = scratch + 2 * static_cast<ptrdiff_t>(size);
    T *from = data, *to = scratch;
    ptrdiff_t done = 1;
    for (int k = 0; k < tables.factors[1]; ++k) {
        const ptrdiff_t radix = tables.factors[static_cast<std::size_t>(2 + k)];
        const pass_shape shape = {radix, size / (done * radix), done};
        switch (radix) {
        case 2:
            complex_pass<2, INVERSE>(shape, from, to, twiddles);
            break;
        case 3:
            complex_pass<3, INVERSE>(shape, from, to, twiddles);
            break;
        case 4:
            complex_pass<4, INVERSE>(shape, from, to, twiddles);
            break;
        case 5:
            complex_pass<5, INVERSE>(shape, from, to, twiddles);
            break;
        default:
            general_complex_pass<INVERSE>(shape, from, to, twiddles);
        }
        if (radix <= 5)
            std::swap(from, to);
        twiddles += 2 * (radix - 1) * shape.columns;
        done *= radix;
    }
    if (from != data)
        std::copy_n(from, 2 * static_cast<ptrdiff_t>(size), data);
}

} // namespace

template <class T>
transform_tables<T> complex_setup(int size)
{
    const auto count = 2 * static_cast<std::size_t>(size);
    transform_tables<T> tables = {std::make_unique_for_overwrite<T[]>(2 * count), factorize(size, {3, 4, 2, 5})};
    fill_complex_twiddles(tables.factors, tables.data.get() + count);
    return tables;
}

template <class T>
void complex_forward(int size, T* data, transform_tables<T>& tables) noexcept
{
    complex_passes<false>(size, data, tables);
}

template <class T>
void complex_inverse(int size, T* data, transform_tables<T>& tables) noexcept
{
    complex_passes<true>(size, data, tables);
    const T factor = T(1) / static_cast<T>(size);
    for (ptrdiff_t i = 0; i < 2 * static_cast<ptrdiff_t>(size); ++i)
        data[i] *= factor;
}

template transform_tables<float> complex_setup(int);
template transform_tables<double> complex_setup(int);
template void complex_forward(int, float*, transform_tables<float>&) noexcept;
template void complex_forward(int, double*, transform_tables<double>&) noexcept;
template void complex_inverse(int, float*, transform_tables<float>&) noexcept;
template void complex_inverse(int, double*, transform_tables<double>&) noexcept;

} // namespace libfft
