// The reduction of a stream to its principal components.
#include "modeling/reduce_components.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "tavel/error.h"
#include "tavel/lapack.h"
#include "tavel/mean.h"
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
            stream(2 * c, c) = -(stream(2 * c + 1, c) = sizes[static_cast<std::size_t>(c)]);
        matrix scores = reduced(stream);
        ASSERT_EQ(scores.columns, expected.columns);
        for (int i = 0; i < 8 * scores.columns; ++i)
            EXPECT_NEAR(std::fabs(scores.data[i]),
                        std::fabs(stream(i % 8, components[static_cast<std::size_t>(i / 8)])), 1e-15);
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

// Scores and singular values by the whole decomposition, with the left vectors that there are for columns.
struct decomposition {
    matrix scores;
    std::vector<double> singular;
};

decomposition decompose_whole(matrix stream)
{
    const int m = stream.rows, n = stream.columns, r = std::min(m, n);
    const tavel::Vector<double> means = tavel::mean(stream, 1);
    for (int c = 0; c < n; ++c)
        for (int i = 0; i < m; ++i)
            stream(i, c) -= means[c];
    decomposition whole{matrix(m, r), std::vector<double>(static_cast<std::size_t>(r))};
    matrix right(r, n);
    const int work_length = 64 * (m + n);
    std::vector<double> work(static_cast<std::size_t>(work_length));
    int info = 0;
    dgesvd_("S", "S", &m, &n, stream.data, &m, whole.singular.data(), whole.scores.data, &m, right.data, &r,
            work.data(), &work_length, &info, 1, 1);
    for (int c = 0; c < r; ++c)
        for (int i = 0; i < m; ++i)
            whole.scores(i, c) *= whole.singular[static_cast<std::size_t>(c)];
    return whole;
}

// The columns to keep by the singular values alone.
int kept_columns(const std::vector<double>& singular)
{
    const auto is_kept = [&](double s) { return s * s > 0.01 * singular[0] * singular[0]; };
    const auto count = static_cast<int>(std::count_if(singular.begin(), singular.end(), is_kept));
    return count >= 3 ? count : std::min(count == 2 ? 4 : 3, static_cast<int>(singular.size()));
}

// From every row to some hundreds of them.
std::vector<double> row_distances(const matrix& scores, int columns)
{
    std::vector<double> distances;
    for (int a = 0; a < scores.rows; a += 1 + scores.rows / 300)
        for (int b = 0; b < scores.rows; ++b) {
            double sum = 0.0;
            for (int k = 0; k < columns; ++k)
                sum += (scores(a, k) - scores(b, k)) * (scores(a, k) - scores(b, k));
            distances.push_back(std::sqrt(sum));
        }
    return distances;
}

// The size of each column: its singular value.
std::vector<double> column_sizes(const matrix& scores)
{
    std::vector<double> sizes;
    for (int k = 0; k < scores.columns; ++k) {
        const auto* column = scores.column_data(k);
        const auto add_square = [](long double sum, double x) { return sum + static_cast<long double>(x) * x; };
        sizes.push_back(
            std::sqrt(static_cast<double>(std::accumulate(column, column + scores.rows, 0.0L, add_square))));
    }
    return sizes;
}

struct shape_case {
    const char* what;
    int rows, columns;
    void (*change)(matrix&) = [](matrix&) {};
};

constexpr shape_case shape_cases[] = {
    {"an hour of timbre", 7199, 13},
    {"transitions of harmony", 2399, 144},
    {"transitions of timbre", 1799, 313},
    {"five minutes with variances", 599, 26},
    {"twice as many rows", 312, 156},
    {"a row more", 157, 156},
    {"square", 156, 156},
    {"a column more", 155, 156},
    {"wide", 30, 144},
    {"few rows", 4, 13},
    {"just tall", 14, 13},
    {"smallest", 4, 3},
    {"graded", 500, 24,
     [](matrix& x) {
         for (int c = 0; c < 24; ++c)
             std::for_each_n(x.column_data(c), 500, [c](double& value) { value *= std::exp2(-c); });
     }},
    {"one above all", 80, 12, [](matrix& x) { std::for_each_n(x.data, 80, [](double& value) { value *= 1e9; }); }},
    {"rank-deficient", 90, 12, [](matrix& x) { std::copy_n(x.column_data(0), 90 * 8, x.column_data(4)); }},
    {"columns of zeros", 90, 12, [](matrix& x) { std::fill_n(x.column_data(3), 90 * 7, 0.0); }},
    {"zeros", 90, 12, [](matrix& x) { std::fill_n(x.data, 90 * 12, 0.0); }},
    {"equal sizes", 64, 8,
     [](matrix& x) {
         for (int i = 0; i < 64 * 8; ++i)
             x.data[i] = i % 64 / 8 == i / 64 ? (i % 2 == 0 ? 1.0 : -1.0) : 0.0;
     }},
    {"a NaN in one column", 90, 12, [](matrix& x) { x(2, 7) = std::nan(""); }},
    {"NaN in all columns", 90, 12,
     [](matrix& x) {
         for (int c = 0; c < 12; ++c)
             x(c + 10, c) = std::nan("");
     }},
    {"an infinity", 90, 12, [](matrix& x) { x(2, 7) = HUGE_VAL; }},
};

TEST(Reduction, AgreesWithTheDecompositionOfTheWholeMatrix)
{
    for (const shape_case& c : shape_cases) {
        SCOPED_TRACE(testing::Message() << c.what << ", " << c.rows << " by " << c.columns);
        matrix stream = noise_matrix(c.rows, c.columns);
        c.change(stream);
        const matrix scores = reduced(stream);
        if (c.columns > 7 && std::isnan(stream(2, 7)))
            stream = tavel::select_columns(stream, {0, 1, 2, 3, 4, 5, 6, 8, 9, 10, 11});
        decomposition whole = decompose_whole(stream);
        const int columns = kept_columns(whole.singular);
        ASSERT_EQ(scores.columns, columns);

        // Each of some sqrt(m + n) roundings in turn turns a Householder vector by an epsilon; 4 leaves room.
        const double epsilon = std::numeric_limits<double>::epsilon();
        const double size_bound = 4.0 * std::sqrt(c.rows + c.columns) * epsilon * whole.singular[0];
        whole.singular.resize(static_cast<std::size_t>(columns));
        EXPECT_THAT(column_sizes(scores),
                    testing::Pointwise(testing::NanSensitiveDoubleNear(std::fmax(size_bound, 0.0)), whole.singular));
        const std::vector<double> expected = row_distances(whole.scores, columns);
        const double distance_bound = 1e-12 * *std::max_element(expected.begin(), expected.end());
        EXPECT_THAT(row_distances(scores, columns),
                    testing::Pointwise(testing::NanSensitiveDoubleNear(std::fmax(distance_bound, 0.0)), expected));
    }
}

} // namespace
