#include "fft/split_complex_fft.h"

#include <cmath>
#include <memory>
#include <numbers>
#include <utility>

#include "fft/butterflies.h"
#include "tavel/clones.h"

// Vectors wider than the registers of the baseline go through inlined functions only.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace libfft {

// For each length n from 8 on, the factors exp(-2 pi i j p / n), j = 1, 2, 3, p = 0 .. n/4 - 1: those of the pass
// that splits length n. Its row j = 1 also serves the real transform of n values.
template <class T>
struct fft_setup {
    explicit fft_setup(int log2_length);

    split_complex<const T> twiddles(std::ptrdiff_t length) const
    {
        return {cosines.get() + offset(length), sines.get() + offset(length)};
    }

private:
    static constexpr std::ptrdiff_t first_length = 8;

    // Three quarters of all shorter lengths stand before.
    static std::ptrdiff_t offset(std::ptrdiff_t length) { return 3 * (length - first_length) / 4; }

    std::unique_ptr<T[]> cosines, sines;
};

template <class T>
fft_setup<T>::fft_setup(int log2_length)
{
    const std::ptrdiff_t longest = std::ptrdiff_t{1} << log2_length;
    if (longest < first_length)
        return;
    cosines = std::make_unique_for_overwrite<T[]>(static_cast<std::size_t>(offset(2 * longest)));
    sines = std::make_unique_for_overwrite<T[]>(static_cast<std::size_t>(offset(2 * longest)));
    std::ptrdiff_t place = 0;
    for (std::ptrdiff_t length = first_length; length <= longest; length *= 2)
        for (std::ptrdiff_t j = 1; j < 4; ++j)
            for (std::ptrdiff_t p = 0; p < length / 4; ++p, ++place) {
                // In long double, whose functions have no variant per processor.
                const long double turns = static_cast<long double>(j * p) / static_cast<long double>(length);
                const long double angle = -2.0L * std::numbers::pi_v<long double> * turns;
                cosines[static_cast<std::size_t>(place)] = static_cast<T>(std::cos(angle));
                sines[static_cast<std::size_t>(place)] = static_cast<T>(std::sin(angle));
            }
}

