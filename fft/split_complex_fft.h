#pragma once

#include <cstddef>
#include <vector>

namespace libfft {

/// Complex numbers with all real parts in one array and all imaginary parts in another. Not owned.
template <class T>
struct split_complex {
    T* real;
    T* imag;
};

/// Transforms of one length, a power of two, in place on split arrays. Holds twiddle factors only: any number of
/// threads may use it at once, each with arrays of its own. Instantiated for float and double.
/// Radix-4 passes after T. G. Stockham (in W. T. Cochran et al., "What is the fast Fourier transform?", Proc. IEEE
/// 55(10), 1967), which need no reordering.
template <class T>
class split_complex_fft {
public:
    /// @throws std::bad_alloc
    explicit split_complex_fft(int size);

    std::ptrdiff_t size() const { return length; }

    /// Transform of `length` real values, the even ones in `data.real` and the odd ones in `data.imag`. The spectrum
    /// has bin k at index k, with the value at the Nyquist frequency in the imaginary part of bin 0.
    /// Forward gives twice the plain sum; inverse, of a plain spectrum, gives the signal times the length.
    /// @param scratch   length / 2 complex values, as `data` has; overwritten
    /// @param direction 1 forward, -1 inverse
    void transform_real(split_complex<T> data, split_complex<T> scratch, int direction) const noexcept;

    /// Transform of `length` complex values, the plain sum in both directions.
    /// @param scratch   as many complex values as `data`; overwritten
    /// @param direction 1 forward, -1 inverse
    void transform_complex(split_complex<T> data, split_complex<T> scratch, int direction) const noexcept;

private:
    split_complex<const T> twiddles(std::ptrdiff_t part_length) const;
    void forward(std::ptrdiff_t count, split_complex<T> data, split_complex<T> scratch) const;
    void combine_bins(split_complex<T> data, int direction) const;

    std::ptrdiff_t length;
    std::vector<T> cosines, sines;
};

} // namespace libfft
