#include "tavel/sig_proc/sinint.h"

#include <cmath>
#include <numbers>

#include "tavel/polyval.h"

namespace tavel {
namespace {

// Numerator and denominator, highest power first.
struct rational {
    Vector<double> above, below;
};

Vector<double> ratio(const rational& function, const Vector<double>& x)
{
    return polyval(function.above, x) / polyval(function.below, x);
}

// Up to here the integrals are taken from their series, beyond from the auxiliary functions.
constexpr double series_end = 4.0;

// Si(x) / x in powers of x^2
rational sine_series()
{
    return {{-6.05338212010422477e-16, 7.08240282274875911e-13, -3.53201978997168357e-10, 9.43280809438713025e-8,
             -1.41018536821330254e-5, 1.15457225751016682e-3, -4.54393409816329991e-2, 1.0},
            {3.21107051193712168e-16, 4.5049097575386581e-13, 3.28067571055789734e-10, 1.55654986308745614e-7,
             4.99175116169755106e-5, 1.01162145739225565e-2, 1.0}};
}

// (Ci(x) - gamma - ln x) / x^2 in powers of x^2
rational cosine_series()
{
    return {{-9.93728488857585407e-15, 1.06480802891189243e-11, -4.68889508144848019e-9, 1.05297363846239184e-6,
             -1.27528342240267686e-4, 7.51851524438898291e-3, -0.25},
            {1.39759616731376855e-18, 1.89106054713059759e-15, 1.38536352772778619e-12, 6.97071295760958946e-10,
             2.55533277086129636e-7, 6.72126800814254432e-5, 1.1592605689110735e-2, 1.0}};
}

// x f(x) in powers of x^-2
rational first_auxiliary()
{
    return {{-4.94701168645415959931e11, 4.94816688199951963482e12, 1.00795182980368574617e13,
             4.20968180571076940208e12, 6.40533830574022022911e11, 4.33736238870432522765e10, 1.43073403821274636888e9,
             2.37750310125431834034e7, 1.96396372895146869801e5, 7.44437068161936700618e2, 1.0},
            {1.11535493509914254097e13, 1.43468549171581016479e13, 5.06084464593475076774e12, 7.08501308149515401563e11,
             4.58595115847765779830e10, 1.47478952192985464958e9, 2.41535670165126845144e7, 1.97865247031583951450e5,
             7.46437068161927678031e2, 1.0}};
}

// x^2 g(x) in powers of x^-2
rational second_auxiliary()
{
    return {{-1.36517137670871689e12, 6.43291613143049485e12, 1.81004487464664575e13, 7.57664583257834349e12,
             1.09049528450362786e12, 6.83052205423625007e10, 2.06297595146763354e9, 3.12557570795778731e7,
             2.35239181626478200e5, 8.1359520115168615e2, 1.0},
            {3.99653257887490811e13, 4.01839087307656620e13, 1.17164723371736605e13, 1.39866710696414565e12,
             7.87465017341829930e10, 2.23355543278099360e9, 3.26026661647090822e7, 2.40036752835578777e5,
             8.19595201151451564e2, 1.0}};
}

// Elements that the series reach, and the others.
struct split {
    Vector<int> near, far;
};

split split_at_series_end(const Vector<double>& x)
{
    split parts;
    for (int i = 0; i < x.size; ++i)
        (std::abs(x[i]) <= series_end ? parts.near : parts.far).push_back(i);
    return parts;
}

// f(x) and g(x), with Si(x) = pi / 2 - f cos x - g sin x and Ci(x) = f sin x - g cos x for positive x
struct auxiliary {
    Vector<double> f, g;

    explicit auxiliary(const Vector<double>& x)
    {
        const Vector<double> inverse_square = 1.0 / square(x);
        f = ratio(first_auxiliary(), inverse_square) / x;
        g = ratio(second_auxiliary(), inverse_square) * inverse_square;
    }
};

} // namespace

Vector<double> sinint(const Vector<double>& x)
{
    const split parts = split_at_series_end(x);
    Vector<double> values(x.size, 0.0, x.column);

    const Vector<double> near = x(parts.near);
    values(parts.near) = near * ratio(sine_series(), square(near));

    const Vector<double> far = abs(x(parts.far));
    const auxiliary with(far);
    for (int i = 0; i < far.size; ++i) {
        const double value = std::numbers::pi / 2.0 - with.f[i] * std::cos(far[i]) - with.g[i] * std::sin(far[i]);
        values[parts.far[i]] = std::copysign(value, x[parts.far[i]]);
    }
    return values;
}

Vector<double> cosint(const Vector<double>& x)
{
    const split parts = split_at_series_end(x);
    Vector<double> values(x.size, 0.0, x.column);

    const Vector<double> near = x(parts.near);
    values(parts.near) = square(near) * ratio(cosine_series(), square(near)) + std::numbers::egamma;
    for (const int i : parts.near)
        values[i] += std::log(x[i]);

    const Vector<double> far = x(parts.far);
    const auxiliary with(far);
    for (int i = 0; i < far.size; ++i)
        values[parts.far[i]] = with.f[i] * std::sin(far[i]) - with.g[i] * std::cos(far[i]);
    return values;
}

} // namespace tavel