namespace {

// Numbers side by side, in one register or two.
template <class T, std::size_t BYTES>
struct lanes {
    using type [[gnu::vector_size(BYTES)]] = T;
    using unaligned [[gnu::vector_size(BYTES), gnu::aligned(alignof(T)), gnu::may_alias]] = T;
};

template <class T>
struct lanes<T, sizeof(T)> {
    using type = T;
    using unaligned = T;
};

template <class V, class T>
[[gnu::always_inline]] inline complex_value<V> load(const T* real, const T* imag)
{
    using unaligned = typename lanes<T, sizeof(V)>::unaligned;
    return {*reinterpret_cast<const unaligned*>(real), *reinterpret_cast<const unaligned*>(imag)};
}

template <class V, class T>
[[gnu::always_inline]] inline void store(const complex_value<V>& values, T* real, T* imag)
{
    using unaligned = typename lanes<T, sizeof(V)>::unaligned;
    *reinterpret_cast<unaligned*>(real) = values.real;
    *reinterpret_cast<unaligned*>(imag) = values.imag;
}

// A pass that splits `stride` transforms of length 4 * groups, laid side by side, into four times as many of a
// quarter of the length. V is T, or lanes of T where the stride is a multiple of their count. The pointers are
// parameters, since only there does the compiler heed __restrict and vectorise the pass with V = T over p.
template <class V, class T>
[[gnu::always_inline]] inline void split_transforms(const T* __restrict in_real, const T* __restrict in_imag,
                                                    T* __restrict out_real, T* __restrict out_imag,
                                                    const T* __restrict cosines, const T* __restrict sines,
                                                    std::ptrdiff_t groups, std::ptrdiff_t stride)
{
    const std::ptrdiff_t row = groups * stride;
    for (std::ptrdiff_t p = 0; p < groups; ++p) {
        for (std::ptrdiff_t q = 0; q < stride; q += sizeof(V) / sizeof(T)) {
            complex_value<V> z[4];
            for (int j = 0; j < 4; ++j)
                z[j] = load<V>(in_real + p * stride + q + j * row, in_imag + p * stride + q + j * row);
            butterfly(z);
            for (int j = 1; j < 4; ++j) {
                const std::ptrdiff_t w = (j - 1) * groups + p;
                z[j] = z[j] * complex_value<T>{cosines[w], sines[w]};
            }
            for (int j = 0; j < 4; ++j)
                store(z[j], out_real + (4 * p + j) * stride + q, out_imag + (4 * p + j) * stride + q);
        }
    }
}

template <class V, class T>
[[gnu::always_inline]] inline void split_pass(const fft_setup<T>& setup, split_complex<T> from, split_complex<T> to,
                                              std::ptrdiff_t length, std::ptrdiff_t stride)
{
    const split_complex<const T> twiddles = setup.twiddles(length);
    split_transforms<V>(from.real, from.imag, to.real, to.imag, twiddles.real, twiddles.imag, length / 4, stride);
}

// The pass that is left when the transforms side by side are RADIX long. `from` and `to` may be the same.
template <int RADIX, class V, class T>
[[gnu::always_inline]] inline void last_pass(split_complex<T> from, split_complex<T> to, std::ptrdiff_t stride)
{
    for (std::ptrdiff_t q = 0; q < stride; q += sizeof(V) / sizeof(T)) {
        complex_value<V> z[RADIX];
        for (int j = 0; j < RADIX; ++j)
            z[j] = load<V>(from.real + q + j * stride, from.imag + q + j * stride);
        butterfly(z);
        for (int j = 0; j < RADIX; ++j)
            store(z[j], to.real + q + j * stride, to.imag + q + j * stride);
    }
}

template <class V, class T>
[[gnu::always_inline]] inline void last_pass(std::ptrdiff_t length, split_complex<T> from, split_complex<T> to,
                                             std::ptrdiff_t stride)
{
    if (length == 4)
        last_pass<4, V>(from, to, stride);
    else if (length == 2)
        last_pass<2, V>(from, to, stride);
}

// Forward transform of `length` complex values, from `data` through `scratch` back to `data`.
template <class T>
[[gnu::always_inline]] inline void transform(const fft_setup<T>& setup, split_complex<T> data, split_complex<T> scratch,
                                             std::ptrdiff_t length)
{
    using narrow = typename lanes<T, 16>::type;
    using wide = typename lanes<T, 32>::type;
    constexpr std::ptrdiff_t wide_count = sizeof(wide) / sizeof(T);
    if (length <= 4)
        return last_pass<T>(length, data, data, 1);
    split_pass<T>(setup, data, scratch, length, 1);
    split_complex<T> from = scratch, to = data;
    std::ptrdiff_t stride = 4;
    for (length /= 4; length > 4; length /= 4, stride *= 4) {
        if (stride < wide_count)
            split_pass<narrow>(setup, from, to, length, stride);
        else
            split_pass<wide>(setup, from, to, length, stride);
        std::swap(from, to);
    }
    if (stride < wide_count)
        last_pass<narrow>(length, from, data, stride);
    else
        last_pass<wide>(length, from, data, stride);
}

TAVEL_CLONES
void transform_single(const fft_setup<float>& setup, split_complex<float> data, split_complex<float> scratch,
                      std::ptrdiff_t length)
{
    transform(setup, data, scratch, length);
}

TAVEL_CLONES
void transform_double(const fft_setup<double>& setup, split_complex<double> data, split_complex<double> scratch,
                      std::ptrdiff_t length)
{
    transform(setup, data, scratch, length);
}

// An overload for either precision, and the inverse as the forward transform of swapped arrays.
void run_transform(const fft_setup<float>& setup, split_complex<float> data, split_complex<float> scratch,
                   std::ptrdiff_t length)
{
    transform_single(setup, data, scratch, length);
}

void run_transform(const fft_setup<double>& setup, split_complex<double> data, split_complex<double> scratch,
                   std::ptrdiff_t length)
{
    transform_double(setup, data, scratch, length);
}

template <class T>
split_complex<T> swap_parts(split_complex<T> split)
{
    return {split.imag, split.real};
}

// Goes between the spectrum of `count` complex values and twice that of the 2 * count real ones they are made of, in
// place and in pairs of the bins k and count - k: `front` is bin 0, `back` is bin `count`. The direction turns the
// sense of the twiddles.
template <class T>
void combine_bins(T* __restrict front_real, T* __restrict front_imag, T* __restrict back_real, T* __restrict back_imag,
                  const T* __restrict cosines, const T* __restrict sines, std::ptrdiff_t count, T direction)
{
    for (std::ptrdiff_t k = 1; k < count / 2; ++k) {
        const complex_value<T> a = {front_real[k], front_imag[k]}, b = {back_real[-k], -back_imag[-k]};
        const complex_value<T> sum = a + b;
        const complex_value<T> turned = (a - b) * complex_value<T>{sines[k], -direction * cosines[k]};
        front_real[k] = sum.real + turned.real;
        front_imag[k] = sum.imag + turned.imag;
        back_real[-k] = sum.real - turned.real;
        back_imag[-k] = turned.imag - sum.imag;
    }
}

template <class T>
void combine_all_bins(const fft_setup<T>& setup, split_complex<T> data, std::ptrdiff_t count, int direction)
{
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
    const split_complex<const T> twiddles = setup.twiddles(2 * count);
    combine_bins(data.real, data.imag, data.real + count, data.imag + count, twiddles.real, twiddles.imag, count,
                 static_cast<T>(direction));
}

template <class T>
void real_transform(const fft_setup<T>& setup, split_complex<T> data, split_complex<T> scratch, int log2_length,
                    int direction)
{
    const std::ptrdiff_t count = (std::ptrdiff_t{1} << log2_length) / 2;
    if (direction == 1) {
        run_transform(setup, data, scratch, count);
        combine_all_bins(setup, data, count, direction);
    } else {
        combine_all_bins(setup, data, count, direction);
        run_transform(setup, swap_parts(data), scratch, count);
    }
}

template <class T>
void complex_transform(const fft_setup<T>& setup, split_complex<T> data, split_complex<T> scratch, int log2_length,
                       int direction)
{
    run_transform(setup, direction == 1 ? data : swap_parts(data), scratch, std::ptrdiff_t{1} << log2_length);
}

template <class T>
void split_pairs(const T* __restrict pairs, T* __restrict real, T* __restrict imag, std::ptrdiff_t count)
{
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        real[i] = pairs[2 * i];
        imag[i] = pairs[2 * i + 1];
    }
}

