// Sounds, paths and settings without sense, through all twelve kinds of job: each has a stated end.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "gabarit/verify.h"
#include "tests/support/au_header.h"
#include "tests/support/files.h"
#include "tests/support/job.h"
#include "tests/support/sound.h"

namespace {

using namespace veloria;

constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();

class Hostile : public testing::Test {
protected:
    test_folder folder;
    const std::string sound = folder.path("sound"), output = folder.path("out.sdif");

    // Expects a whole file of n moments, or with n = -1 the message, stored.
    void expect_end(int n, const std::string& message, features_type features, modeling_type modeling)
    {
        SCOPED_TRACE(testing::Message() << "features " << features << ", modeling " << modeling);
        process_handle* const job = start_job(sound, output, features, modeling);
        const process_state state = wait_for_end(job);
        EXPECT_EQ(getErrorMessage(job), message);
        EXPECT_EQ(state == process_finished ? gabarit::verify(output) : -1, n);
        shutdown(job);
    }

    void expect_end_or_refusal(features_type features, modeling_type modeling, double window, double step, bool refused)
    {
        process_handle* const job = start_job(sound, output, features, modeling, window, step);
        EXPECT_EQ(wait_for_end(job), refused ? process_failed : process_finished);
        const std::string message = getErrorMessage(job);
        if (refused)
            EXPECT_TRUE(message == "std::bad_alloc" || message == "vector::reserve" ||
                        message == "tavel error: realfft_vec:: Error in realfft")
                << message;
        else
            EXPECT_EQ(message, "");
        shutdown(job);
    }

    void expect_picture_of_each_kind(int n)
    {
        for (const features_type features : {timbre, harmo, mixed})
            for (const modeling_type modeling : {mean, meanvar, fft, mph})
                expect_end(n, "", features, modeling);
    }

    void write_samples(const std::vector<float>& samples, int rate_hz, int channels = 1)
    {
        SF_INFO info{};
        info.samplerate = rate_hz;
        info.channels = channels;
        info.format = SF_FORMAT_AU | SF_FORMAT_FLOAT;
        SNDFILE* const file = sf_open(sound.c_str(), SFM_WRITE, &info);
        ASSERT_NE(file, nullptr);
        sf_write_float(file, samples.data(), static_cast<sf_count_t>(samples.size()));
        sf_close(file);
    }
};

struct length_case {
    int frames, n;
};
// A window is 11025 frames here. The first moment needs the step and half a frame of features.
constexpr length_case length_cases[] = {{0, 0}, {1, 0},     {2, 0},     {3, 0},    {4, 0},
                                        {5, 0}, {11024, 1}, {11025, 1}, {11026, 1}};

TEST_F(Hostile, ShortSoundsGiveSmallPictures)
{
    for (const length_case& c : length_cases) {
        SCOPED_TRACE(c.frames);
        write_samples(std::vector<float>(static_cast<std::size_t>(c.frames), 0.1F), 11025);
        expect_picture_of_each_kind(c.n);
        write_samples(std::vector<float>(static_cast<std::size_t>(c.frames), 0.1F), 44100);
        expect_picture_of_each_kind(0);
    }
}

TEST_F(Hostile, SamplesThatAreNoNumbersGiveAPicture)
{
    for (const double odd : {nan, infinity, -infinity, 1e38, 1e-40})
        for (const std::size_t count : {1U, 33075U}) {
            SCOPED_TRACE(testing::Message() << count << " times " << odd);
            std::vector<float> samples(33075);
            for (std::size_t i = 0; i < samples.size(); ++i)
                samples[i] = std::sin(0.05F * static_cast<float>(i));
            std::fill_n(samples.begin() + 10000 * (count == 1), count, static_cast<float>(odd));
            write_samples(samples, 11025);
            expect_picture_of_each_kind(5);
        }
}

TEST_F(Hostile, RatesAndChannelsFromEndToEnd)
{
    write_samples(std::vector<float>(10, 0.1F), 1);
    expect_end(19, "", mixed, mean);
    write_samples(std::vector<float>(1000, 0.1F), 2147483647);
    expect_end(-1, "tavel error: The resampling ratio is too low for this frame size: increase the frame size", mixed,
               mean);
    // The reader's cache holds more than 260000 frames of all channels: 6 GB for 1024 of them.
    const char* const given = std::getenv("HOSTILE_CHANNELS");
    const int channels = given == nullptr ? 64 : std::atoi(given);
    write_samples(std::vector<float>(static_cast<std::size_t>(channels) * 11025, 0.1F), 11025, channels);
    expect_end(1, "", mixed, mean);
}

// A sound of 2^32 + 40000 frames: the low 32 bits of its length look like five seconds.
TEST_F(Hostile, MoreFramesThanAnIntegerHoldsAreAnUnknownLength)
{
    std::ofstream(sound, std::ios::binary) << au_header(0xffffffff, 2, 8000, 1);
    ASSERT_EQ(truncate(sound.c_str(), (std::int64_t{1} << 32) + 40000 + 24), 0);
    expect_end(-1, "the length of the sound is unknown", mixed, mean);
}

TEST_F(Hostile, SettingsWithoutSenseEndInAStatedWay)
{
    constexpr double values[] = {nan, infinity, 1e300, 1e10, 1e-300, std::numeric_limits<double>::denorm_min()};
    write_sound(sound, 11025, 1, 33075);
    for (const double value : values)
        for (const features_type features : {timbre, harmo, mixed})
            for (const modeling_type modeling : {mean, meanvar, fft, mph}) {
                SCOPED_TRACE(testing::Message() << value << ' ' << features << ' ' << modeling);
                // The buffer of a spectrum or a time grid longer than any memory is refused, all else gives a picture.
                expect_end_or_refusal(features, modeling, value, 0.5, modeling == fft && value > 1e9);
                expect_end_or_refusal(features, modeling, 1.0, value, value < 1.0);
            }
}

} // namespace
