#pragma once

#include <utility>

#include "fft/butterflies.h"

namespace libfft {

/// Transforms of 2, 3, 4 and 5 real values, in place. The results are in halfcomplex order: bin 0, then real and
/// imaginary part in turn.
template <class T>
void forward_first(T (&x)[2])
{
    x[1] = std::exchange(x[0], x[0] + x[1]) - x[1];
}

template <class T>
void forward_first(T (&x)[3])
{
    using constants = butterfly_constants<T>;
    const T sum = x[1] + x[2];
    x[2] = constants::sin_third * (x[2] - x[1]);
    x[1] = x[0] + constants::cos_third * sum;
    x[0] += sum;
}

template <class T>
void forward_first(T (&x)[4])
{
    const T even = x[0] + x[2], odd = x[1] + x[3];
    const T real = x[0] - x[2], imag = x[3] - x[1];
    x[0] = even + odd;
    x[1] = real;
    x[2] = imag;
    x[3] = even - odd;
}

template <class T>
void forward_first(T (&x)[5])
{
    using constants = butterfly_constants<T>;
    const T outer_sum = x[1] + x[4], inner_sum = x[2] + x[3];
    const T outer = x[4] - x[1], inner = x[3] - x[2];
    x[1] = x[0] + constants::cos_fifth * outer_sum + constants::cos_two_fifths * inner_sum;
    x[2] = constants::sin_fifth * outer + constants::sin_two_fifths * inner;
    x[3] = x[0] + constants::cos_two_fifths * outer_sum + constants::cos_fifth * inner_sum;
    x[4] = constants::sin_two_fifths * outer - constants::sin_fifth * inner;
    x[0] += outer_sum + inner_sum;
}

/// The way back, without a factor.
template <class T>
void inverse_first(T (&x)[2])
{
    forward_first(x);
}

template <class T>
void inverse_first(T (&x)[3])
{
    using constants = butterfly_constants<T>;
    const T real = T(2) * x[1];
    const T imag = T(2) * constants::sin_third * x[2];
    const T middle = x[0] + constants::cos_third * real;
    x[0] += real;
    x[1] = middle - imag;
    x[2] = middle + imag;
}

template <class T>
void inverse_first(T (&x)[4])
{
    const T even = x[0] + x[3], odd = x[0] - x[3];
    const T real = T(2) * x[1], imag = T(2) * x[2];
    x[0] = even + real;
    x[1] = odd - imag;
    x[2] = even - real;
    x[3] = odd + imag;
}

template <class T>
void inverse_first(T (&x)[5])
{
    using constants = butterfly_constants<T>;
    const T real1 = T(2) * x[1], imag1 = T(2) * x[2];
    const T real2 = T(2) * x[3], imag2 = T(2) * x[4];
    const T middle1 = x[0] + constants::cos_fifth * real1 + constants::cos_two_fifths * real2;
    const T middle2 = x[0] + constants::cos_two_fifths * real1 + constants::cos_fifth * real2;
    const T turned1 = constants::sin_fifth * imag1 + constants::sin_two_fifths * imag2;
    const T turned2 = constants::sin_two_fifths * imag1 - constants::sin_fifth * imag2;
    x[0] += real1 + real2;
    x[1] = middle1 - turned1;
    x[2] = middle2 - turned2;
    x[3] = middle2 + turned2;
    x[4] = middle1 + turned1;
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
