#pragma once

#include <cstddef>

namespace libfft {

/// Complex numbers with all real parts in one array and all imaginary parts in another. Not owned.
template <class T>
struct split_complex {
    T* real;
    T* imag;
};

/// Twiddle factors for transforms of power-of-two length.
template <class T>
struct fft_setup;

/// Tables for every length up to 2^log2_length; free them with destroy_fftsetup.
/// @throws std::bad_alloc
fft_setup<float>* create_fftsetup(int log2_length);
fft_setup<double>* create_fftsetupD(int log2_length);

void destroy_fftsetup(fft_setup<float>* setup) noexcept;
void destroy_fftsetupD(fft_setup<double>* setup) noexcept;

/// Interleaved pairs to split arrays.
void ctoz(const float* pairs, split_complex<float> split, std::ptrdiff_t count) noexcept;
void ctozD(const double* pairs, split_complex<double> split, std::ptrdiff_t count) noexcept;

/// Split arrays to interleaved pairs.
void ztoc(split_complex<float> split, float* pairs, std::ptrdiff_t count) noexcept;
void ztocD(split_complex<double> split, double* pairs, std::ptrdiff_t count) noexcept;

/// Multiplies an array by a factor, in place.
void vsmul(float* values, float factor, std::ptrdiff_t count) noexcept;
void vsmulD(double* values, double factor, std::ptrdiff_t count) noexcept;

/// In-place transform of 2^log2_length real values, the even ones in `data.real` and the odd ones in `data.imag`.
/// The spectrum has bin k at index k, with the value at the Nyquist frequency in the imaginary part of bin 0.
/// Forward gives twice the plain sum; inverse turns a plain spectrum into the length times the signal.
/// Radix-4 passes after T. G. Stockham (in W. T. Cochran et al., "What is the fast Fourier transform?", Proc. IEEE
/// 55(10), 1967), which need no reordering.
/// @param scratch   half as many complex values as the length, as `data` has; overwritten
/// @param direction 1 forward, -1 inverse
void fft_zrip(const fft_setup<float>& setup, split_complex<float> data, split_complex<float> scratch, int log2_length,
              int direction) noexcept;
void fft_zripD(const fft_setup<double>& setup, split_complex<double> data, split_complex<double> scratch,
               int log2_length, int direction) noexcept;

/// In-place transform of 2^log2_length complex values, the plain sum in both directions.
/// @param scratch   as many complex values as `data`; overwritten
/// @param direction 1 forward, -1 inverse
void fft_zip(const fft_setup<float>& setup, split_complex<float> data, split_complex<float> scratch, int log2_length,
             int direction) noexcept;
void fft_zipD(const fft_setup<double>& setup, split_complex<double> data, split_complex<double> scratch,
              int log2_length, int direction) noexcept;

} // namespace libfft
