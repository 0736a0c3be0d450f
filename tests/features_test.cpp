#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <vector>

#include "features/extract_feature_streams.h"
#include "features/standardize_columns.h"
#include "features/transpose.h"
#include "tests/support/progress.h"

namespace {

// Keeps the results and reports of one extraction.
struct extraction {
    report_log reports;
    tavel::Slice<int> frames;
    tavel::Vector<tavel::Matrix<double>> streams;

    void run(int size, int features)
    {
        tavel::Vector<double> samples(size);
        for (int i = 0; i < size; ++i)
            samples[i] = 0.3 * std::sin((0.1 + 0.02 * (i / 700)) * i) + 0.01 * std::sin(0.37 * i * i);
        veloria::extract_feature_streams(samples, 11025.0, static_cast<veloria::feature_selection>(features), frames,
                                         streams, reports.piece(0.1, 0.3));
    }
};

TEST(FeatureStreams, PlaceTheirFramesInsideTheSound)
{
    struct framing_case {
        int features, size;
        std::array<int, 4> frames; // start, end, step, count
        std::vector<int> columns;
    };
    const framing_case cases[] = {
        {0, 11025, {220, 10804, 147, 73}, {13, 12}}, {0, 441, {220, 220, 147, 1}, {13, 12}},
        {0, 440, {220, 73, 147, 0}, {13, 12}},       {1, 11025, {440, 10436, 294, 35}, {12}},
        {1, 880, {440, 146, 294, 0}, {12}},          {2, 11025, {440, 10436, 294, 35}, {13, 12, 12}},
        {2, 1174, {440, 440, 294, 1}, {13, 12, 12}}, {2, 1175, {440, 734, 294, 2}, {13, 12, 12}},
    };
    for (const framing_case& c : cases) {
        SCOPED_TRACE(testing::Message() << "selection " << c.features << ", " << c.size << " samples");
        extraction result;
        result.run(c.size, c.features);
        const tavel::Slice<int>& frames = result.frames;
        EXPECT_EQ((std::array{frames.start, frames.end, frames.step, frames.count}), c.frames);
        std::vector<int> columns;
        for (const tavel::Matrix<double>& stream : result.streams) {
            EXPECT_EQ(stream.rows, frames.count);
            columns.push_back(stream.columns);
        }
        EXPECT_EQ(columns, c.columns);
    }
    extraction unknown;
    EXPECT_THAT([&] { unknown.run(2000, 3); }, testing::ThrowsMessage<std::logic_error>("unexpected feature type"));
}

// On the piece from 0.1 to 0.4; a mixed selection divides it 74 to 26.
TEST(FeatureStreams, ReportEachFrameAndStopWhereRefused)
{
    constexpr double timbre_ends[] = {0.4, 0.1, 0.1 + 0.3 * 0.74};
    for (int features = 0; features < 3; ++features) {
        SCOPED_TRACE(features);
        extraction whole;
        whole.run(3000, features);
        std::vector<double> expected;
        for (const auto& [begin, end] : {std::array{0.1, timbre_ends[features]}, {timbre_ends[features], 0.4}})
            for (int i = 1; begin != end && i <= whole.frames.count; ++i)
                expected.push_back(begin + (end - begin) * i / whole.frames.count);
        EXPECT_THAT(whole.reports.positions, testing::Pointwise(testing::DoubleNear(1e-15), expected));
        for (std::size_t refused = 0; refused < expected.size(); ++refused) {
            extraction cancelled;
            cancelled.reports.refused = refused;
            EXPECT_THROW(cancelled.run(3000, features), corvane::cancel_exception);
            EXPECT_EQ(cancelled.reports.positions.size(), refused + 1);
        }
    }
}

TEST(StandardizeColumns, CentresAndScalesEachColumn)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const double unit = std::sqrt(0.6), half = std::sqrt(0.5); // deviations divide by rows - 1
    const std::array<std::vector<double>, 2> cases[] = {
        {{{1, 2, 3, 4}, {-1.5 * unit, -0.5 * unit, 0.5 * unit, 1.5 * unit}}},
        {{{0, 3}, {-half, half}}},
        {{{7}, {0}}},
        {{{0.25, 0.25}, {0, 0}}},
        {{{1, nan}, {nan, nan}}},
        {}};
    for (const auto& [values, expected] : cases) {
        tavel::Vector<tavel::Matrix<double>> streams(2);
        streams[1].resize(static_cast<int>(values.size()), 2);
        std::copy(values.begin(), values.end(), streams[1].column_data(1));
        veloria::standardize_columns(streams);
        const std::vector<double> standardized(streams[1].column_data(1), streams[1].column_data(2));
        EXPECT_THAT(standardized, testing::Pointwise(testing::NanSensitiveDoubleEq(), expected));
    }
}

TEST(Transpose, MovesEveryElementInPlace)
{
    for (const auto& [rows, columns] : {std::array{0, 3}, {1, 5}, {5, 1}, {4, 4}, {3, 2}, {12, 35}, {7, 64}}) {
        SCOPED_TRACE(testing::Message() << rows << " by " << columns);
        tavel::Matrix<double> matrix(rows, columns), transposed(columns, rows);
        for (int i = 0; i < rows * columns; ++i)
            transposed(i / rows, i % rows) = matrix.data[i] = i;
        const double* storage = matrix.data;
        veloria::transpose_in_place(matrix);
        EXPECT_EQ(matrix.data, storage);
        EXPECT_EQ((std::array{matrix.rows, matrix.columns}), (std::array{columns, rows}));
        EXPECT_TRUE(std::equal(storage, storage + rows * columns, transposed.data));
    }
}

} // namespace
