#pragma once

#include "fft/butterflies.h"

namespace libfft {

/// Transform of 2 to 5 real values, in place: that of complex values without imaginary parts. The results are in
/// halfcomplex order: bin 0, then real and imaginary part in turn.
template <int RADIX, class T>
void forward_first(T (&x)[RADIX])
{
    complex_value<T> z[RADIX];
    for (int j = 0; j < RADIX; ++j)
        z[j] = {x[j], T(0)};
    butterfly(z);
    x[0] = z[0].real;
    for (int h = 1; h < RADIX; ++h)
        x[h] = h % 2 == 1 ? z[(h + 1) / 2].real : z[h / 2].imag;
}

/// The way back, without a factor: bin RADIX - m is the conjugate of bin m.
template <int RADIX, class T>
void inverse_first(T (&x)[RADIX])
{
    complex_value<T> z[RADIX] = {{T(0), x[0]}};
    for (int m = 1; 2 * m <= RADIX; ++m) {
        const complex_value<T> bin = {x[2 * m - 1], 2 * m < RADIX ? x[2 * m] : T(0)};
        z[m] = swap_parts(bin);
        z[RADIX - m] = swap_parts(2 * m < RADIX ? conjugate(bin) : bin);
    }
    butterfly(z);
    for (int j = 0; j < RADIX; ++j)
        x[j] = z[j].imag;
}

/// The last column of an even number: bins half way between those of the first column, real and imaginary part in
/// turn.
template <class T>
void forward_last(T (&x)[2])
{
    x[1] = -x[1];
}

template <class T>
void forward_last(T (&x)[4])
{
    const T real = butterfly_constants<T>::sqrt_half * (x[1] - x[3]);
    const T imag = -butterfly_constants<T>::sqrt_half * (x[1] + x[3]);
    const T first = x[0], third = x[2];
    x[0] = first + real;
    x[1] = imag - third;
    x[2] = first - real;
    x[3] = imag + third;
}

template <class T>
void inverse_last(T (&x)[2])
{
    x[0] = T(2) * x[0];
    x[1] = T(-2) * x[1];
}

template <class T>
void inverse_last(T (&x)[4])
{
    const T factor = T(2) * butterfly_constants<T>::sqrt_half;
    const T real = x[0] - x[2], imag = x[1] + x[3];
    const T first = x[0] + x[2], third = x[3] - x[1];
    x[0] = T(2) * first;
    x[1] = factor * (real - imag);
    x[2] = T(2) * third;
    x[3] = -factor * (real + imag);
}

} // namespace libfft
