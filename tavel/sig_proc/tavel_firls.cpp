#include "tavel/sig_proc/tavel_firls.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <vector>

#include "tavel/error.h"
#include "tavel/min_max_elem.h"
#include "tavel/mldivide.h"
#include "tavel/sig_proc/sinint.h"

namespace tavel {
namespace {

using std::numbers::pi;

constexpr char source_path[] = "tavel/sig_proc/tavel_firls";

// Of the coefficients about their center: even, or odd with one sign or the other.
enum class symmetry { even, hilbert, differentiator, unsupported };

symmetry symmetry_of(std::string ftype)
{
    for (char& letter : ftype)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    if (ftype.empty())
        return symmetry::even;
    if (ftype == "h" || ftype == "hilbert")
        return symmetry::hilbert;
    if (ftype == "d" || ftype == "differentiator")
        return symmetry::differentiator;
    return symmetry::unsupported;
}

// The first check that fails is the one reported. An even filter of odd order has a zero at the Nyquist frequency:
// where it must pass there, the order grows by one.
void check_arguments(int& order, const Vector<double>& f, const Vector<double>& a, const Vector<double>& w,
                     symmetry kind)
{
    if (max_elem(f) > 1.0 || min_elem(f) < 0.0)
        throw error(source_path, __LINE__, "firls:: Frequencies in F must be in range [0,1].");
    if (f.size % 2 != 0)
        throw error(source_path, __LINE__, "firls::F must have even length.");
    if (f.size != a.size)
        throw error(source_path, __LINE__, "firls:: F and A must be equal lengths.");
    if (kind == symmetry::unsupported)
        throw error("Requires symmetry to be \"Hilbert\" or \"differentiator\".");
    if (order < 1)
        throw error("Filter order must be a real, positive integer.");
    if (order == std::numeric_limits<int>::max())
        throw std::length_error("firls: more coefficients than a vector can hold");
    if (a[a.size - 1] != 0.0 && f[f.size - 1] == 1.0 && order % 2 != 0 && kind == symmetry::even) {
        ++order;
        std::cerr << "Odd order symmetric FIR filters must have a gain of zero \n"
                     "at the Nyquist frequency. The order is being increased by one."
                     "\r\nAlternatively, you can pass a trailing ''h'' argument,\r"
                     "'as in firls(N,F,A,W,''h''), to design a type 4 linear phase filter.";
    }
    if (w.size != f.size / 2)
        throw error(source_path, __LINE__, "FIRLS :: There should be one weight per band.");
    for (int i = 1; i < f.size; ++i)
        if (f[i] - f[i - 1] < 0.0)
            throw error(source_path, __LINE__, "FIRLS:: Frequencies in F must be nondecreasing.");
}

// A band from low to high, in cycles per sample, where the filter shall have the amplitude slope * f + offset.
struct band {
    double low, high, slope, offset, weight;
    bool by_inverse_square; // the weight is divided by f^2
};

std::vector<band> bands_of(const Vector<double>& f, const Vector<double>& a, const Vector<double>& root_weights,
                           symmetry kind)
{
    std::vector<band> bands;
    for (int s = 0; s < f.size; s += 2) {
        const double low = f[s] / 2.0, high = f[s + 1] / 2.0;
        const double slope = (a[s + 1] - a[s]) / (high - low), offset = a[s] - slope * low;
        const double root_weight = root_weights[s / 2];
        const bool weighted = kind == symmetry::differentiator && std::abs(a[s]) + std::abs(a[s + 1]) > 0.0;
        // The integral of offset * sin(2 pi k f) / f^2 diverges at f = 0, so the band begins just above.
        const double begin = weighted && low == 0.0 && offset != 0.0 ? 1e-5 : low;
        bands.push_back({begin, high, slope, offset, root_weight * root_weight, weighted});
    }
    return bands;
}

// Whether each band begins where the one before ends. The basis functions are then orthogonal over all bands together,
// as long as the bands have equal weights, and no system has to be solved.
bool bands_touch(const Vector<double>& f)
{
    bool touch = f.size > 2;
    for (int i = 1; i + 1 < f.size; i += 2)
        touch = touch && f[i + 1] / 2.0 - f[i] / 2.0 == 0.0;
    return touch;
}

double sinc(double x)
{
    return x == 0.0 ? 1.0 : std::sin(pi * x) / (pi * x);
}

// For each k, the integral over the bands of weight * (slope * f + offset) * cos(2 pi k f).
Vector<double> cosine_integrals(const std::vector<band>& bands, const Vector<double>& k)
{
    Vector<double> b(k.size, 0.0, true);
    for (const band& s : bands) {
        const double low_amplitude = s.slope * s.low + s.offset, high_amplitude = s.slope * s.high + s.offset;
        for (int i = 0; i < k.size; ++i) {
            if (k[i] == 0.0) {
                b[i] += (s.offset * (s.high - s.low) + s.slope / 2.0 * (s.high * s.high - s.low * s.low)) * s.weight;
                continue;
            }
            b[i] += s.slope / (4.0 * pi * pi) *
                    (std::cos(2.0 * pi * k[i] * s.high) - std::cos(2.0 * pi * k[i] * s.low)) / (k[i] * k[i]) * s.weight;
            b[i] += (s.high * high_amplitude * sinc(2.0 * k[i] * s.high) -
                     s.low * low_amplitude * sinc(2.0 * k[i] * s.low)) *
                    s.weight;
        }
    }
    return b;
}

// For each k, an antiderivative of (slope * f + offset) * sin(2 pi k f) at the edge.
Vector<double> sine_primitive(const band& s, double edge, const Vector<double>& k)
{
    Vector<double> values(k.size);
    for (int i = 0; i < k.size; ++i) {
        const double turn = 2.0 * pi * k[i];
        values[i] = s.slope * std::sin(turn * edge) / (turn * turn) -
                    (s.slope * edge + s.offset) * std::cos(turn * edge) / turn;
    }
    return values;
}

// For each k, an antiderivative of (slope * f + offset) * sin(2 pi k f) / f^2 at the edge.
Vector<double> weighted_sine_primitive(const band& s, double edge, const Vector<double>& k)
{
    Vector<double> values = sinint(2.0 * pi * edge * k) * s.slope;
    if (s.offset != 0.0) {
        const Vector<double> cosines = cosint(2.0 * pi * edge * k);
        for (int i = 0; i < k.size; ++i) {
            const double turn = 2.0 * pi * k[i];
            values[i] += s.offset * (turn * cosines[i] - std::sin(turn * edge) / edge);
        }
    }
    return values;
}

// For each k, the integral over the bands of weight * (slope * f + offset) * sin(2 pi k f), divided by f^2 in the bands
// that are weighted so.
Vector<double> sine_integrals(const std::vector<band>& bands, const Vector<double>& k)
{
    Vector<double> b(k.size, 0.0, true);
    for (const band& s : bands) {
        const auto primitive = s.by_inverse_square ? weighted_sine_primitive : sine_primitive;
        b = b + (primitive(s, s.high, k) - primitive(s, s.low, k)) * s.weight;
    }
    return b;
}

// For n = 0, 1, ..., the integral of cos(2 pi n f) / 2 from 0 to the edge; in a band weighted by 1 / f^2, that of
// (cos(2 pi n f) - 1) / (2 f^2), which converges at 0. There only differences of two values are used, without the 1.
Vector<double> half_cosine_primitive(const band& s, double edge, int count)
{
    Vector<double> values(count);
    for (int n = 0; n < count; ++n)
        values[n] = 0.5 * edge * sinc(2.0 * n * edge);
    if (!s.by_inverse_square || edge == 0.0)
        return values;

    Vector<double> turns(count);
    for (int n = 0; n < count; ++n)
        turns[n] = 2.0 * pi * n;
    const Vector<double> sines = sinint(turns * edge);
    for (int n = 0; n < count; ++n) {
        const double half = std::sin(turns[n] * edge / 2.0);
        values[n] = 0.5 * (2.0 * half * half / edge - turns[n] * sines[n]);
    }
    return values;
}

// Inner products of the basis functions over the bands. Let T(n) be the integral of cos(2 pi n f) / 2 over the bands.
// For the values r and c of k, the product of two cosines is T(r - c) + T(r + c), that of two sines T(r - c) - T(r +
// c). Sums and differences of two k are whole numbers, so that T is a table.
Matrix<double> gram_matrix(const std::vector<band>& bands, const Vector<double>& k, bool even)
{
    const auto whole = [](double n) { return static_cast<int>(std::abs(n)); };
    const int count = whole(2.0 * k[k.size - 1]) + 1;
    Vector<double> table(count);
    for (const band& s : bands)
        table = table + (half_cosine_primitive(s, s.high, count) - half_cosine_primitive(s, s.low, count)) * s.weight;

    Matrix<double> gram(k.size, k.size);
    for (int c = 0; c < k.size; ++c)
        for (int r = 0; r < k.size; ++r) {
            const double difference = table[whole(k[r] - k[c])], sum = table[whole(k[r] + k[c])];
            gram(r, c) = even ? difference + sum : difference - sum;
        }
    return gram;
}

// The coefficients of the filter in the order of time, from those of the basis functions.
Vector<double> impulse_response(const Vector<double>& a, int taps, symmetry kind)
{
    Vector<double> h(taps);
    const int first = taps % 2 != 0 && kind == symmetry::even ? 1 : 0; // a[0] belongs to the center alone
    if (first == 1)
        h[taps / 2] = a[0];
    for (int i = first; i < a.size; ++i) {
        const int distance = a.size - 1 - i;
        double before = 0.5 * a[i], after = 0.5 * a[i];
        switch (kind) {
        case symmetry::even:
            break;
        case symmetry::hilbert:
            before = -before;
            break;
        case symmetry::differentiator:
            after = -after;
            break;
        default:
            throw error("firls with unsupported ftype\n");
        }
        h[distance] = before;
        h[taps - 1 - distance] = after;
    }
    return h;
}

} // namespace

Vector<double> firls(int order, const Vector<double>& f, const Vector<double>& a, const Vector<double>& w,
                     const std::string& ftype)
{
    const symmetry kind = symmetry_of(ftype);
    const Vector<double> weights = w.size == 0 ? Vector<double>(f.size / 2, 1.0) : w;
    check_arguments(order, f, a, weights, kind);

    Vector<double> root_weights(weights.size);
    for (int i = 0; i < weights.size; ++i)
        root_weights[i] = std::sqrt(weights[i]);
    const std::vector<band> bands = bands_of(f, a, root_weights, kind);

    const bool even = kind == symmetry::even;
    const int taps = order + 1;
    Vector<double> k(taps % 2 != 0 && even ? taps / 2 + 1 : taps / 2, 0.0, true);
    for (int i = 0; i < k.size; ++i)
        k[i] = taps % 2 == 0 ? i + 0.5 : even ? i : i + 1;

    const bool constant_weights = std::count(root_weights.begin(), root_weights.end(), root_weights[0]) == weights.size;
    const bool inverse_square =
        std::any_of(bands.begin(), bands.end(), [](const band& s) { return s.by_inverse_square; });
    Vector<double> coefficients = even ? cosine_integrals(bands, k) : sine_integrals(bands, k);
    if (!bands_touch(f) || !constant_weights || inverse_square) {
        coefficients = mldivide(gram_matrix(bands, k, even), coefficients);
    } else {
        // The weight is in the integrals already: a constant weight other than 1 scales the filter.
        coefficients = 4.0 * root_weights[0] * root_weights[0] * coefficients;
        if (k[0] == 0.0)
            coefficients[0] /= 2.0;
    }
    return impulse_response(coefficients, taps, kind);
}

} // namespace tavel
