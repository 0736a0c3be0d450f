#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tavel/error.h"
#include "tavel/sig_proc/tavel_firls.h"

using std::numbers::pi;
using tavel::firls;
using tavel::Vector;

namespace {

struct design {
    int order;
    Vector<double> f, a, w;
    const char* ftype;
};

// Amplitude of the filter, or the basis function of one pair of coefficients, at f cycles per sample.
double amplitude(const Vector<double>& h, const std::string& ftype, double f)
{
    double sum = 0.0;
    for (int n = 0; n < h.size; ++n) {
        const double phase = 2.0 * pi * f * (n - (h.size - 1) / 2.0);
        sum += h[n] * (ftype.empty() ? std::cos(phase) : ftype[0] == 'h' ? std::sin(phase) : -std::sin(phase));
    }
    return sum;
}

// Share of the basis function k in the weighted error, relative to the function's own size: 0 for every k in the
// design of least squares, and in no other. Integrals by Gauss's rule of three points on short pieces.
double error_along(const design& c, const Vector<double>& h, int k)
{
    constexpr int pieces = 400;
    const std::string ftype = c.ftype;
    Vector<double> basis(h.size);
    basis[h.size - 1 - k] = 1.0;
    basis[k] = ftype.empty() ? 1.0 : -1.0;
    double share = 0.0, size = 0.0;
    for (int s = 0; s < c.f.size; s += 2) {
        const double low = c.f[s] / 2.0, width = c.f[s + 1] / 2.0 - low, rise = c.a[s + 1] - c.a[s];
        const bool weighted = ftype[0] == 'd' && (c.a[s] != 0.0 || rise != 0.0);
        for (int i = 0; i < 3 * pieces; ++i) {
            const int node = i % 3 - 1;
            const double f = low + (i / 3 + 0.5 + node * std::sqrt(0.15)) * width / pieces;
            const double weight =
                (node == 0 ? 8.0 : 5.0) * width * (c.w.size == 0 ? 1.0 : c.w[s / 2]) / (weighted ? f * f : 1.0);
            const double error = c.a[s] + rise * (f - low) / width - amplitude(h, ftype, f);
            share += weight * error * amplitude(basis, ftype, f);
            size += weight * std::abs(amplitude(basis, ftype, f));
        }
    }
    return share / size;
}

TEST(Firls, LeavesNoErrorThatItsBasisCouldTakeUp)
{
    const design cases[] = {
        {12, {0, 0.4, 0.4, 1}, {0.5, 2, 1, 0}, {}, ""},
        {13, {0, 0.3, 0.3, 1}, {1, 1, 0, 0}, {}, ""},
        {11, {0, 0.5, 0.5, 1}, {0.2, 1, 1, 1}, {}, "h"},
        {12, {0, 0.5, 0.6, 1}, {1, 1, 0, 0}, {}, ""}, // from here on a system is solved
        {13, {0, 0.5, 0.6, 1}, {1, 1, 0, 0}, {1, 10}, ""},
        {12, {0, 0.3, 0.3, 1}, {1, 1, 0, 0}, {4, 1}, ""},
        {10, {0.1, 0.9}, {1, 1}, {}, "h"},
        {11, {0, 0.9}, {0, 0.9 * pi}, {}, "differentiator"},
        {14, {0, 0.4, 0.5, 1}, {0, 0.4 * pi, 0, 0}, {1, 3}, "d"},
        {11, {0, 0.5, 0.5, 1}, {0, 0.5 * pi, 0, 0}, {}, "d"},
        {13, {0.2, 0.6}, {1, 2}, {}, "d"},
    };
    for (const design& c : cases) {
        SCOPED_TRACE(&c - cases);
        const Vector<double> h = firls(c.order, c.f, c.a, c.w, c.ftype);
        ASSERT_EQ(h.size, c.order + 1);
        const bool even = *c.ftype == '\0';
        double sum = 1.0;
        for (int n = 0; n < h.size; ++n) {
            EXPECT_EQ(h[n], (even ? 1.0 : -1.0) * h[c.order - n]) << n;
            sum += std::abs(h[n]);
        }
        // A stable solution leaves a residual of some eps times its length and its sum; the integrals err by less.
        const double bound = 16.0 * std::numeric_limits<double>::epsilon() * h.size * sum;
        for (int k = 0; k < (even ? h.size + 1 : h.size) / 2; ++k)
            EXPECT_LT(std::abs(error_along(c, h, k)), bound) << k;
    }
    // An offset at 0, where its weight has no end
    EXPECT_TRUE(std::isfinite(firls(13, {0, 0.6}, {1, 2}, {}, "d")[0]));
}

TEST(Firls, IsTheCutIdealLowpassWhereBandsTouch)
{
    for (const int order : {80, 200, 12800}) {
        const double cutoff = 20.0 / order;
        const Vector<double> h = firls(order, {0, cutoff, cutoff, 1}, {1, 1, 0, 0});
        EXPECT_DOUBLE_EQ(h[order / 2], cutoff);
        for (int n = 0; n < order / 2; ++n) {
            const double distance = pi * (order / 2 - n);
            ASSERT_NEAR(h[n], std::sin(cutoff * distance) / distance, 8e-16 * cutoff) << order << ", " << n;
        }
        const Vector<double> heavy = firls(order, {0, cutoff, cutoff, 1}, {1, 1, 0, 0}, {2, 2});
        EXPECT_DOUBLE_EQ(heavy[order / 2], 4.0 * h[order / 2]); // the weight enters twice
    }
}

TEST(Firls, RefusesWithItsWords)
{
    const std::string position = "in file tavel/sig_proc/tavel_firls [0-9]+\n";
    const struct {
        design arguments;
        std::string text;
    } cases[] = {
        {{10, {0, 1.1, 1}, {1, 1}, {}, ""}, position + "firls:: Frequencies in F must be in range .0,1.\\."},
        {{10, {-0.1, 1, 1}, {1, 1}, {}, ""}, position + "firls:: Frequencies in F must be in range .0,1.\\."},
        {{10, {0, 0.5, 1}, {1, 1}, {}, ""}, position + "firls::F must have even length\\."},
        {{10, {0, 1}, {1, 1, 1}, {}, "x"}, position + "firls:: F and A must be equal lengths\\."},
        {{0, {0, 1}, {1, 1}, {}, "dh"}, "Requires symmetry to be \"Hilbert\" or \"differentiator\"\\."},
        {{0, {1, 0}, {1, 1}, {1, 1}, ""}, "Filter order must be a real, positive integer\\."},
        {{10, {1, 0}, {1, 1}, {1, 1}, ""}, position + "FIRLS :: There should be one weight per band\\."},
        {{10, {0, 0.6, 0.5, 1}, {1, 1, 0, 0}, {}, "h"}, position + "FIRLS:: Frequencies in F must be nondecreasing\\."},
        {{10, {}, {}, {}, ""}, "min/max_elem called for empty vector \n"},
    };
    for (const auto& [d, text] : cases)
        EXPECT_THAT(([&d = d] { firls(d.order, d.f, d.a, d.w, d.ftype); }),
                    testing::ThrowsMessage<tavel::error>(testing::MatchesRegex("tavel error: " + text)));
}

TEST(Firls, WarnsOfAnOddOrderThatMustPassTheTopAndRaisesIt)
{
    const struct {
        design arguments;
        int coefficients;
    } cases[] = {
        {{9, {0, 0.5, 0.6, 1}, {0, 0, 1, 1}, {}, ""}, 11},   {{9, {0, 0.5, 0.6, 1}, {0, 0, 1, 1}, {}, "HILBERT"}, 10},
        {{9, {0, 0.5, 0.6, 0.9}, {0, 0, 1, 1}, {}, ""}, 10}, {{9, {0, 0.5, 0.6, 1}, {1, 1, 1, 0}, {}, ""}, 10},
        {{8, {0, 0.5, 0.6, 1}, {0, 0, 1, 1}, {}, ""}, 9},    {{9, {0.1, 1}, {1, 1}, {}, "Differentiator"}, 10},
    };
    const std::string warning =
        "Odd order symmetric FIR filters must have a gain of zero \nat the Nyquist frequency. The order is being "
        "increased by one.\r\nAlternatively, you can pass a trailing ''h'' argument,\r'as in firls(N,F,A,W,''h''), to "
        "design a type 4 linear phase filter.";
    for (const auto& c : cases) {
        const design& d = c.arguments;
        testing::internal::CaptureStderr();
        const Vector<double> h = firls(d.order, d.f, d.a, d.w, d.ftype);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), c.coefficients == d.order + 2 ? warning : "");
        EXPECT_EQ(h.size, c.coefficients);
    }
}

} // namespace
