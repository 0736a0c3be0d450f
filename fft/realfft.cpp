#include "fft/realfft.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

#include "fft/mixed_radix.h"
#include "fft/registry.h"
#include "fft/split_complex_fft.h"

namespace libfft {

namespace {

using std::ptrdiff_t;

// Power-of-two sizes, on split arrays.
template <class T>
class split_workspace {
public:
    explicit split_workspace(const split_complex_fft<T>& engine)
        : fft(engine), arrays(std::make_unique_for_overwrite<T[]>(4 * stride()))
    {}

    void transform_real(const T* input, T* output, int direction)
    {
        const ptrdiff_t pairs = fft.size() / 2;
        split(input, pairs);
        fft.transform_real(data(), scratch(), direction);
        join(output, pairs, direction == 1 ? 0.5 : 0.5 / static_cast<double>(pairs));
    }

    void transform_complex(const T* input, T* output, int direction)
    {
        split(input, fft.size());
        fft.transform_complex(data(), scratch(), direction);
        join(output, fft.size(), direction == 1 ? 1.0 : 1.0 / static_cast<double>(fft.size()));
    }

private:
    // Four arrays of a power of two would share their places in the cache; a line of distance keeps them apart.
    std::size_t stride() const { return static_cast<std::size_t>(fft.size()) + 64 / sizeof(T); }

    split_complex<T> data() { return {arrays.get(), arrays.get() + stride()}; }

    split_complex<T> scratch() { return {arrays.get() + 2 * stride(), arrays.get() + 3 * stride()}; }

    void split(const T* __restrict pairs, ptrdiff_t count)
    {
        T* __restrict const real = data().real;
        T* __restrict const imag = data().imag;
        for (ptrdiff_t i = 0; i < count; ++i) {
            real[i] = pairs[2 * i];
            imag[i] = pairs[2 * i + 1];
        }
    }

    void join(T* __restrict pairs, ptrdiff_t count, double factor)
    {
        const T gain = static_cast<T>(factor);
        const T* __restrict const real = data().real;
        const T* __restrict const imag = data().imag;
        for (ptrdiff_t i = 0; i < count; ++i) {
            pairs[2 * i] = gain * real[i];
            pairs[2 * i + 1] = gain * imag[i];
        }
    }

    const split_complex_fft<T>& fft;
    std::unique_ptr<T[]> arrays;
};

// All other sizes.
template <class T>
class mixed_radix_workspace {
public:
    explicit mixed_radix_workspace(int length) : size(length), real_fft(length), complex_fft(length) {}

    void transform_real(const T* input, T* output, int direction) { run(real_fft, input, output, size, direction); }

    void transform_complex(const T* input, T* output, int direction)
    {
        run(complex_fft, input, output, 2 * size, direction);
    }

private:
    template <class FFT>
    static void run(FFT& fft, const T* input, T* output, ptrdiff_t count, int direction)
    {
        if (input != output)
            std::copy_n(input, count, output);
        direction == 1 ? fft.forward(output) : fft.inverse(output);
    }

    ptrdiff_t size;
    mixed_radix_real<T> real_fft;
    mixed_radix_complex<T> complex_fft;
};

// Lends a workspace for this size to `transform`.
template <class T, class TRANSFORM>
bool run(int size, TRANSFORM transform) noexcept
{
    try {
        if ((size & (size - 1)) == 0)
            transform(*registry<split_complex_fft<T>, split_workspace<T>>::shared().acquire(size));
        else
            transform(*registry<int, mixed_radix_workspace<T>>::shared().acquire(size));
        return true;
    } catch (...) {
        return false;
    }
}

bool is_direction(int direction)
{
    return direction == 1 || direction == -1;
}

} // namespace

template <class T>
bool realfft(T* time, T* spectrum, int size, int direction) noexcept
{
    if (!is_direction(direction) || size <= 0 || (size % 2 != 0 && size != 1))
        return false;
    if (direction == -1)
        std::swap(time, spectrum);
    if (size == 1) {
        *spectrum = *time;
        return true;
    }
    return run<T>(size, [=](auto& workspace) { workspace.transform_real(time, spectrum, direction); });
}

template <class T>
bool complexfft(T* time, T* spectrum, int size, int direction) noexcept
{
    if (!is_direction(direction) || size <= 0)
        return false;
    if (direction == -1)
        std::swap(time, spectrum);
    return run<T>(size, [=](auto& workspace) { workspace.transform_complex(time, spectrum, direction); });
}

template bool realfft(float*, float*, int, int) noexcept;
template bool realfft(double*, double*, int, int) noexcept;
template bool complexfft(float*, float*, int, int) noexcept;
template bool complexfft(double*, double*, int, int) noexcept;

} // namespace libfft
