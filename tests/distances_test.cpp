#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "similarity/frame_distances.h"
#include "similarity/quantize.h"
#include "tests/support/noise.h"
#include "tests/support/plain_distances.h"
#include "tests/support/progress.h"

namespace {

using stream_list = tavel::Vector<tavel::Matrix<double>>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

stream_list random_streams(int frames, const std::vector<int>& columns)
{
    stream_list streams(static_cast<int>(columns.size()));
    for (int s = 0; s < streams.size; ++s)
        streams[s] = noise_matrix(frames, columns[static_cast<std::size_t>(s)]);
    return streams;
}

// Cells as bits; one pattern stands for all NaN.
template <class T>
std::vector<std::uint64_t> bits_of(const tavel::Matrix<T>& m)
{
    std::vector<std::uint64_t> bits{static_cast<std::uint64_t>(m.rows), static_cast<std::uint64_t>(m.columns)};
    for (int c = 0; c < m.columns; ++c)
        for (int r = 0; r < m.rows; ++r) {
            const double value = m(r, c);
            bits.push_back(std::isnan(value) ? 1 : std::bit_cast<std::uint64_t>(value));
        }
    return bits;
}

using change = void (*)(tavel::Matrix<double>& stream);
constexpr std::pair<const char*, change> stage_cases[] = {
    {"as they are", [](auto&) {}},
    {"a value twice", [](auto& m) { m(0, 0) = m(m.rows - 1, 0); }},
    {"all rows equal", [](auto& m) { std::fill_n(m.data, m.rows * m.columns, 0.1); }},
    {"few values", [](auto& m) { std::for_each_n(m.data, m.rows * m.columns, [](double& x) { x = std::round(x); }); }},
    {"a NaN", [](auto& m) { m(m.rows / 2, 0) = nan; }},
    {"an infinity", [](auto& m) { m(m.rows / 2, 0) = INFINITY; }},
    {"infinite squares", [](auto& m) { m(m.rows - 1, 0) = 1e200; }},
    {"vanishing squares", [](auto& m) { std::for_each_n(m.data, m.rows * m.columns, [](double& x) { x *= 1e-162; }); }},
};

TEST(FrameDistances, GivesTheBitsAndTheReportsOfThePlainForm)
{
    for (const auto& [name, change_stream] : stage_cases)
        for (const std::vector<int>& columns : std::vector<std::vector<int>>{{1}, {13, 11, 12}, {2, 5}})
            for (const int frames : {2, 3, 7, 8, 9, 17, 63, 64, 65, 100, 130, 257}) {
                SCOPED_TRACE(testing::Message() << name << ", " << frames << " frames, streams " << columns.size());
                const stream_list streams = random_streams(frames, columns);
                change_stream(streams.data[streams.size - 1]);
                report_log fast, slow;
                tavel::Matrix<double> distance, plain_distance;
                veloria::compute_frame_distances(streams, distance, fast.piece(0.3, 0.6));
                plain::compute_frame_distances(streams, plain_distance, slow.piece(0.3, 0.6));
                ASSERT_EQ(bits_of(distance), bits_of(plain_distance));
                ASSERT_EQ(fast.positions, slow.positions);

                tavel::Matrix<unsigned char> bytes, plain_bytes;
                veloria::quantize_distances(distance, bytes, frames);
                plain::quantize(plain_distance, plain_bytes);
                ASSERT_EQ(bits_of(bytes), bits_of(plain_bytes));
            }
}

TEST(FrameDistances, PlacesPointsOnALineByTheirDistribution)
{
    stream_list streams(1);
    streams[0].resize(3, 1);
    streams[0](1, 0) = 1.0;
    streams[0](2, 0) = 3.0;
    tavel::Matrix<double> distance;
    veloria::compute_frame_distances(streams, distance, unread_progress());
    // 1, 3 and 2 of 3 stand at 16 2/3, 50 and 33 1/3 bins, where 6 2/3, 9 and 8 of the nine cells are nearer; 6 are 0.
    // The place within a bin loses 5 bits to cancellation.
    EXPECT_NEAR(distance(1, 0), 2.0 / 9.0, 32.0 * std::numeric_limits<double>::epsilon());
    EXPECT_EQ(distance(2, 0), 1.0);
    EXPECT_NEAR(distance(2, 1), 2.0 / 3.0, std::numeric_limits<double>::epsilon());

    tavel::Matrix<unsigned char> bytes;
    veloria::quantize_distances(distance, bytes, 3);
    EXPECT_EQ(std::vector<int>(bytes.data, bytes.data + 9), (std::vector<int>{255, 198, 0, 198, 255, 85, 0, 85, 255}));

    tavel::Matrix<double> pair;
    veloria::compute_frame_distances(random_streams(2, {4, 1, 7}), pair, unread_progress());
    EXPECT_EQ(pair(1, 0), 3.0); // one pair is the farthest in each of three streams
}

TEST(FrameDistances, FillsThePieceWhereThereAreNoPairs)
{
    for (const auto& [rows, columns, size] : {std::array{0, 0, 0}, {0, 3, 0}, {1, 0, 0}, {1, 3, 1}}) {
        SCOPED_TRACE(testing::Message() << rows << " by " << columns);
        report_log reports;
        tavel::Matrix<double> distance;
        veloria::compute_frame_distances(random_streams(rows, {columns}), distance, reports.piece(0.3, 0.6));
        EXPECT_EQ(bits_of(distance), bits_of(tavel::Matrix<double>(size, size)));
        EXPECT_EQ(reports.positions, std::vector<double>{1.0 * 0.6 + 0.3});
        tavel::Matrix<unsigned char> bytes;
        veloria::quantize_distances(distance, bytes, rows);
        EXPECT_EQ(bits_of(bytes), bits_of(tavel::Matrix<unsigned char>(rows, rows, 255)));
    }
}

TEST(FrameDistances, StopsAtEveryReport)
{
    const stream_list streams = random_streams(66, {3, 2});
    for (std::size_t refused = 0; refused < 2 * 3 * 65 + 4; ++refused) {
        report_log reports(refused);
        tavel::Matrix<double> distance;
        EXPECT_THROW(veloria::compute_frame_distances(streams, distance, reports.piece()), corvane::cancel_exception);
        EXPECT_EQ(reports.positions.size(), refused + 1);
    }
}

TEST(QuantizeDistances, RoundsHalvesUpAndGivesNothingToNaN)
{
    for (const auto& [value, byte] : {std::pair{0.5, 128}, {std::nextafter(0.5, 1.0), 127}, {0.0, 255}, {nan, 0}}) {
        tavel::Matrix<double> distance(3, 3);
        distance(1, 0) = 1.0;
        distance(2, 1) = value;
        tavel::Matrix<unsigned char> bytes;
        veloria::quantize_distances(distance, bytes, 3);
        EXPECT_EQ(std::vector<int>(bytes.data + 3, bytes.data + 6), (std::vector<int>{0, 255, byte})) << value;
    }
}

} // namespace
