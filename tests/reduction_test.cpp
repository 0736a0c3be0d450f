// The reduction of a stream to its principal components.
#include "modeling/reduce_components.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "tavel/error.h"
#include "tests/support/noise.h"
#include "tests/support/progress.h"

namespace {

using matrix = tavel::Matrix<double>;

matrix reduced(const matrix& stream)
{
    report_log reports;
    tavel::Vector<matrix> streams(1);
    streams[0] = stream;
    veloria::reduce_components(streams, reports.piece());
    EXPECT_EQ(reports.positions, std::vector<double>{streams[0].columns * (1.0 / stream.columns)});
    return streams[0];
}

// Each column has a size on two rows of its own, and is a component of its own.
TEST(Reduction, OrdersComponentsAndFillsUpFew)
{
    const std::vector<std::pair<std::vector<double>, std::vector<int>>> cases{
        {{0.0, 0.0, 0.0, 0.0}, {3, 2, 1}},      {{1.0, 0.09, 0.08, 0.07}, {0, 1, 2}},
        {{0.09, 1.0, 0.5, 0.08}, {1, 2, 0, 3}}, {{0.5, 1.0, 0.11, 0.09}, {1, 0, 2}},
        {{1.0, 0.5, 0.01}, {0, 1, 2}},          {{0.01, 1.0}, {1, 0}},
        {{1.0, 1.0, 0.5, 0.5}, {1, 0, 3, 2}},
    };
    for (const auto& [sizes, components] : cases) {
        SCOPED_TRACE(testing::PrintToString(sizes));
        matrix stream(8, static_cast<int>(sizes.size())), expected(8, static_cast<int>(components.size()));
        for (int c = 0; c < stream.columns; ++c)
            stream(2 * c, c) = -(stream(2 * c + 1, c) = sizes.data()[c]);
        matrix scores = reduced(stream);
        ASSERT_EQ(scores.columns, expected.columns);
        for (int i = 0; i < 8 * scores.columns; ++i)
            EXPECT_NEAR(std::fabs(scores.data[i]), std::fabs(stream(i % 8, components.data()[i / 8])), 1e-15);
    }
}

TEST(Reduction, LeavesThreeRowsAsTheyAre)
{
    const matrix stream = noise_matrix(3, 5), kept = reduced(stream);
    EXPECT_EQ(std::vector(kept.data, kept.data + 15), std::vector(stream.data, stream.data + 15));
}

TEST(Reduction, LeavesOutColumnsThatHaveNoMeanIfThreeOthersAreThere)
{
    matrix whole, rest(10, 3);
    for (const int bad : {0, 3}) {
        whole = noise_matrix(10, 4);
        std::copy_n(whole.column_data(bad == 0 ? 1 : 0), 30, rest.data);
        whole(5, bad) = std::nan("");
        const matrix scores = reduced(whole), expected = reduced(rest);
        EXPECT_EQ(std::vector(scores.data, scores.data + 30), std::vector(expected.data, expected.data + 30));
    }
    for (const double also_bad : {std::nan(""), HUGE_VAL}) {
        whole(5, 1) = also_bad;
        EXPECT_TRUE(std::isnan(reduced(whole)(0, 0)));
    }
    EXPECT_THAT([] { reduced(matrix(10, 0)); },
                testing::ThrowsMessage<tavel::error>("tavel error: min/max_elem called for empty expression \n"));
}

} // namespace
