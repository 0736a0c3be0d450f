#include "fft/split_complex_fft.h"

#include <cmath>
#include <cstring>
#include <numbers>
#include <utility>

#include "fft/butterflies.h"

namespace libfft {

namespace {

using std::ptrdiff_t;

constexpr ptrdiff_t first_split_length = 8; // shorter transforms are a single pass without factors

// Where the factors of a length begin, behind those of all shorter ones.
ptrdiff_t twiddle_offset(ptrdiff_t length)
{
    return 3 * (length - first_split_length) / 4;
}

// As many numbers side by side as a register of 16 bytes holds.
template <class T>
struct lanes {
    using type [[gnu::vector_size(16)]] = T;
};

template <class V, class T>
complex_value<V> load(const T* real, const T* imag)
{
    complex_value<V> values;
    std::memcpy(&values.real, real, sizeof(V));
    std::memcpy(&values.imag, imag, sizeof(V));
    return values;
}

template <class V, class T>
void store(const complex_value<V>& values, T* real, T* imag)
{
    std::memcpy(real, &values.real, sizeof(V));
    std::memcpy(imag, &values.imag, sizeof(V));
}

// The pointers are parameters, since only there does the compiler heed __restrict and vectorize the pass with V = T
// over p.
template <class V, class T>
void split_transforms(const T* __restrict in_real, const T* __restrict in_imag, T* __restrict out_real,
                      T* __restrict out_imag, const T* __restrict cosines, const T* __restrict sines, ptrdiff_t groups,
                      ptrdiff_t stride)
{
    const ptrdiff_t row = groups * stride;
    for (ptrdiff_t p = 0; p < groups; ++p) {
        for (ptrdiff_t q = 0; q < stride; q += sizeof(V) / sizeof(T)) {
            complex_value<V> z[4];
            for (int j = 0; j < 4; ++j)
                z[j] = load<V>(in_real + p * stride + q + j * row, in_imag + p * stride + q + j * row);
            butterfly(z);
            for (int j = 1; j < 4; ++j) {
                const ptrdiff_t w = (j - 1) * groups + p;
                z[j] = z[j] * complex_value<T>{cosines[w], sines[w]};
            }
            for (int j = 0; j < 4; ++j)
                store(z[j], out_real + (4 * p + j) * stride + q, out_imag + (4 * p + j) * stride + q);
        }
    }
}

// A pass that splits `stride` transforms, laid side by side, into four times as many of a quarter of the length.
// V is T, or lanes of T where the stride is a multiple of their count.
template <class V, class T>
void split_pass(split_complex<T> from, split_complex<T> to, split_complex<const T> twiddles, ptrdiff_t length,
                ptrdiff_t stride)
{
    split_transforms<V>(from.real, from.imag, to.real, to.imag, twiddles.real, twiddles.imag, length / 4, stride);
}

// The pass that is left when the transforms side by side are RADIX long. `from` and `to` may be the same.
template <int RADIX, class V, class T>
void last_pass(split_complex<T> from, split_complex<T> to, ptrdiff_t stride)
{
    for (ptrdiff_t q = 0; q < stride; q += sizeof(V) / sizeof(T)) {
        complex_value<V> z[RADIX];
        for (int j = 0; j < RADIX; ++j)
            z[j] = load<V>(from.real + q + j * stride, from.imag + q + j * stride);
        butterfly(z);
        for (int j = 0; j < RADIX; ++j)
            store(z[j], to.real + q + j * stride, to.imag + q + j * stride);
    }
}

template <class V, class T>
void last_pass(ptrdiff_t length, split_complex<T> from, split_complex<T> to, ptrdiff_t stride)
{
    if (length == 4)
        last_pass<4, V>(from, to, stride);
    else if (length == 2)
        last_pass<2, V>(from, to, stride);
}

// A forward transform of swapped arrays is an inverse one.
template <class T>
split_complex<T> swap_parts(split_complex<T> split)
{
    return {split.imag, split.real};
}

// Makes of the spectrum of `count` complex values twice that of the 2 * count real ones that they hold, or goes back,
// in place and by pairs of the bins k and count - k: `front` is bin 0, `back` is bin `count`. The direction is the sign
// of the angles.
template <class T>
void combine_pairs(T* __restrict front_real, T* __restrict front_imag, T* __restrict back_real, T* __restrict back_imag,
                   const T* __restrict cosines, const T* __restrict sines, ptrdiff_t count, T direction)
{
    for (ptrdiff_t k = 1; k < count / 2; ++k) {
        const complex_value<T> a = {front_real[k], front_imag[k]}, b = {back_real[-k], -back_imag[-k]};
        const complex_value<T> sum = a + b;
        const complex_value<T> turned = (a - b) * complex_value<T>{sines[k], -direction * cosines[k]};
        front_real[k] = sum.real + turned.real;
        front_imag[k] = sum.imag + turned.imag;
        back_real[-k] = sum.real - turned.real;
        back_imag[-k] = turned.imag - sum.imag;
    }
}

} // namespace

// For each length n from 8 on, the factors exp(-2 pi i j p / n), j = 1, 2, 3, p = 0 .. n/4 - 1: those of the pass
// that splits length n. Its row j = 1 also serves the real transform of n values.
template <class T>
split_complex_fft<T>::split_complex_fft(int size) : length(size)
{
    for (ptrdiff_t n = first_split_length; n <= length; n *= 2)
        for (ptrdiff_t j = 1; j < 4; ++j)
            for (ptrdiff_t p = 0; p < n / 4; ++p) {
                // In long double, whose functions have no variant per processor.
                const long double turns = static_cast<long double>(j * p) / static_cast<long double>(n);
                const long double angle = -2.0L * std::numbers::pi_v<long double> * turns;
                cosines.push_back(static_cast<T>(std::cos(angle)));
                sines.push_back(static_cast<T>(std::sin(angle)));
            }
}

template <class T>
split_complex<const T> split_complex_fft<T>::twiddles(ptrdiff_t part_length) const
{
    const ptrdiff_t offset = twiddle_offset(part_length);
    return {cosines.data() + offset, sines.data() + offset};
}

// Forward transform of `count` complex values, from `data` through `scratch` back to `data`.
template <class T>
void split_complex_fft<T>::forward(ptrdiff_t count, split_complex<T> data, split_complex<T> scratch) const
{
    using side_by_side = typename lanes<T>::type;
    if (count <= 4)
        return last_pass<T>(count, data, data, 1);
    split_pass<T>(data, scratch, twiddles(count), count, 1);
    split_complex<T> from = scratch, to = data;
    ptrdiff_t stride = 4;
    for (count /= 4; count > 4; count /= 4, stride *= 4) {
        split_pass<side_by_side>(from, to, twiddles(count), count, stride);
        std::swap(from, to);
    }
    last_pass<side_by_side>(count, from, data, stride);
}

template <class T>
void split_complex_fft<T>::combine_bins(split_complex<T> data, int direction) const
{
    const ptrdiff_t count = length / 2;
    const T factor = direction == 1 ? T(2) : T(1);
    const T first = data.real[0], nyquist = data.imag[0];
    data.real[0] = factor * (first + nyquist);
    data.imag[0] = factor * (first - nyquist);
    if (count < 2)
        return;
    data.real[count / 2] *= T(2);
    data.imag[count / 2] *= T(-2);
    if (count < 4)
        return;
    const auto [w_real, w_imag] = twiddles(length);
    combine_pairs(data.real, data.imag, data.real + count, data.imag + count, w_real, w_imag, count,
                  static_cast<T>(direction));
}

template <class T>
void split_complex_fft<T>::transform_real(split_complex<T> data, split_complex<T> scratch, int direction) const noexcept
{
    if (direction == 1) {
        forward(length / 2, data, scratch);
        combine_bins(data, direction);
    } else {
        combine_bins(data, direction);
        forward(length / 2, swap_parts(data), scratch);
    }
}

template <class T>
void split_complex_fft<T>::transform_complex(split_complex<T> data, split_complex<T> scratch,
                                             int direction) const noexcept
{
    forward(length, direction == 1 ? data : swap_parts(data), scratch);
}

template class split_complex_fft<float>;
template class split_complex_fft<double>;

} // namespace libfft
