#include "fft/mixed_radix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

#include "fft/butterflies.h"
#include "fft/halfcomplex_butterflies.h"
#include "fft/mixed_radix_pass.h"

namespace libfft {

namespace {

using std::ptrdiff_t;

// Roots of unity of a general radix: the groups of its twiddles have a free last place each, since their number of
// columns is odd. Group q holds the cosine of q turns, its mirror group the sine.
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
    T place(ptrdiff_t group) const { return twiddles[group * shape.columns - 1]; }
};

template <class T>
void fill_real_twiddles(const pass_factors& factors, T* table)
{
    const ptrdiff_t size = factors[0];
    const T step = T(2) * std::numbers::pi_v<T> / static_cast<T>(size);
    ptrdiff_t done = 1;
    for (int k = 0; k < factors[1]; ++k) {
        const ptrdiff_t radix = factors[static_cast<std::size_t>(2 + k)];
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

// Where the halfcomplex values of the pass's first and last column lie: alternately at the two ends of a sequence.
inline ptrdiff_t first_place(const pass_shape& shape, ptrdiff_t h)
{
    return shape.columns * h + (h % 2 == 1 ? shape.columns - 1 : 0);
}

inline ptrdiff_t last_place(const pass_shape& shape, ptrdiff_t h)
{
    return shape.columns * h + (h % 2 == 0 ? shape.columns - 1 : 0);
}

template <int RADIX, class T>
void forward_first_columns(const pass_shape& shape, const T* __restrict in, T* __restrict out)
{
    const ptrdiff_t columns = shape.columns, row = shape.row_size();
    for (ptrdiff_t k = 0; k < shape.blocks; ++k, in += columns, out += RADIX * columns) {
        T x[RADIX];
        for (int j = 0; j < RADIX; ++j)
            x[j] = in[j * row];
        forward_first(x);
        for (int h = 0; h < RADIX; ++h)
            out[first_place(shape, h)] = x[h];
    }
}

template <int RADIX, class T>
void forward_last_columns(const pass_shape& shape, const T* __restrict in, T* __restrict out)
{
    const ptrdiff_t columns = shape.columns, row = shape.row_size();
    for (ptrdiff_t k = 0; k < shape.blocks; ++k, in += columns, out += RADIX * columns) {
        T x[RADIX];
        for (int j = 0; j < RADIX; ++j)
            x[j] = in[j * row + columns - 1];
        forward_last(x);
        for (int h = 0; h < RADIX; ++h)
            out[last_place(shape, h)] = x[h];
    }
}

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
    forward_first_columns<RADIX>(shape, in, out);
    forward_pairs<RADIX>(shape, in, out, twiddles);
    if constexpr (RADIX % 2 == 0) {
        if (shape.columns % 2 == 0)
            forward_last_columns<RADIX>(shape, in, out);
    }
}

template <int RADIX, class T>
void inverse_first_columns(const pass_shape& shape, const T* __restrict in, T* __restrict out)
{
    const ptrdiff_t columns = shape.columns, row = shape.row_size();
    for (ptrdiff_t k = 0; k < shape.blocks; ++k, in += RADIX * columns, out += columns) {
        T x[RADIX];
        for (int h = 0; h < RADIX; ++h)
            x[h] = in[first_place(shape, h)];
        inverse_first(x);
        for (int j = 0; j < RADIX; ++j)
            out[j * row] = x[j];
    }
}

template <int RADIX, class T>
void inverse_last_columns(const pass_shape& shape, const T* __restrict in, T* __restrict out)
{
    const ptrdiff_t columns = shape.columns, row = shape.row_size();
    for (ptrdiff_t k = 0; k < shape.blocks; ++k, in += RADIX * columns, out += columns) {
        T x[RADIX];
        for (int h = 0; h < RADIX; ++h)
            x[h] = in[last_place(shape, h)];
        inverse_last(x);
        for (int j = 0; j < RADIX; ++j)
            out[j * row + columns - 1] = x[j];
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
    inverse_first_columns<RADIX>(shape, in, out);
    inverse_pairs<RADIX>(shape, in, out, twiddles);
    if constexpr (RADIX % 2 == 0) {
        if (shape.columns % 2 == 0)
            inverse_last_columns<RADIX>(shape, in, out);
    }
}

// Leaves its result in `values`.
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
            out[first_place(shape, 2 * m - 1)] = a[0];
            out[first_place(shape, 2 * m)] = -b[0];
            for (ptrdiff_t i = 1; i + 1 < columns; i += 2) {
                const auto [z, y] = unfold(load_pair(a + i), load_pair(b + i));
                store_pair(z, out + 2 * m * columns + i);
                store_pair(conjugate(y), out + (2 * m - 1) * columns + columns - 2 - i);
            }
        }
    }
}

