#include "audio/load_sound.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <numeric>
#include <vector>

#include <gmock/gmock.h>

#include "audio/resampler.h"
#include "tests/support/progress.h"

namespace {

using samples = std::vector<double>;

// A sound of the given peak that has `delivered` frames, whatever it announces.
struct scripted_reader : corvane::AbstractReader {
    int rate_hz, channel_count;
    std::uint32_t announced, delivered;
    int silent = 0; // frames at the start
    double peak = 1.0;
    int reads = 0, failing_read = 0;

    scripted_reader(int rate, int n_channels, std::uint32_t n_frames, std::uint32_t n_delivered)
        : rate_hz(rate), channel_count(n_channels), announced(n_frames), delivered(n_delivered)
    {}
    bool open(const char*, int, int) override { return true; }
    void close(bool) override {}
    int sample_rate() const override { return rate_hz; }
    int channels() const override { return channel_count; }
    int frames() const override { return static_cast<int>(announced); }

    int read(double* buffer, int start, int n) override
    {
        if (++reads == failing_read)
            throw std::bad_alloc();
        for (int i = start * channel_count; i < (start + n) * channel_count; ++i) {
            const int frame = i / channel_count;
            const bool sounds = frame >= silent && frame < static_cast<int>(delivered);
            *buffer++ = sounds ? peak * (i * 37 % 101) / 100.0 : 0.0;
        }
        return std::clamp(static_cast<int>(delivered) - start, 0, n);
    }