template <class T>
void join_pairs(const T* __restrict real, const T* __restrict imag, T* __restrict pairs, std::ptrdiff_t count)
{
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        pairs[2 * i] = real[i];
        pairs[2 * i + 1] = imag[i];
    }
}

template <class T>
void multiply(T* values, T factor, std::ptrdiff_t count)
{
    for (std::ptrdiff_t i = 0; i < count; ++i)
        values[i] *= factor;
}

} // namespace

fft_setup<float>* create_fftsetup(int log2_length)
{
    return std::make_unique<fft_setup<float>>(log2_length).release();
}

fft_setup<double>* create_fftsetupD(int log2_length)
{
    return std::make_unique<fft_setup<double>>(log2_length).release();
}

void destroy_fftsetup(fft_setup<float>* setup) noexcept
{
    delete setup;
}

void destroy_fftsetupD(fft_setup<double>* setup) noexcept
{
    delete setup;
}

void ctoz(const float* pairs, split_complex<float> split, std::ptrdiff_t count) noexcept
{
    split_pairs(pairs, split.real, split.imag, count);
}

void ctozD(const double* pairs, split_complex<double> split, std::ptrdiff_t count) noexcept
{
    split_pairs(pairs, split.real, split.imag, count);
}

void ztoc(split_complex<float> split, float* pairs, std::ptrdiff_t count) noexcept
{
    join_pairs(split.real, split.imag, pairs, count);
}

void ztocD(split_complex<double> split, double* pairs, std::ptrdiff_t count) noexcept
{
    join_pairs(split.real, split.imag, pairs, count);
}

void vsmul(float* values, float factor, std::ptrdiff_t count) noexcept
{
    multiply(values, factor, count);
}

void vsmulD(double* values, double factor, std::ptrdiff_t count) noexcept
{
    multiply(values, factor, count);
}

void fft_zrip(const fft_setup<float>& setup, split_complex<float> data, split_complex<float> scratch, int log2_length,
              int direction) noexcept
{
    real_transform(setup, data, scratch, log2_length, direction);
}

void fft_zripD(const fft_setup<double>& setup, split_complex<double> data, split_complex<double> scratch,
               int log2_length, int direction) noexcept
{
    real_transform(setup, data, scratch, log2_length, direction);
}

void fft_zip(const fft_setup<float>& setup, split_complex<float> data, split_complex<float> scratch, int log2_length,
             int direction) noexcept
{
    complex_transform(setup, data, scratch, log2_length, direction);
}

void fft_zipD(const fft_setup<double>& setup, split_complex<double> data, split_complex<double> scratch,
              int log2_length, int direction) noexcept
{
    complex_transform(setup, data, scratch, log2_length, direction);
}

} // namespace libfft