// Leaves its result in `values`.
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
            a[0] = T(2) * in[first_place(shape, 2 * m - 1)];
            b[0] = T(2) * in[first_place(shape, 2 * m)];
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

// Chooses the pass of a factor; the result is in `from` afterwards.
template <class T>
void run_forward_pass(const pass_shape& shape, T*& from, T*& to, const T* twiddles)
{
    switch (shape.radix) {
    case 2:
        forward_pass<2>(shape, from, to, twiddles);
        break;
    case 3:
        forward_pass<3>(shape, from, to, twiddles);
        break;
    case 4:
        forward_pass<4>(shape, from, to, twiddles);
        break;
    case 5:
        forward_pass<5>(shape, from, to, twiddles);
        break;
    default:
        return general_forward_pass(shape, from, to, twiddles);
    }
    std::swap(from, to);
}

template <class T>
void run_inverse_pass(const pass_shape& shape, T*& from, T*& to, const T* twiddles)
{
    switch (shape.radix) {
    case 2:
        inverse_pass<2>(shape, from, to, twiddles);
        break;
    case 3:
        inverse_pass<3>(shape, from, to, twiddles);
        break;
    case 4:
        inverse_pass<4>(shape, from, to, twiddles);
        break;
    case 5:
        inverse_pass<5>(shape, from, to, twiddles);
        break;
    default:
        return general_inverse_pass(shape, from, to, twiddles);
    }
    std::swap(from, to);
}

} // namespace

template <class T>
transform_tables<T> real_setup(int size)
{
    const auto count = static_cast<std::size_t>(size);
    transform_tables<T> tables = {std::make_unique_for_overwrite<T[]>(2 * count), factorize(size, {4, 2, 3, 5})};
    fill_real_twiddles(tables.factors, tables.data.get() + count);
    return tables;
}

template <class T>
void real_forward(int size, T* data, transform_tables<T>& tables) noexcept
{
    T *from = data, *to = tables.data.get();
    const T* twiddles = tables.data.get() + 2 * static_cast<ptrdiff_t>(size) - 1;
    ptrdiff_t rest = size;
    for (int k = tables.factors[1]; k-- > 0;) {
        const ptrdiff_t radix = tables.factors[static_cast<std::size_t>(2 + k)];
        const pass_shape shape = {radix, size / rest, rest / radix};
        twiddles -= (radix - 1) * shape.columns;
        run_forward_pass(shape, from, to, twiddles);
        rest = shape.blocks;
    }
    if (from != data)
        std::copy_n(from, size, data);
    // The value at the Nyquist frequency comes last; its place is beside that at 0.
    if (size > 1)
        std::rotate(data + 1, data + size - 1, data + size);
}

template <class T>
void real_inverse(int size, T* data, transform_tables<T>& tables) noexcept
{
    if (size > 1)
        std::rotate(data + 1, data + 2, data + size);
    T *from = data, *to = tables.data.get();
    const T* twiddles = tables.data.get() + size;
    ptrdiff_t done = 1;
    for (int k = 0; k < tables.factors[1]; ++k) {
        const ptrdiff_t radix = tables.factors[static_cast<std::size_t>(2 + k)];
        const pass_shape shape = {radix, size / (done * radix), done};
        run_inverse_pass(shape, from, to, twiddles);
        twiddles += (radix - 1) * shape.columns;
        done *= radix;
    }
    const T factor = T(1) / static_cast<T>(size);
    for (ptrdiff_t i = 0; i < size; ++i)
        data[i] = factor * from[i];
}

template transform_tables<float> real_setup(int);
template transform_tables<double> real_setup(int);
template void real_forward(int, float*, transform_tables<float>&) noexcept;
template void real_forward(int, double*, transform_tables<double>&) noexcept;
template void real_inverse(int, float*, transform_tables<float>&) noexcept;
template void real_inverse(int, double*, transform_tables<double>&) noexcept;

} // namespace libfft
