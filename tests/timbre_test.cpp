#include "features/timbre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "features/mel_cepstrum.h"
#include "features/octave_bands.h"
#include "tests/support/plain_features.h"
#include "tests/support/progress.h"

namespace {

// Multiples of one power of two: their sums are exact, so the order of the additions leaves no trace.
TEST(OctaveBands, FindTheExtremesThatSelectionsFind)
{
    std::minstd_rand random(1);
    std::vector<float> scratch;
    for (const float unit : {1.0f, 0x1p-148f, 0x1p100f}) {
        for (const unsigned steps : {1u, 2u, 5u, 70000u}) { // few steps make many bins equal
            for (const int size : {1, 2, 7, 8, 33, 129, 513}) {
                SCOPED_TRACE(testing::Message() << unit << ", " << steps << " steps, " << size << " bins");
                std::vector<float> power(static_cast<std::size_t>(size) + 3);
                std::generate(power.begin(), power.end(), [&] { return unit * static_cast<float>(random() % steps); });
                std::vector<std::int32_t> keys(static_cast<std::size_t>(size) + 1, 777);
                const veloria::octave_band band{3, size + 2, std::max(1, size / 2)};
                const veloria::band_extremes fast = veloria::measure_band(power.data(), band, keys.data());
                const veloria::band_extremes plain = plain::measure_band(power.data(), band, scratch);
                EXPECT_EQ(fast.peak, plain.peak);
                EXPECT_EQ(fast.valley, plain.valley);
                EXPECT_EQ(keys.back(), 777);
            }
        }
    }
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const std::array hostile{1.0f, -nan, 2.0f, nan};
    std::array<std::int32_t, 4> keys;
    const veloria::band_extremes extremes = veloria::measure_band(hostile.data(), {0, 3, 2}, keys.data());
    EXPECT_TRUE(std::isnan(extremes.peak));
    EXPECT_EQ(extremes.valley, 1.5f);
}

// An energy of 1 is compressed to 0, one of 0 to -10, one of 2^10 to 10; without any energy all is 0.
TEST(MelCepstrum, IsTheCosineTransformOfTheCompressedEnergies)
{
    for (const auto& [one, others, level] : {std::array{0.0f, 1.0f, -10.0f}, {1024.0f, 1.0f, 10.0f}, {}}) {
        std::array<float, veloria::mel_filter_count> energies;
        energies.fill(others);
        energies[7] = one;
        std::array<double, veloria::cepstrum_size> coefficients;
        veloria::mel_cepstrum(veloria::make_cepstrum_table(), energies.data(), coefficients.data());
        for (int r = 0; r < veloria::cepstrum_size; ++r) {
            const double basis = std::cos(15 * r * std::numbers::pi / 80.0) * std::sqrt((r == 0 ? 1.0 : 2.0) / 40.0);
            EXPECT_NEAR(coefficients[static_cast<std::size_t>(r)], level * basis, 1e-5); // a few epsilons of 10
        }
    }
}

TEST(Timbre, OfSilenceIsFinite)
{
    report_log reports;
    tavel::Matrix<double> cepstrum(2, 13, 777.0), contrast(2, 12, 777.0);
    const tavel::Vector<double> silence(1200);
    veloria::extract_timbre(silence, 11025.0, 882, {440, 759, 294}, cepstrum, &contrast, reports.piece());
    EXPECT_EQ(reports.positions.size(), 2U);
    EXPECT_THAT(std::vector<double>(cepstrum.data, cepstrum.data + 26), testing::Each(0.0));
    for (int b = 0; b < 12; ++b)
        EXPECT_DOUBLE_EQ(contrast(1, b), b < 6 ? -36.04365338911715 : 0.0);
    veloria::extract_timbre(silence, 11025.0, 882, {}, cepstrum, nullptr, reports.piece());
    EXPECT_EQ(reports.positions.size(), 2U);
}

} // namespace
