#include "audio/resampler.h"

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <stdexcept>

#include <gmock/gmock.h>

namespace {

using corvane::filter_sizes;
using corvane::Resampler;

TEST(Resampler, SizesItsFilterFromTheReducedRatio)
{
    constexpr std::pair<int, filter_sizes> cases[] = {
        {8000, {441, 320, 8891, 70, 22, 14}},
        {16000, {441, 640, 13441, 640, 32, 11}},
        {22050, {1, 2, 43, 2, 44, 11}},
        {32000, {441, 1280, 26881, 1280, 62, 11}},
        {44100, {1, 4, 85, 4, 86, 11}},
        {48000, {147, 640, 13441, 640, 92, 11}},
        {96000, {147, 1280, 26881, 1280, 184, 11}},
        {1, {11025, 1, 220502, 1, 22, 110251}},
    };
    const auto numbers = [](const filter_sizes& s) {
        return std::vector{s.up, s.down, s.length, s.padding, s.taps, s.latency};
    };
    for (const auto& [rate_hz, sizes] : cases)
        EXPECT_EQ(numbers(Resampler(11025, rate_hz).sizes()), numbers(sizes)) << rate_hz;

    std::feclearexcept(FE_ALL_EXCEPT); // a host may have made traps of them
    corvane::rational_ratio(11025.0 / 44100.0);
    EXPECT_FALSE(std::fetestexcept(FE_DIVBYZERO));
}

// All outputs of blocks of these sizes in turn, those of the flush last. Takes a copy of the resampler, which spares
// its design.
std::vector<double> resample(Resampler resampler, const std::vector<double>& samples, const std::vector<int>& blocks)
{
    const filter_sizes& s = resampler.sizes();
    const std::int64_t length = (s.up * std::ssize(samples) + s.down - 1) / s.down;
    std::vector<double> out(static_cast<std::size_t>(length + 1), -77.0);
    std::span<double> room(out.data(), out.size() - 1);
    std::size_t turn = 0;
    for (int i = 0, n; i < std::ssize(samples); i += n) {
        n = std::min(blocks[turn++ % blocks.size()], static_cast<int>(samples.size()) - i);
        std::copy_n(samples.begin() + i, n, resampler.input_area());
        const auto count = static_cast<std::size_t>(resampler.output_count(n));
        resampler.run(n, room);
        room = room.subspan(count);
    }
    EXPECT_EQ(std::ssize(room), s.latency) << "the flush fills what is left";
    resampler.flush(room);
    EXPECT_EQ(out.back(), -77.0);
    out.pop_back();
    return out;
}

// The lowpass at `x` steps of the coarser grid from its center.
double windowed_lowpass(double x)
{
    if (x == 0.0 || std::abs(x) > 10.0)
        return x == 0.0 ? 1.0 : 0.0;
    const double kaiser = std::cyl_bessel_i(0.0, 5.0 * std::sqrt(1.0 - x * x / 100.0)) / std::cyl_bessel_i(0.0, 5.0);
    return std::sin(std::numbers::pi * x) / (std::numbers::pi * x) * kaiser;
}

TEST(Resampler, SumsEvenAndOddTapsOfAWindowedLowpassApartWhateverTheBlocks)
{
    constexpr int size = 600;
    std::mt19937 engine(3);
    std::vector<double> samples(size);
    for (double& sample : samples)
        sample = std::uniform_real_distribution(-1.0, 1.0)(engine);
    for (const int rate_hz : {8000, 9450, 16000, 22050, 24000, 32000, 44100, 48000}) {
        const Resampler resampler(11025, rate_hz);
        const filter_sizes& s = resampler.sizes();
        const auto up = static_cast<double>(s.up), down = static_cast<double>(s.down);
        std::vector<std::vector<double>> responses; // to a unit impulse at each sample: the coefficients themselves
        for (std::vector<double> impulse(size); std::ssize(responses) < size; impulse.assign(size, 0.0)) {
            impulse[responses.size()] = 1.0;
            responses.push_back(resample(resampler, impulse, {size}));
        }
        const std::vector<double> whole = resample(resampler, samples, {size});
        for (std::size_t m = 0; m < whole.size(); ++m) {
            const auto output = static_cast<std::int64_t>(m);
            const std::int64_t start = (output + s.latency) * s.down / s.up - (s.taps - 1);
            double sums[2] = {}, flushed = 0.0;
            for (std::size_t i = 0; i < samples.size(); ++i) {
                const double coefficient = responses[i][m];
                const double x = (static_cast<double>(m) * down - static_cast<double>(i) * up) / std::max(up, down);
                ASSERT_NEAR(coefficient, std::min(1.0, up / down) * windowed_lowpass(x), 2e-15) << m << ", " << i;
                sums[(static_cast<std::int64_t>(i) - start) & 1] += coefficient * samples[i];
                flushed += coefficient * samples[i];
            }
            const bool of_flush = output >= std::ssize(whole) - s.latency;
            ASSERT_EQ(whole[m], of_flush ? flushed : sums[0] + sums[1]) << rate_hz << ", output " << m;
        }
        for (const std::vector<int>& blocks : {std::vector{71}, {300}, {599}, {91, 1, 2, 3, 128, 64, 7}})
            EXPECT_EQ(resample(resampler, samples, blocks), whole) << rate_hz << testing::PrintToString(blocks);
    }
    EXPECT_EQ(resample(Resampler(8000, 8000), samples, {71}), samples);
}

TEST(Resampler, RefusesWhatItCantConvert)
{
    const auto failure = [](const std::string& text) {
        return testing::ThrowsMessage<std::exception>("tavel error: " + text);
    };
    const auto low_ratio = failure("The resampling ratio is too low for this frame size: increase the frame size");
    const auto small_room = failure("Output vector too small.");
    for (const auto& rates : {std::pair{0, 44100}, {11025, 0}, {11025, -1}})
        EXPECT_THAT([&] { Resampler(rates.first, rates.second); },
                    failure("The resampler can't operate with sampling rates equal to zero.\n"
                            "                     Check the user code for roundings."));
    EXPECT_THAT([] { Resampler(11025, 2147483647); }, low_ratio);
    EXPECT_THROW(Resampler(2147483647, 2147483646), std::length_error);

    Resampler resampler(11025, 44100); // drops 11 outputs, then yields one per 4 samples
    std::vector<double> out(100);
    EXPECT_THAT([&] { resampler.output_count(42); }, low_ratio);
    EXPECT_THAT([&] { resampler.run(448, out); }, small_room);
    resampler.run(441, out);
    EXPECT_EQ(resampler.output_count(1), 0);
    EXPECT_THAT([&] { resampler.flush({out.data(), 10}); }, small_room);
}

} // namespace
