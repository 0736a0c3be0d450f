#include "fft/window.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <numeric>

namespace libfft {

namespace {

constexpr double pi = std::numbers::pi;

struct cosine_sum {
    double a0, a1, a2, a3;
};

// Coefficients of cos(0), cos(x), cos(2 x), cos(3 x), by kind; zeros for the kinds that are no cosine sum.
constexpr std::array<cosine_sum, 18> cosine_sums{{
    {},
    {},
    {0.5, -0.5, 0.0, 0.0},
    {0.54, -0.46, 0.0, 0.0},
    {},
    {},
    {0.42, -0.5, 0.08, 0.0},
    {0.42659, -0.49656, 0.07685, 0.0},
    {0.375, -0.5, 0.125, 0.0},
    {0.42323, -0.49755, 0.07922, 0.0},
    {0.44959, -0.49364, 0.05677, 0.0},
    {0.35875, -0.48829, 0.14128, -0.01168},
    {0.40217, -0.49703, 0.09392, -0.00183},
    {0.40897, -0.5, 0.09103, 0.0},
    {0.375, -0.5, 0.125, 0.0},
    {0.3635819, -0.4891775, 0.1365995, -0.0106411},
    {0.338946, -0.481973, 0.161054, -0.018027},
    {0.3125, -0.46875, 0.1875, -0.03125},
}};

// The coefficients are rounded to T, all else is double.
template <class T>
double evaluate(const cosine_sum& sum, double n, double last)
{
    return static_cast<T>(sum.a0) + static_cast<T>(sum.a1) * std::cos(2.0 * pi * n / last) +
           static_cast<T>(sum.a2) * std::cos(4.0 * pi * n / last) +
           static_cast<T>(sum.a3) * std::cos(6.0 * pi * n / last);
}

// Modified Bessel function of the first kind, order 0. Its series goes on until a term changes the sum no more, or
// the sum is out of range.
double bessel_i0(double x)
{
    double sum = 1.0;
    double term = 1.0;
    for (double k = 1.0; term >= 1e-21 * sum && std::isfinite(sum); k += 1.0) {
        const double ratio = x / 2.0 / k;
        term *= ratio * ratio;
        sum += term;
    }
    return sum;
}

// The first half by the formula, the second its mirror image.
template <class T, class FORMULA>
void fill_symmetric(int length, T* out, FORMULA formula)
{
    for (int n = 0; n < length - length / 2; ++n)
        out[n] = out[length - 1 - n] = static_cast<T>(formula(static_cast<double>(n)));
}

template <class T>
void fill_gaussian(int length, T* out, double parameter)
{
    for (int i = 1; i <= length; ++i) {
        const double x = (i - (length + 1.0) / 2.0) / (length / parameter);
        out[i - 1] = static_cast<T>(std::exp(-0.5 * (x * x)));
    }
}

template <class T>
void fill_kaiser(int length, T* out, double beta)
{
    const double inverse = 1.0 / bessel_i0(beta);
    const double center = (length - 1.0) / 2.0;
    out[0] = out[length - 1] = static_cast<T>(inverse);
    for (int i = 1; i < length - 1; ++i) {
        const double x = (i - center) / center;
        out[i] = static_cast<T>(inverse * bessel_i0(beta * std::sqrt(1.0 - x * x)));
    }
}

} // namespace

template <class T>
int make_window(window_kind kind, int length, T* out, T parameter)
{
    const auto number = static_cast<std::size_t>(kind);
    if (number >= cosine_sums.size() || (kind == window_kind::gaussian && parameter == T(0)))
        return 0;
    if (length < 1)
        return 1;
    const double last = length - 1.0;
    switch (kind) {
    case window_kind::rectangular:
        std::fill_n(out, length, T(1));
        break;
    case window_kind::triangular:
        fill_symmetric(length, out, [=](double n) { return n / (last / 2.0); });
        break;
    case window_kind::gaussian:
        fill_gaussian(length, out, parameter);
        break;
    case window_kind::kaiser:
        fill_kaiser(length, out, parameter);
        break;
    default:
        fill_symmetric(length, out, [=](double n) { return evaluate<T>(cosine_sums[number], n, last); });
    }
    return 1;
}

template int make_window(window_kind, int, float*, float);
template int make_window(window_kind, int, double*, double);

void make_analysis_window(analysis_window selector, int window, int /*hop*/, int& half, tavel::Vector<double>& values)
{
    const bool known = selector >= analysis_window::blackman && selector <= analysis_window::hann;
    const int length = !known || window < 1 ? 0 : window - (window % 2 == 0 ? 1 : 0);
    half = length / 2;
    values.resize(length);
    switch (selector) {
    case analysis_window::blackman:
        make_window(window_kind::blackman, length, values.data);
        break;
    case analysis_window::rectangular:
        make_window(window_kind::rectangular, length, values.data);
        break;
    case analysis_window::hamming:
        make_window(window_kind::hamming, length, values.data);
        break;
    case analysis_window::hann: {
        // A window longer by its two zeros, which are left out.
        const cosine_sum& hann = cosine_sums[static_cast<std::size_t>(window_kind::hann)];
        fill_symmetric(length, values.data, [&](double n) { return evaluate<double>(hann, n + 1.0, length + 1.0); });
    }
    }
    const double scale = 2.0 / std::accumulate(values.begin(), values.end(), 0.0);
    for (double& value : values)
        value *= scale;
}

} // namespace libfft
