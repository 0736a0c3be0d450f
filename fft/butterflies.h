#pragma once

namespace libfft {

/// A complex number, or several side by side where T is a vector type. The product of std::complex asks for NaN and
/// keeps loops from vectorizing; this one is the plain formula.
template <class T>
struct complex_value {
    T real, imag;
};

template <class T>
complex_value<T> operator+(const complex_value<T>& a, const complex_value<T>& b)
{
    return {a.real + b.real, a.imag + b.imag};
}

template <class T>
complex_value<T> operator-(const complex_value<T>& a, const complex_value<T>& b)
{
    return {a.real - b.real, a.imag - b.imag};
}

/// A factor of the element type turns all numbers of a vector alike.
template <class T, class FACTOR>
complex_value<T> operator*(const complex_value<T>& a, const complex_value<FACTOR>& b)
{
    return {a.real * b.real - a.imag * b.imag, a.real * b.imag + a.imag * b.real};
}

/// a times the conjugate of b.
template <class T>
complex_value<T> multiply_conjugate(const complex_value<T>& a, const complex_value<T>& b)
{
    return {a.real * b.real + a.imag * b.imag, a.imag * b.real - a.real * b.imag};
}

template <class T>
complex_value<T> scale(const complex_value<T>& a, T factor)
{
    return {a.real * factor, a.imag * factor};
}

template <class T>
complex_value<T> conjugate(const complex_value<T>& a)
{
    return {a.real, -a.imag};
}

/// Times -i.
template <class T>
complex_value<T> turn_back(const complex_value<T>& a)
{
    return {a.imag, -a.real};
}

/// Real and imaginary part change places. A forward transform between two swaps is an inverse one.
template <class T>
complex_value<T> swap_parts(const complex_value<T>& a)
{
    return {a.imag, a.real};
}

/// Cosines and sines of the angles that radix 3, 4 (an eighth of a turn) and 5 need.
template <class T>
struct butterfly_constants {
    static constexpr T cos_third = T(-0.5), sin_third = T(0.8660254037844386);
    static constexpr T sqrt_half = T(0.7071067811865476);
    static constexpr T cos_fifth = T(0.30901699437494745), sin_fifth = T(0.9510565162951535);
    static constexpr T cos_two_fifths = T(-0.8090169943749475), sin_two_fifths = T(0.5877852522924731);
};

/// Forward transforms of 2, 3, 4 and 5 values, in place.
template <class T>
inline void butterfly(complex_value<T> (&z)[2])
{
    const complex_value<T> difference = z[0] - z[1];
    z[0] = z[0] + z[1];
    z[1] = difference;
}

template <class T>
inline void butterfly(complex_value<T> (&z)[3])
{
    using constants = butterfly_constants<T>;
    const complex_value<T> sum = z[1] + z[2];
    const complex_value<T> turned = turn_back(scale(z[1] - z[2], constants::sin_third));
    const complex_value<T> middle = z[0] + scale(sum, constants::cos_third);
    z[0] = z[0] + sum;
    z[1] = middle + turned;
    z[2] = middle - turned;
}

template <class T>
inline void butterfly(complex_value<T> (&z)[4])
{
    const complex_value<T> even_sum = z[0] + z[2], even_difference = z[0] - z[2];
    const complex_value<T> odd_sum = z[1] + z[3], odd_difference = turn_back(z[1] - z[3]);
    z[0] = even_sum + odd_sum;
    z[1] = even_difference + odd_difference;
    z[2] = even_sum - odd_sum;
    z[3] = even_difference - odd_difference;
}

template <class T>
inline void butterfly(complex_value<T> (&z)[5])
{
    using constants = butterfly_constants<T>;
    const complex_value<T> outer_sum = z[1] + z[4], inner_sum = z[2] + z[3];
    const complex_value<T> outer = turn_back(z[1] - z[4]), inner = turn_back(z[2] - z[3]);
    const complex_value<T> middle1 =
        z[0] + scale(outer_sum, constants::cos_fifth) + scale(inner_sum, constants::cos_two_fifths);
    const complex_value<T> middle2 =
        z[0] + scale(outer_sum, constants::cos_two_fifths) + scale(inner_sum, constants::cos_fifth);
    const complex_value<T> turned1 = scale(outer, constants::sin_fifth) + scale(inner, constants::sin_two_fifths);
    const complex_value<T> turned2 = scale(outer, constants::sin_two_fifths) - scale(inner, constants::sin_fifth);
    z[0] = z[0] + outer_sum + inner_sum;
    z[1] = middle1 + turned1;
    z[2] = middle2 + turned2;
    z[3] = middle2 - turned2;
    z[4] = middle1 - turned1;
}

} // namespace libfft
