// The windows by what their formulas say of chosen points, sums and symmetry.
#include "fft/window.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

namespace {

struct window_case {
    int kind;
    double parameter;
    double end, quarter, middle; // of a window of 9 points
};

// Cosine sums: a0 + a1 + a2 + a3 at the end, a0 - a2 a quarter in, a0 - a1 + a2 - a3 in the middle.
const window_case window_cases[] = {
    {0, 0.0, 1.0, 1.0, 1.0},
    {1, 0.0, 0.0, 0.5, 1.0},
    {2, 0.0, 0.0, 0.5, 1.0},
    {3, 0.0, 0.08, 0.54, 1.0},
    {4, 3.0, std::exp(-0.5 * std::pow(4.0 / 3.0, 2)), std::exp(-0.5 * std::pow(2.0 / 3.0, 2)), 1.0},
    {5, 5.0, 1.0 / std::cyl_bessel_i(0.0, 5.0),
     std::cyl_bessel_i(0.0, 5.0 * std::sqrt(0.75)) / std::cyl_bessel_i(0.0, 5.0), 1.0},
    {6, 0.0, 0.0, 0.34, 1.0},
    {7, 0.0, 0.42659 - 0.49656 + 0.07685, 0.42659 - 0.07685, 1.0},
    {8, 0.0, 0.0, 0.25, 1.0},
    {9, 0.0, 0.42323 - 0.49755 + 0.07922, 0.42323 - 0.07922, 1.0},
    {10, 0.0, 0.44959 - 0.49364 + 0.05677, 0.44959 - 0.05677, 0.44959 + 0.49364 + 0.05677},
    {11, 0.0, 0.35875 - 0.48829 + 0.14128 - 0.01168, 0.35875 - 0.14128, 1.0},
    {12, 0.0, 0.40217 - 0.49703 + 0.09392 - 0.00183, 0.40217 - 0.09392, 0.40217 + 0.49703 + 0.09392 + 0.00183},
    {13, 0.0, 0.0, 0.40897 - 0.09103, 1.0},
    {14, 0.0, 0.0, 0.25, 1.0},
    {15, 0.0, 0.3635819 - 0.4891775 + 0.1365995 - 0.0106411, 0.3635819 - 0.1365995, 1.0},
    {16, 0.0, 0.0, 0.338946 - 0.161054, 1.0},
    {17, 0.0, 0.0, 0.125, 1.0},
};

TEST(Window, PassesThroughTheValuesOfItsFormula)
{
    for (const window_case& c : window_cases) {
        SCOPED_TRACE(c.kind);
        std::vector<double> values(10, -7.0);
        std::vector<float> single_values(10, -7.0f);
        ASSERT_EQ(libfft::make_window(c.kind, 9, values.data(), c.parameter), 1);
        ASSERT_EQ(libfft::make_window(c.kind, 9, single_values.data(), static_cast<float>(c.parameter)), 1);
        EXPECT_NEAR(values[0], c.end, 1e-15);
        EXPECT_NEAR(values[2], c.quarter, 1e-15);
        EXPECT_NEAR(values[4], c.middle, 1e-15);
        EXPECT_EQ(values[9], -7.0);
        EXPECT_EQ(single_values[9], -7.0f);
        for (std::size_t n = 0; n < 9; ++n) {
            EXPECT_EQ(values[n], values[8 - n]);
            EXPECT_NEAR(single_values[n], values[n], 2e-7);
        }
    }
}

TEST(Window, RefusesWhatItDoesNotKnow)
{
    double value = 5.0;
    EXPECT_EQ(libfft::make_window(18, 1, &value), 0);
    EXPECT_EQ(libfft::make_window(-1, 1, &value), 0);
    EXPECT_EQ(libfft::make_window(4, 1, &value, 0.0), 0);
    EXPECT_EQ(libfft::make_window(4, 0, &value, 2.0), 1);
    EXPECT_EQ(value, 5.0);
    double values[9];
    EXPECT_EQ(libfft::make_window(5, 9, values, 1e6), 1); // its series passes all numbers, and must still end
}

TEST(Window, ScalesAnAnalysisWindowToASumOfTwo)
{
    for (const int selector : {0, 1, 2, 3})
        for (const int window : {881, 882}) {
            SCOPED_TRACE(selector);
            int half = 0;
            tavel::Vector<double> values;
            libfft::make_analysis_window(selector, window, 0, half, values);
            EXPECT_EQ(values.size, 881);
            EXPECT_EQ(half, 440);
            EXPECT_NEAR(std::accumulate(values.begin(), values.end(), 0.0), 2.0, 1e-12);
            EXPECT_EQ(values[0] < 1e-9, selector == 0); // only the Blackman window begins at zero
        }
}

} // namespace
