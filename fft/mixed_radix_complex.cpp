#include "fft/mixed_radix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

#include "fft/butterflies.h"
#include "fft/mixed_radix_pass.h"

namespace libfft {

namespace {

using std::ptrdiff_t;

// The roots of a general radix, which stand in the first column of its twiddles.
template <class T>
struct complex_roots {
    pass_shape shape;
    const T* twiddles;

    complex_value<T> operator()(ptrdiff_t q) const { return load_pair(twiddles + 2 * (q - 1) * shape.columns); }
};

template <class T>
void fill_twiddles(const std::vector<int>& factors, ptrdiff_t size, T* table)
{
    const T step = T(2) * std::numbers::pi_v<T> / static_cast<T>(size);
    ptrdiff_t done = 1;
    for (const ptrdiff_t radix : factors) {
        const ptrdiff_t columns = size / (done * radix);
        for (ptrdiff_t j = 1; j < radix; ++j, table += 2 * columns) {
            for (ptrdiff_t i = 0; i < columns; ++i) {
                // Column 0 has the factor 1 and reads none: a general radix keeps its roots there.
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
void special_pass(const pass_shape& shape, const T* __restrict in, T* __restrict out, const T* __restrict twiddles)
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

// The pass by any other odd radix. Leaves its result in `values`.
template <bool INVERSE, class T>
void general_pass(const pass_shape& shape, T* __restrict values, T* __restrict scratch, const T* twiddles)
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

} // namespace

template <class T>
mixed_radix_complex<T>::mixed_radix_complex(int size)
    : factors(factorize(size, {3, 4, 2, 5})), twiddles(2 * static_cast<std::size_t>(size)), scratch(twiddles.size())
{
    fill_twiddles(factors, size, twiddles.data());
}

template <class T>
template <bool INVERSE>
void mixed_radix_complex<T>::run_passes(T* data)
{
    T *from = data, *to = scratch.data();
    const T* w = twiddles.data();
    ptrdiff_t done = 1;
    for (const ptrdiff_t radix : factors) {
        const pass_shape shape = {radix, std::ssize(scratch) / 2 / (done * radix), done};
        run_pass(
            radix, from, to, [&](auto constant) { special_pass<constant, INVERSE>(shape, from, to, w); },
            [&] { general_pass<INVERSE>(shape, from, to, w); });
        w += 2 * (radix - 1) * shape.columns;
        done *= radix;
    }
    if (from != data)
        std::copy_n(from, scratch.size(), data);
}

template <class T>
void mixed_radix_complex<T>::forward(T* data) noexcept
{
    run_passes<false>(data);
}

template <class T>
void mixed_radix_complex<T>::inverse(T* data) noexcept
{
    run_passes<true>(data);
    const T factor = T(1) / static_cast<T>(scratch.size() / 2);
    for (std::size_t i = 0; i < scratch.size(); ++i)
        data[i] *= factor;
}

template class mixed_radix_complex<float>;
template class mixed_radix_complex<double>;

} // namespace libfft