    samples mono()
    {
        samples means, frame(static_cast<std::size_t>(channel_count));
        for (int i = 0; i < frames(); ++i) {
            read(frame.data(), i, 1);
            means.push_back(std::accumulate(frame.begin(), frame.end(), 0.0) / channel_count);
        }
        return means;
    }
};

samples load(scripted_reader& reader, report_log& log, bool clip = false, bool normalize = false)
{
    tavel::Vector<double> output(3, 7.0);
    corvane::load_sound(reader, 11025.0, clip, normalize, output, log.piece(0.25, 0.5));
    return {output.begin(), output.end()};
}

// Loads to the end, and up to each report.
void expect_load(scripted_reader& reader, const samples& expected, double bound = 0.0)
{
    samples positions;
    for (double end = 16384.0; end < reader.announced; end += 16384.0)
        positions.push_back(end * (0.5 / reader.announced) + 0.25);
    positions.push_back(reader.announced == 0 ? 0.75 : reader.announced * (0.5 / reader.announced) + 0.25);
    report_log log;
    EXPECT_THAT(load(reader, log), testing::Pointwise(testing::DoubleNear(bound), expected));
    EXPECT_EQ(log.positions, positions);
    for (std::size_t k = 0; k < positions.size(); ++k) {
        report_log stopped(k);
        EXPECT_THROW(load(reader, stopped), corvane::cancel_exception);
        EXPECT_EQ(stopped.positions.size(), k + 1);
    }
}

TEST(LoadSound, TakesTheMeanOfTheChannelsAtTheAnalysisRate)
{
    for (const int channels : {1, 2, 3, 6})
        for (const std::uint32_t frames : {0u, 1u, 16384u, 16385u, 40000u})
            for (const std::uint32_t delivered : {0u, frames / 2, frames}) {
                SCOPED_TRACE(testing::Message() << channels << " channels, " << delivered << " frames of " << frames);
                scripted_reader reader(11025, channels, frames, delivered);
                expect_load(reader, reader.mono());
            }
}

// Also where it is so short that the resampler would drop all of its outputs.
TEST(LoadSound, ResamplesASoundAsIfSilenceFollowed)
{
    constexpr std::tuple<int, std::uint32_t, std::size_t> cases[] = {
        {8000, 9, 13},   {22050, 23, 12},  {44100, 1, 1},         {44100, 40, 10},      {44100, 44, 11},
        {44100, 45, 12}, {44100, 100, 25}, {44100, 40000, 10000}, {48000, 16384, 3764}, {48000, 40000, 9188},
    };
    for (const auto& [rate_hz, frames, length] : cases) {
        SCOPED_TRACE(testing::Message() << rate_hz << " Hz, " << frames << " frames");
        scripted_reader reader(rate_hz, frames % 2 == 0 ? 2 : 1, frames, frames - frames / 3);
        corvane::Resampler resampler(11025, rate_hz);
        samples sound = reader.mono(), expected(80000);
        sound.resize(45000);
        for (std::size_t i = 0, end = 0; i < sound.size(); i += 5000) {
            std::copy_n(sound.data() + i, 5000, resampler.input_area());
            const auto count = static_cast<std::size_t>(resampler.output_count(5000));
            resampler.run(5000, std::span(expected).subspan(end));
            end += count;
        }
        expected.resize(length);
        // The last samples are summed in another order; the sizes of their terms are below 2 together.
        const double bound = 4.0 * static_cast<double>(resampler.sizes().taps);
        expect_load(reader, expected, bound * std::numeric_limits<double>::epsilon());
    }
}

TEST(LoadSound, RefusesWhatItCantLoad)
{
    const std::string low_ratio =
        "tavel error: The resampling ratio is too low for this frame size: increase the frame size";
    const std::string empty_block = "tavel error: min/max_elem called for empty expression \n";
    const std::tuple<int, std::uint32_t, int, std::string> cases[] = {
        {44100, 0xffffffff, 0, "the length of the sound is unknown"},
        {11025, 0x80000000, 0, "the sound is too long"}, // and not of a negative length
        {44100, 0x80000001, 0, "the sound is too long"}, // its last frame would be read as silence
        {1, 0xfffffffe, 0, "the sound is too long"},
        {22579200, 20000, 0, low_ratio}, // 10 samples, but more than one block
        {22579200, 100, 1, empty_block},
        {48000, 16385, 2, empty_block},
    };
    for (const auto& [rate_hz, frames, reads, text] : cases) {
        scripted_reader reader(rate_hz, 2, frames, 100);
        report_log log;
        EXPECT_THAT([&] { load(reader, log); }, testing::ThrowsMessage<std::exception>(text));
        EXPECT_EQ(reader.reads, reads) << text;
    }
}

TEST(LoadSound, AdjustsTheLevelIfAsked)
{
    constexpr std::tuple<double, bool, bool, double, double> cases[] = {
        {1.5, false, false, 1.0, 9.0}, {1.5, true, false, 1.0, 1.0},       {-1.5, true, true, 1.0, 1.0},
        {1.0, true, true, 1.0, 9.0},   {1.5, false, true, 1.0 / 1.5, 9.0}, {0.95, true, true, 1.0 / 0.95, 9.0},
        {0.0, false, true, 1.0, 9.0},
    };
    for (const auto& [peak, clip, normalize, gain, limit] : cases) {
        scripted_reader reader(11025, 1, 200, 200);
        reader.peak = peak;
        samples expected = reader.mono();
        for (double& x : expected)
            x = std::clamp(x * gain, -limit, limit);
        report_log log;
        EXPECT_EQ(load(reader, log, clip, normalize), expected) << peak << clip << normalize;
    }

    // The peak is that of all samples made, also of those behind a short sound, which are cut off.
    scripted_reader brief(44100, 1, 4, 4), longer(44100, 1, 8, 4);
    brief.silent = longer.silent = 3;
    report_log log;
    const samples plain = load(longer, log);
    ASSERT_GT(plain[1], plain[0]);
    EXPECT_THAT(load(brief, log, false, true), testing::ElementsAre(testing::DoubleEq(plain[0] / plain[1])));
}

TEST(LoadSoundDeathTest, EndsTheProcessWithoutMemory)
{
    scripted_reader reader(44100, 2, 1000, 1000);
    reader.failing_read = 1;
    report_log log;
    EXPECT_EXIT(load(reader, log), testing::ExitedWithCode(1), "^Out of memory. Details\nstd::bad_alloc\n$");
}

} // namespace
