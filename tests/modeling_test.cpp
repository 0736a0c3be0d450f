// The frame grid, the kinds of modeling and the stage around them.
#include "modeling/model_streams.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "modeling/frame_grid.h"
#include "modeling/modulation.h"
#include "modeling/mph.h"
#include "modeling/window_statistics.h"
#include "tavel/error.h"
#include "tests/support/noise.h"
#include "tests/support/progress.h"

namespace {

using namespace veloria;
using matrix = tavel::Matrix<double>;
using numbers = std::vector<double>;

// 17 values, so that many are equal.
matrix coarse_noise(int rows, int columns)
{
    matrix stream = noise_matrix(rows, columns);
    std::for_each_n(stream.data, rows * columns, [](double& x) { x = std::round(8.0 * x); });
    return stream;
}

// What a kind of modeling makes of the window around each frame.
matrix rows_of(auto model, const matrix& stream, auto... settings)
{
    tavel::Vector<int> centers(stream.rows);
    std::iota(centers.begin(), centers.end(), 0);
    matrix modeled;
    model(stream, settings..., centers, modeled, unread_progress());
    return modeled;
}

TEST(FrameGrid, PlacesEachFrameOnceAndEndsAtTheLast)
{
    const std::vector<std::pair<numbers, std::vector<int>>> cases{
        {{0.0, 2.5, 3.5, 4.49, 4.5}, {0, 1, 2, 3}}, // frame 0 lies at 2.0; ties go away from zero
        {{4.0, 11.0, 11.2}, {2, 9}},
        {{4.0, 12.0, 11.0}, {2}},
        {{std::nan(""), 1e300, 5.0}, {0}},
    };
    for (const auto& [grid, expected] : cases) {
        const tavel::Vector<int> centers = place_frame_centers(grid, 2.0, 1.0, 10);
        EXPECT_EQ(std::vector(centers.begin(), centers.end()), expected);
    }
}

TEST(Windows, AreOddAndHaveADefinedEnd)
{
    const std::vector<std::pair<double, int>> cases{
        {8.0, 7}, {6.5, 7}, {0.49, -1}, {std::nan(""), -1}, {1e300, INT_MAX}};
    for (const auto& [frames, width] : cases)
        EXPECT_EQ(modeling_window_frames(frames * 2.0, 0.5), width) << frames;
    EXPECT_EQ(window_around(50, INT_MAX, 100).count, 100);
    EXPECT_TRUE(std::isnan(rows_of(model_spectrum, coarse_noise(9, 1), 37.5, -1)(8, 0)));
    EXPECT_THAT([] { rows_of(model_spectrum, coarse_noise(9, 1), 37.5, INT_MAX); },
                testing::ThrowsMessage<tavel::error>("tavel error: realfft_vec:: Error in realfft"));
}

TEST(WindowStatistics, DivideByTheFramesThatAreThere)
{
    const auto meanvar = [](auto& x, int width, auto& c, auto&&... out) {
        model_window_statistics(x, width, c, true, out...);
    };
    matrix ramp(9, 1);
    std::iota(ramp.data, ramp.data + 9, 0.0);
    EXPECT_DOUBLE_EQ(rows_of(meanvar, ramp, 5)(0, 1), 2.0 / 3.0); // (n^2 - 1) / 12
    EXPECT_DOUBLE_EQ(rows_of(meanvar, ramp, 5)(4, 1), 2.0);
    EXPECT_EQ(rows_of(meanvar, ramp, 1)(4, 1), 0.0);
    EXPECT_TRUE(std::isnan(rows_of(meanvar, ramp, -1)(4, 0)) && std::isnan(rows_of(meanvar, ramp, -1)(4, 1)));
}

TEST(Spectrum, PlacesItsBands)
{
    using bands = std::vector<modulation_band>;
    EXPECT_EQ(modulation_bands(37.5, 256), (bands{{7, 14}, {20, 102}, {102, 128}}));
    EXPECT_EQ(modulation_bands(75.0, 64), (bands{{1, 2}, {3, 13}, {13, 21}}));
    EXPECT_EQ(modulation_bands(37.5, 1), (bands{{0, 0}, {0, 0}, {0, 0}}));
    EXPECT_EQ(modulation_bands(20.0, 16), (bands{{1, 2}, {2, 8}}));
    EXPECT_EQ(modulation_bands(1.5, 4), bands());
}

TEST(Mph, RanksNaNLast)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    matrix stream(2, 5, nan); // the second frame has no numbers: its ranks go by the features' order
    for (int f = 1; f < 5; ++f)
        stream(0, f) = f;
    const matrix rows = rows_of(model_mph, stream, 3);
    EXPECT_EQ(rows(0, 4 * 5 + 0), 50.0);
    EXPECT_EQ(rows(0, 1 * 5 + 3), 20.0);
    EXPECT_EQ(rows(0, 0), 0.0);
}

TEST(Mph, WeighsTransitionsByTheRanksOfBothFrames)
{
    const matrix stream = coarse_noise(40, 13), rows = rows_of(model_mph, stream, 5);
    const auto weight = [&](int t, int feature) { // so low beyond the first four that no pair is above 0
        int rank = 0;
        for (int f = 0; f < 13; ++f)
            rank += stream(t, f) > stream(t, feature) || (stream(t, f) == stream(t, feature) && f < feature);
        return rank == 0 ? 25.0 : rank == 1 ? 18.0 : rank == 2 ? 14.0 : rank == 3 ? 10.0 : -100.0;
    };
    for (int cell = 0; cell < 40 * 169; ++cell) {
        const auto [first, n] = window_around(cell / 169, 5, 40);
        double expected = 0.0;
        for (int t = first; t + 1 < first + n; ++t)
            expected += std::max(weight(t, cell % 169 / 13) + weight(t + 1, cell % 13), 0.0);
        EXPECT_EQ(rows(cell / 169, cell % 169), expected) << cell;
    }
}

// Each stream has the part of the bar that it has of the features, the ranks 18 % of that.
TEST(ModelStreams, ReportsEachRowOnItsPieceOfTheBar)
{
    tavel::Vector<matrix> features(2), modeled;
    features[0] = coarse_noise(40, 6);
    features[1] = coarse_noise(40, 4);
    tavel::Vector<double> times;
    const report_log reports;
    model_streams(features, 11025.0, {440, 11906, 294}, {0.1, 0.2, 0.3}, {{}, modeling_kind::mph, 0.2, 0.1}, times,
                  modeled, reports.piece(0.2, 0.5));
    numbers expected;
    for (const auto& [begin, length] : {std::pair{0.2, 0.3}, {0.5, 0.2}}) {
        for (int i = 1; i <= 40; ++i)
            expected.push_back(begin + length * 0.18 * i / 40);
        for (int i = 1; i <= 3; ++i)
            expected.push_back(begin + length * (0.18 + 0.82 * i / 3));
    }
    EXPECT_THAT(reports.positions, testing::Pointwise(testing::DoubleNear(1e-15), expected));
}

} // namespace
