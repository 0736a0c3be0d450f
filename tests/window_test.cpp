// The windows by their side lobes, symmetry, sums, and what they refuse.
#include "fft/window.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "fft/realfft.h"

namespace {

using libfft::analysis_window;
using libfft::window_kind;

constexpr int length = 1025;

// Highest side lobe, in decibels below the main lobe.
double side_lobe_db(const std::vector<double>& window)
{
    std::vector<double> spectrum(1 << 16);
    std::copy(window.begin(), window.end(), spectrum.begin());
    libfft::realfft(spectrum.data(), spectrum.data(), 1 << 16, 1);
    std::vector<double> magnitudes{spectrum[0]};
    for (std::size_t i = 2; i < spectrum.size(); i += 2)
        magnitudes.push_back(std::hypot(spectrum[i], spectrum[i + 1]));
    auto end = magnitudes.begin(); // of the main lobe
    while (end[1] < end[0])
        ++end;
    return 20.0 * std::log10(*std::max_element(end, magnitudes.end()) / magnitudes[0]);
}

struct window_case {
    int kind;
    double parameter, side_lobe_db; // as Harris and Nuttall have it, as far as they do
};

constexpr window_case window_cases[] = {
    {0, 0, -13.26},  {1, 0, -26.52},  {2, 0, -31.47},  {3, 0, -42.68},  {4, 6, -56.07},  {5, 5, -36.73},
    {6, 0, -58.11},  {7, 0, -68.23},  {8, 0, -46.74},  {9, 0, -70.52},  {10, 0, -62.14}, {11, 0, -92.01},
    {12, 0, -56.64}, {13, 0, -64.19}, {14, 0, -46.74}, {15, 0, -98.16}, {16, 0, -82.60}, {17, 0, -60.95},
};

TEST(Window, HasTheSideLobesOfItsKind)
{
    for (const window_case& c : window_cases) {
        SCOPED_TRACE(c.kind);
        const auto kind = static_cast<window_kind>(c.kind);
        std::vector<double> values(length + 1, -7.0);
        std::vector<float> single_values(length + 1, -7.0f);
        ASSERT_EQ(libfft::make_window(kind, length, values.data(), c.parameter), 1);
        ASSERT_EQ(libfft::make_window(kind, length, single_values.data(), static_cast<float>(c.parameter)), 1);
        EXPECT_EQ(values.back(), -7.0);
        EXPECT_EQ(single_values.back(), -7.0f);
        values.pop_back();
        single_values.pop_back();
        EXPECT_NEAR(side_lobe_db(values), c.side_lobe_db, 0.006);
        EXPECT_NEAR(values[length / 2], 1.0, c.kind == 12 ? 0.006 : 1e-15);
        EXPECT_TRUE(std::equal(values.begin(), values.end(), values.rbegin()));
        EXPECT_THAT(single_values, testing::Pointwise(testing::FloatNear(2e-7f), values));
    }
}

TEST(Window, RoundsCoefficientsAndResultsToSinglePrecisionAndNoMore)
{
    constexpr double a0 = 0.3635819f, a1 = -0.4891775f, a2 = 0.1365995f, a3 = -0.0106411f;
    std::vector<float> values(length);
    libfft::make_window(window_kind::nuttall_4_lowest, length, values.data());
    for (int n = 0; n <= length / 2; ++n) {
        const double x = 2.0 * std::numbers::pi * n / (length - 1.0);
        const double sum = a0 + a1 * std::cos(x) + a2 * std::cos(2.0 * x) + a3 * std::cos(3.0 * x);
        EXPECT_EQ(values[static_cast<std::size_t>(n)], static_cast<float>(sum)) << n;
    }
}

TEST(Window, RefusesWhatItDoesNotKnow)
{
    double value = 5.0;
    EXPECT_EQ(libfft::make_window(static_cast<window_kind>(18), 1, &value), 0);
    EXPECT_EQ(libfft::make_window(static_cast<window_kind>(-1), 1, &value), 0);
    EXPECT_EQ(libfft::make_window(window_kind::gaussian, 1, &value, 0.0), 0);
    EXPECT_EQ(libfft::make_window(window_kind::gaussian, 0, &value, 2.0), 1);
    EXPECT_EQ(value, 5.0);
    double values[9];
    EXPECT_EQ(libfft::make_window(window_kind::kaiser, 9, values, 1e6), 1); // its series overflows, and must still end
}

TEST(Window, ScalesAnAnalysisWindowToASumOfTwo)
{
    constexpr std::pair<analysis_window, window_kind> cases[] = {
        {analysis_window::blackman, window_kind::blackman},
        {analysis_window::rectangular, window_kind::rectangular},
        {analysis_window::hamming, window_kind::hamming},
        {analysis_window::hann, window_kind::hann}};
    for (const auto& [selector, kind] : cases)
        for (const int window : {881, 882}) {
            SCOPED_TRACE(static_cast<int>(kind));
            const int dropped = kind == window_kind::hann ? 1 : 0; // zeros at either end
            std::vector<double> plain(static_cast<std::size_t>(881 + 2 * dropped));
            libfft::make_window(kind, static_cast<int>(plain.size()), plain.data());
            int half = 0;
            tavel::Vector<double> values;
            libfft::make_analysis_window(selector, window, 0, half, values);
            ASSERT_EQ(values.size, 881);
            EXPECT_EQ(half, 440);
            EXPECT_NEAR(std::accumulate(values.begin(), values.end(), 0.0), 2.0, 1e-12);
            for (int n = 0; n < values.size; ++n)
                EXPECT_NEAR(values[n] / values[440], plain[static_cast<std::size_t>(n + dropped)], 1e-14) << n;
        }
    int half = 7;
    tavel::Vector<double> values(3);
    libfft::make_analysis_window(static_cast<analysis_window>(4), 881, 0, half, values);
    EXPECT_TRUE(half == 0 && values.size == 0);
}

} // namespace
