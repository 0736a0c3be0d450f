#include "fft/mixed_radix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>
#include <vector>

#include "fft/butterflies.h"
#include "fft/halfcomplex_butterflies.h"
#include "fft/mixed_radix_pass.h"

namespace libfft {

namespace {

using std::ptrdiff_t;

// The roots of a general radix. Its number of columns is odd, which leaves the last place of each row of its twiddles
// free: row q - 1 has there cos(2 pi q / radix) for q < radix / 2 and sin(2 pi (radix - q) / radix) beyond.
template <class T>
struct real_roots {
    pass_shape shape;
    const T* twiddles;

    complex_value<T> operator()(ptrdiff_t q) const
    {
        const ptrdiff_t mirror = shape.radix - q;
        return q < mirror ? complex_value<T>{place(q), place(mirror)} : complex_value<T>{place(mirror), -place(q)};
    }

private:
    T place(ptrdiff_t q) const { return twiddles[q * shape.columns - 1]; }
};

template <class T>
void fill_twiddles(const std::vector<int>& factors, ptrdiff_t size, T* table)
{
    const T step = T(2) * std::numbers::pi_v<T> / static_cast<T>(size);
    ptrdiff_t done = 1;
    for (const ptrdiff_t radix : factors) {
        const ptrdiff_t columns = size / (done * radix);
        for (ptrdiff_t j = 1; j < radix; ++j, table += columns) {
            for (ptrdiff_t i = 1; i <= (columns - 1) / 2; ++i) {
                const T angle = static_cast<T>(i * j * done) * step;
                table[2 * i - 2] = std::cos(angle);
                table[2 * i - 1] = std::sin(angle);
            }
            if (radix > 5) {
                const T angle =
                    static_cast<T>(std::min(j, radix - j)) * (T(2) * std::numbers::pi_v<T> / static_cast<T>(radix));
                table[columns - 1] = 2 * j < radix ? std::cos(angle) : std::sin(angle);
            }
        }
        done *= radix;
    }
}

// The two columns that hold real values: bin 0 and, with an even number of columns, the Nyquist frequency.
enum class edge { first, last };

// The place of value h, made from an edge column, in the spectrum of its block, which is in halfcomplex order again.
// Of the first column: bin 0 at 0, then the real part of bin m at 2 m columns - 1, its imaginary part at 2 m columns.
// Of the last column: the real part of bin m at (2 m + 1) columns - 1, its imaginary part at (2 m + 1) columns.
template <edge EDGE>
ptrdiff_t place_of(const pass_shape& shape, ptrdiff_t h)
{
    const bool at_end = (h % 2 == 1) == (EDGE == edge::first);
    return shape.columns * h + (at_end ? shape.columns - 1 : 0);
}

template <int RADIX, edge EDGE, class T, class BUTTERFLY>
void forward_column(const pass_shape& shape, const T* __restrict in, T* __restrict out, BUTTERFLY transform)
{
    const ptrdiff_t columns = shape.columns, row = shape.row_size();
    for (ptrdiff_t k = 0; k < shape.blocks; ++k, in += columns, out += RADIX * columns) {
        T x[RADIX];
        for (int j = 0; j < RADIX; ++j)
            x[j] = in[j * row + (EDGE == edge::first ? 0 : columns - 1)];
        transform(x);
        for (int h = 0; h < RADIX; ++h)
            out[place_of<EDGE>(shape, h)] = x[h];
    }
}

template <int RADIX, edge EDGE, class T, class BUTTERFLY>
void inverse_column(const pass_shape& shape, const T* __restrict in, T* __restrict out, BUTTERFLY transform)
{
    const ptrdiff_t columns = shape.columns, row = shape.row_size();
    for (ptrdiff_t k = 0; k < shape.blocks; ++k, in += RADIX * columns, out += columns) {
        T x[RADIX];
        for (int h = 0; h < RADIX; ++h)
            x[h] = in[place_of<EDGE>(shape, h)];
        transform(x);
        for (int j = 0; j < RADIX; ++j)
            out[j * row + (EDGE == edge::first ? 0 : columns - 1)] = x[j];
    }
}

// The columns between the edges, in pairs that hold a complex bin each. Turned by its twiddles and transformed, a pair
// becomes RADIX bins of the block's spectrum. Those of its upper half are stored as the conjugates of their mirror
// bins, which run backwards.
template <int RADIX, class T>
void forward_pairs(const pass_shape& shape, const T* __restrict in, T* __restrict out, const T* __restrict twiddles)
{
    const ptrdiff_t columns = shape.columns, row = shape.row_size();
    for (ptrdiff_t k = 0; k < shape.blocks; ++k, in += columns, out += RADIX * columns) {
        for (ptrdiff_t i = 1; i + 1 < columns; i += 2) {
            complex_value<T> z[RADIX];
            z[0] = load_pair(in + i);
            for (int j = 1; j < RADIX; ++j)
                z[j] = multiply_conjugate(load_pair(in + j * row + i), load_pair(twiddles + (j - 1) * columns + i - 1));
            butterfly(z);
            const ptrdiff_t mirror = columns - 2 - i;
            for (int m = 0; 2 * m < RADIX; ++m)
                store_pair(z[m], out + 2 * m * columns + i);
            for (int m = 1; 2 * m <= RADIX; ++m)
                store_pair(conjugate(z[RADIX - m]), out + (2 * m - 1) * columns + mirror);
        }
    }
}

template <int RADIX, class T>
void forward_pass(const pass_shape& shape, const T* in, T* out, const T* twiddles)
{
    forward_column<RADIX, edge::first>(shape, in, out, [](T(&x)[RADIX]) { forward_first(x); });
    forward_pairs<RADIX>(shape, in, out, twiddles);
    if constexpr (RADIX % 2 == 0) {
        if (shape.columns % 2 == 0)
            forward_column<RADIX, edge::last>(shape, in, out, [](T(&x)[RADIX]) { forward_last(x); });
    }
}

template <int RADIX, class T>
void inverse_pairs(const pass_shape& shape, const T* __restrict in, T* __restrict out, const T* __restrict twiddles)
{
    const ptrdiff_t columns = shape.columns, row = shape.row_size();
    for (ptrdiff_t k = 0; k < shape.blocks; ++k, in += RADIX * columns, out += columns) {
        for (ptrdiff_t i = 1; i + 1 < columns; i += 2) {
            complex_value<T> z[RADIX];
            const ptrdiff_t mirror = columns - 2 - i;
            for (int m = 0; 2 * m < RADIX; ++m)
                z[m] = swap_parts(load_pair(in + 2 * m * columns + i));
            for (int m = 1; 2 * m <= RADIX; ++m)
                z[RADIX - m] = swap_parts(conjugate(load_pair(in + (2 * m - 1) * columns + mirror)));
            butterfly(z);
            store_pair(swap_parts(z[0]), out + i);
            for (int j = 1; j < RADIX; ++j)
                store_pair(swap_parts(z[j]) * load_pair(twiddles + (j - 1) * columns + i - 1), out + j * row + i);
        }
    }
}

template <int RADIX, class T>
void inverse_pass(const pass_shape& shape, const T* in, T* out, const T* twiddles)
{
    inverse_column<RADIX, edge::first>(shape, in, out, [](T(&x)[RADIX]) { inverse_first(x); });
    inverse_pairs<RADIX>(shape, in, out, twiddles);
    if constexpr (RADIX % 2 == 0) {
        if (shape.columns % 2 == 0)
            inverse_column<RADIX, edge::last>(shape, in, out, [](T(&x)[RADIX]) { inverse_last(x); });
    }
}

// The pass by any other odd radix: turns the pairs and adds and subtracts mirrored rows, lets sum_rows do the rest, and
// puts the bins in their order. Leaves its result in `values`.
template <class T>
void general_forward_pass(const pass_shape& shape, T* __restrict values, T* __restrict scratch, const T* twiddles)
{
    const ptrdiff_t radix = shape.radix, columns = shape.columns, row = shape.row_size();
    for (ptrdiff_t j = 1; 2 * j < radix; ++j) {
        for (ptrdiff_t k = 0; k < shape.blocks; ++k) {
            T* a = values + j * row + k * columns;
            T* b = values + (radix - j) * row + k * columns;
            b[0] = std::exchange(a[0], a[0] + b[0]) - b[0];
            for (ptrdiff_t i = 1; i + 1 < columns; i += 2) {
                const complex_value<T> z =
                    multiply_conjugate(load_pair(a + i), load_pair(twiddles + (j - 1) * columns + i - 1));
                const complex_value<T> y =
                    multiply_conjugate(load_pair(b + i), load_pair(twiddles + (radix - j - 1) * columns + i - 1));
                store_pair(z + y, a + i);
                store_pair(z - y, b + i);
            }
        }
    }
    sum_rows(shape, values, scratch, real_roots<T>{shape, twiddles});
    for (ptrdiff_t k = 0; k < shape.blocks; ++k) {
        T* out = values + radix * columns * k;
        std::copy_n(scratch + k * columns, columns, out);
        for (ptrdiff_t m = 1; 2 * m < radix; ++m) {
            const T* a = scratch + m * row + k * columns;
            const T* b = scratch + (radix - m) * row + k * columns;
            out[place_of<edge::first>(shape, 2 * m - 1)] = a[0];
            out[place_of<edge::first>(shape, 2 * m)] = -b[0];
            for (ptrdiff_t i = 1; i + 1 < columns; i += 2) {
                const auto [z, y] = unfold(load_pair(a + i), load_pair(b + i));
                store_pair(z, out + 2 * m * columns + i);
                store_pair(conjugate(y), out + (2 * m - 1) * columns + columns - 2 - i);
            }
        }
    }
}

// The same steps the other way round.
template <class T>
void general_inverse_pass(const pass_shape& shape, T* __restrict values, T* __restrict scratch, const T* twiddles)
{
    const ptrdiff_t radix = shape.radix, columns = shape.columns, row = shape.row_size();
    for (ptrdiff_t k = 0; k < shape.blocks; ++k) {
        const T* in = values + radix * columns * k;
        std::copy_n(in, columns, scratch + k * columns);
        for (ptrdiff_t m = 1; 2 * m < radix; ++m) {
            T* a = scratch + m * row + k * columns;
            T* b = scratch + (radix - m) * row + k * columns;
            a[0] = T(2) * in[place_of<edge::first>(shape, 2 * m - 1)];
            b[0] = T(2) * in[place_of<edge::first>(shape, 2 * m)];
            for (ptrdiff_t i = 1; i + 1 < columns; i += 2) {
                const complex_value<T> z = load_pair(in + 2 * m * columns + i);
                const complex_value<T> y = conjugate(load_pair(in + (2 * m - 1) * columns + columns - 2 - i));
                store_pair(z + y, a + i);
                store_pair(z - y, b + i);
            }
        }
    }
    sum_rows(shape, scratch, values, real_roots<T>{shape, twiddles});
    for (ptrdiff_t j = 1; 2 * j < radix; ++j) {
        for (ptrdiff_t k = 0; k < shape.blocks; ++k) {
            T* a = values + j * row + k * columns;
            T* b = values + (radix - j) * row + k * columns;
            b[0] = std::exchange(a[0], a[0] - b[0]) + b[0];
            for (ptrdiff_t i = 1; i + 1 < columns; i += 2) {
                const auto [y, z] = unfold(load_pair(a + i), load_pair(b + i));
                store_pair(z * load_pair(twiddles + (j - 1) * columns + i - 1), a + i);
                store_pair(y * load_pair(twiddles + (radix - j - 1) * columns + i - 1), b + i);
            }
        }
    }
}

} // namespace

template <class T>
mixed_radix_real<T>::mixed_radix_real(int size)
    : factors(factorize(size, {4, 2, 3, 5})), twiddles(static_cast<std::size_t>(size)), scratch(twiddles.size())
{
    fill_twiddles(factors, size, twiddles.data());
}

template <class T>
void mixed_radix_real<T>::forward(T* data) noexcept
{
    const ptrdiff_t size = std::ssize(scratch);
    T *from = data, *to = scratch.data();
    const T* w = twiddles.data() + size - 1; // behind those of the last pass
    ptrdiff_t rest = size;
    for (auto factor = factors.rbegin(); factor != factors.rend(); ++factor) {
        const ptrdiff_t radix = *factor;
        const pass_shape shape = {radix, size / rest, rest / radix};
        w -= (radix - 1) * shape.columns;
        run_pass(
            radix, from, to, [&](auto constant) { forward_pass<constant>(shape, from, to, w); },
            [&] { general_forward_pass(shape, from, to, w); });
        rest = shape.blocks;
    }
    if (from != data)
        std::copy_n(from, size, data);
    // The value at the Nyquist frequency comes last; its place is beside that at 0.
    if (size > 1)
        std::rotate(data + 1, data + size - 1, data + size);
}

template <class T>
void mixed_radix_real<T>::inverse(T* data) noexcept
{
    const ptrdiff_t size = std::ssize(scratch);
    if (size > 1)
        std::rotate(data + 1, data + 2, data + size);
    T *from = data, *to = scratch.data();
    const T* w = twiddles.data();
    ptrdiff_t done = 1;
    for (const ptrdiff_t radix : factors) {
        const pass_shape shape = {radix, size / (done * radix), done};
        run_pass(
            radix, from, to, [&](auto constant) { inverse_pass<constant>(shape, from, to, w); },
            [&] { general_inverse_pass(shape, from, to, w); });
        w += (radix - 1) * shape.columns;
        done *= radix;
    }
    const T factor = T(1) / static_cast<T>(size);
    for (ptrdiff_t i = 0; i < size; ++i)
        data[i] = factor * from[i];
}

template class mixed_radix_real<float>;
template class mixed_radix_real<double>;

} // namespace libfft
