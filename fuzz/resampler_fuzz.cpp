// Any rates and any cut of a sound into blocks: the samples must be those of one block.
#include <algorithm>
#include <stdexcept>
#include <vector>

#include "audio/resampler.h"
#include "fuzz/input.h"
#include "tavel/error.h"

namespace {

constexpr int rates_hz[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000, 88200, 96000, 192000};
constexpr int longest = 4000; // samples

// The shortest one that outlasts the filter's delay, as the first block has to.
std::size_t first_block(const corvane::Resampler& resampler)
{
    const corvane::filter_sizes& filter = resampler.sizes();
    return static_cast<std::size_t>((filter.latency + 1) * filter.down / filter.up + 1);
}

std::vector<double> resample(corvane::Resampler resampler, const std::vector<double>& sound, fuzz_input cuts,
                             bool in_one)
{
    std::vector<double> made;
    for (std::size_t position = 0; position < sound.size();) {
        const std::size_t left = sound.size() - position;
        std::size_t wished = cuts.take<std::uint16_t>();
        if (wished % 2 == 0)
            wished %= 64;
        if (in_one)
            wished = left;
        else if (position == 0)
            wished = std::max(wished, first_block(resampler));
        const std::size_t block = wished == 0 ? left : std::min(left, wished);
        std::copy_n(&sound[position], block, resampler.input_area());
        const auto count = static_cast<std::size_t>(resampler.output_count(static_cast<int>(block)));
        std::vector<double> out(count + 1, 7.0); // and one behind the end
        resampler.run(static_cast<int>(block), out);
        EXPECT_LAW(out.back() == 7.0);
        made.insert(made.end(), out.begin(), out.end() - 1);
        position += block;
    }
    std::vector<double> rest(static_cast<std::size_t>(resampler.sizes().latency));
    resampler.flush(rest);
    made.insert(made.end(), rest.begin(), rest.end());
    return made;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_input input(data, size);
    const auto choice = input.take<std::uint8_t>();
    const int target = choice % 2 == 0 ? 11025 : input.take<std::uint8_t>();
    const int source = choice % 2 == 0 ? rates_hz[choice / 2 % std::size(rates_hz)] : input.take<std::uint8_t>();
    std::vector<double> sound(input.take<std::uint16_t>() % longest);
    double value = 1.0;
    for (double& sample : sound)
        sample = value = 3.9 * value * (1.0 - value) + (value == 1.0 ? 0.3 : 0.0); // chaotic: no two stretches alike
    try {
        const corvane::Resampler resampler(target, source);
        if (sound.size() < first_block(resampler))
            return 0;
        const std::vector<double> whole = resample(resampler, sound, input, true);
        const std::vector<double> cut = resample(resampler, sound, input, false);
        EXPECT_LAW(cut.size() == whole.size());
        EXPECT_LAW(cut.empty() || std::memcmp(cut.data(), whole.data(), cut.size() * sizeof(double)) == 0);
    } catch (const tavel::error&) { // a rate of 0, or blocks too short for the ratio
    }
    return 0;
}
