#include "fft/realfft.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <memory>

#include "fft/mixed_radix.h"
#include "fft/registry.h"
#include "fft/split_complex_fft.h"

namespace libfft {

namespace {

using std::ptrdiff_t;

// The operations on split arrays by precision.
template <class T>
struct split_operations;

template <>
struct split_operations<float> {
    static constexpr auto create = create_fftsetup;
    static constexpr auto destroy = destroy_fftsetup;
    static constexpr auto split = ctoz;
    static constexpr auto join = ztoc;
    static constexpr auto multiply = vsmul;
    static constexpr auto real_transform = fft_zrip;
    static constexpr auto complex_transform = fft_zip;
};

template <>
struct split_operations<double> {
    static constexpr auto create = create_fftsetupD;
    static constexpr auto destroy = destroy_fftsetupD;
    static constexpr auto split = ctozD;
    static constexpr auto join = ztocD;
    static constexpr auto multiply = vsmulD;
    static constexpr auto real_transform = fft_zripD;
    static constexpr auto complex_transform = fft_zipD;
};

template <class T>
struct split_setup {
    explicit split_setup(int entry_size)
        : size(entry_size), log2_size(std::countr_zero(static_cast<unsigned>(entry_size))),
          tables(split_operations<T>::create(std::max(log2_size, 2)))
    {}

    struct destroyer {
        void operator()(fft_setup<T>* setup) const { split_operations<T>::destroy(setup); }
    };

    int size, log2_size;
    std::unique_ptr<fft_setup<T>, destroyer> tables;
};

// Power-of-two sizes, on split arrays.
template <class T>
class split_workspace {
    using operations = split_operations<T>;

public:
    explicit split_workspace(const split_setup<T>& setup)
        : setup_(setup), arrays_(std::make_unique_for_overwrite<T[]>(4 * stride()))
    {}

    void transform_real(const T* input, T* output, int direction)
    {
        const ptrdiff_t pairs = setup_.size / 2;
        operations::split(input, data(), pairs);
        operations::real_transform(*setup_.tables, data(), scratch(), setup_.log2_size, direction);
        multiply(direction == 1 ? 0.5 : 0.5 / static_cast<double>(pairs), pairs);
        operations::join(data(), output, pairs);
    }

    void transform_complex(const T* input, T* output, int direction)
    {
        operations::split(input, data(), setup_.size);
        operations::complex_transform(*setup_.tables, data(), scratch(), setup_.log2_size, direction);
        if (direction == -1)
            multiply(1.0 / setup_.size, setup_.size);
        operations::join(data(), output, setup_.size);
    }

private:
    // Four arrays of a power of two would share their places in the cache; a line of distance keeps them apart.
    std::size_t stride() const { return static_cast<std::size_t>(setup_.size) + 64 / sizeof(T); }

    split_complex<T> data() { return {arrays_.get(), arrays_.get() + stride()}; }

    split_complex<T> scratch() { return {arrays_.get() + 2 * stride(), arrays_.get() + 3 * stride()}; }

    void multiply(double factor, ptrdiff_t count)
    {
        operations::multiply(data().real, static_cast<T>(factor), count);
        operations::multiply(data().imag, static_cast<T>(factor), count);
    }

    const split_setup<T>& setup_;
    std::unique_ptr<T[]> arrays_;
};

// All other sizes. They share nothing but the number.
template <class T>
class mixed_radix_workspace {
public:
    explicit mixed_radix_workspace(int size)
        : size_(size), real_(real_setup<T>(size_)), complex_(complex_setup<T>(size_))
    {}

    void transform_real(const T* input, T* output, int direction)
    {
        if (input != output)
            std::copy_n(input, size_, output);
        (direction == 1 ? real_forward<T> : real_inverse<T>)(size_, output, real_);
    }

    void transform_complex(const T* input, T* output, int direction)
    {
        if (input != output)
            std::copy_n(input, 2 * static_cast<ptrdiff_t>(size_), output);
        (direction == 1 ? complex_forward<T> : complex_inverse<T>)(size_, output, complex_);
    }

private:
    int size_;
    transform_tables<T> real_, complex_;
};

// Lends a workspace of the engine for this size to `transform`.
template <class T, class TRANSFORM>
bool run(int size, TRANSFORM transform) noexcept
{
    try {
        if ((size & (size - 1)) == 0)
            transform(*registry<split_setup<T>, split_workspace<T>>::shared().acquire(size));
        else
            transform(*registry<int, mixed_radix_workspace<T>>::shared().acquire(size));
        return true;
    } catch (...) {
        return false;
    }
}

template <class T>
bool transform_real(T* time, T* spectrum, int size, int direction) noexcept
{
    if (size <= 0 || (direction != 1 && direction != -1))
        return false;
    T* const input = direction == 1 ? time : spectrum;
    T* const output = direction == 1 ? spectrum : time;
    if (size == 1) {
        output[0] = input[0];
        return true;
    }
    if (size % 2 != 0)
        return false;
    return run<T>(size, [=](auto& workspace) { workspace.transform_real(input, output, direction); });
}

template <class T>
bool transform_complex(T* time, T* spectrum, int size, int direction) noexcept
{
    if (size <= 0 || (direction != 1 && direction != -1))
        return false;
    T* const input = direction == 1 ? time : spectrum;
    T* const output = direction == 1 ? spectrum : time;
    return run<T>(size, [=](auto& workspace) { workspace.transform_complex(input, output, direction); });
}

} // namespace

bool realfft(float* time, float* spectrum, int size, int direction) noexcept
{
    return transform_real(time, spectrum, size, direction);
}

bool realfft(double* time, double* spectrum, int size, int direction) noexcept
{
    return transform_real(time, spectrum, size, direction);
}

bool complexfft(float* time, float* spectrum, int size, int direction) noexcept
{
    return transform_complex(time, spectrum, size, direction);
}

bool complexfft(double* time, double* spectrum, int size, int direction) noexcept
{
    return transform_complex(time, spectrum, size, direction);
}

} // namespace libfft
