#include "features/harmonic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "features/pitch_map.h"
#include "features/running_median.h"
#include "tavel/min_max_elem.h"
#include "tests/support/plain_features.h"
#include "tests/support/progress.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(PitchMap, HasBandsForTheClassesPresent)
{
    struct map_case {
        double bin_hz, f_low, f_high;
        int first_bin, band_count;
        std::vector<int> bands;
    };
    const map_case cases[] = {
        {440.0, 0.0, 500.0, 1, 1, {0, 0}},              // on A: both weights go there
        {440.0, 0.0, 1400.0, 1, 2, {1, 1, 1, 1, 0, 1}}, // A, A, between E and F
        {440.0, 440.0, 1320.0, 2, 1, {0, 0}},           // both bounds are exclusive
        {450.0, 0.0, 500.0, 1, 2, {0, 1}},              // between A and B flat: a band behind the last one
        {508.0, 0.0, 600.0, 1, 1, {0, 0}},              // between B and C, which comes before B
    };
    for (const map_case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.bin_hz << " Hz up to " << c.f_high);
        const veloria::pitch_map map = veloria::build_pitch_map(16, 16.0 * c.bin_hz, c.f_low, c.f_high);
        EXPECT_EQ(map.first_bin, c.first_bin);
        EXPECT_EQ(map.band_count, c.band_count);
        EXPECT_EQ(std::vector<int>(map.bin_bands.begin(), map.bin_bands.end()), c.bands);
    }
    EXPECT_EQ(veloria::build_pitch_map(16, 7040.0, 0.0, 500.0).bin_weights[1], 0.99813604f);
    EXPECT_THAT([] { veloria::build_pitch_map(16, 7040.0, nan, 500.0); },
                testing::ThrowsMessage<tavel::error>("tavel error: min/max_elem called for empty vector \n"));
}

TEST(RunningMedian, IsTheMedianOfEachWindow)
{
    std::minstd_rand random(1);
    for (const int columns : {1, 2, 9, 10, 11, 40}) {
        for (int length = 0; length <= 11; ++length) {
            SCOPED_TRACE(testing::Message() << columns << " columns, length " << length);
            tavel::Matrix<double> matrix(3, columns), expected;
            for (double* value = matrix.data; value != matrix.data + 3 * columns; ++value)
                *value = static_cast<double>(random() % 5); // zeros and equal values
            expected = length < 2 || length > columns ? matrix : plain::median_of_rows(matrix, length);
            veloria::median_filter_rows(matrix, length);
            EXPECT_TRUE(std::equal(matrix.data, matrix.data + 3 * columns, expected.data));
        }
    }
    tavel::Matrix<double> hostile(1, 6);
    std::copy_n(std::array{1.0, 2.0, nan, 4.0, 5.0, 6.0}.data(), 6, hostile.data);
    veloria::median_filter_rows(hostile, 3);
    EXPECT_THAT(std::vector<double>(hostile.data, hostile.data + 6),
                testing::ElementsAre(1.0, 2.0, 4.0, 5.0, 5.0, 5.0));
}

struct pitch_classes {
    tavel::Matrix<double> matrix;
    tavel::Slice<int> frames;

    explicit pitch_classes(const tavel::Vector<double>& samples, int hop = 294)
    {
        veloria::extract_harmonic(samples, 11025.0, 882, hop, 77.0, 1500.0, 0.001, matrix, frames, unread_progress());
    }
};

// Nothing is near the strongest bin where that lies far above the range, and where there is no number.
TEST(Harmonic, LeavesAColumnWithoutPowersAtZero)
{
    tavel::Vector<double> high(881);
    for (int i = 0; i < 881; ++i)
        high[i] = std::sin(2.0 * std::numbers::pi * 3000.0 / 11025.0 * i);
    for (const tavel::Vector<double>& samples : {high, tavel::Vector<double>(881), tavel::Vector<double>(881, nan)}) {
        const pitch_classes profile(samples);
        EXPECT_THAT(std::vector<double>(profile.matrix.data, profile.matrix.data + 12), testing::Each(0.0));
    }
    EXPECT_THAT([&] { pitch_classes(high, 0); },
                testing::ThrowsMessage<tavel::error>(testing::HasSubstr("creating slice with offset 0")));
}

// A frame alone isn't smoothed: such profiles side by side, filtered plainly and scaled, are those of the whole.
TEST(Harmonic, SmoothsTheProfilesOfItsFrames)
{
    struct length_case {
        int frames, median_length;
    };
    for (const length_case& c : {length_case{1, 0}, {5, 1}, {6, 2}, {37, 9}, {38, 10}, {60, 10}}) {
        tavel::Vector<double> samples(881 + (c.frames - 1) * 294);
        for (int i = 0; i < samples.size; ++i)
            samples[i] = i / 4000 % 3 == 1 ? 0.0 : std::sin(0.1 * (1 + i / 600 % 5) * i) + 0.3 * std::sin(0.17 * i);
        tavel::Matrix<double> expected(12, c.frames);
        for (int i = 0; i < c.frames; ++i)
            expected(tavel::all, i) =
                pitch_classes(samples(tavel::range{294 * i, 294 * i + 880})).matrix(tavel::all, 0);
        if (c.median_length > 1)
            expected = plain::median_of_rows(expected, c.median_length);
        const pitch_classes whole(samples);
        ASSERT_EQ(whole.frames.count, c.frames);
        for (int i = 0; i < c.frames; ++i) {
            const double peak = tavel::max_elem(expected(tavel::all, i));
            for (int b = 0; b < 12; ++b) // each of the scalings errs by half an ulp
                EXPECT_DOUBLE_EQ(whole.matrix(b, i), peak == 0.0 ? 0.0 : expected(b, i) / peak) << i << ", " << b;
        }
    }
}

} // namespace
