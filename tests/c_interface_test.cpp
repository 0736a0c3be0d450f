#include "veloria/veloria_c.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/job.h"
#include "tests/support/sound.h"

namespace {

constexpr int rate_hz = 22050;

struct gabarit {
    std::vector<double> times;
    std::vector<std::uint8_t> similarity;
    bool operator==(const gabarit&) const = default;
};

std::ptrdiff_t open_descriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

class CInterface : public testing::Test {
protected:
    test_folder folder;
    veloria_settings settings{sizeof settings, VELORIA_TIMBRE, VELORIA_MEANVAR, 0.5, 0.25, 0};
    char text[200] = "untouched";

    std::string write(const char* name, int channels, int seconds, int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16)
    {
        write_sound(folder.path(name), rate_hz, channels, seconds * rate_hz, format);
        return folder.path(name);
    }

    veloria_code start(const std::string& sound, const char* output, veloria_job*& job)
    {
        const char* const paths[] = {sound.c_str()};
        return veloria_start(paths, 1, output, &settings, &job, text, sizeof text);
    }

    veloria_job* started(const std::string& sound, const char* output = nullptr)
    {
        veloria_job* job = nullptr;
        EXPECT_EQ(start(sound, output, job), VELORIA_OK) << text;
        return job;
    }

    // Long enough to be met while it runs.
    veloria_job* started_long()
    {
        settings.step_seconds = 0.02;
        return started(write("long", 1, 40));
    }

    gabarit result_of(veloria_job* job)
    {
        EXPECT_EQ(veloria_job_wait(job, -1.0), VELORIA_OK);
        std::size_t n = 0;
        EXPECT_EQ(veloria_job_size(job, &n, text, sizeof text), VELORIA_OK) << text;
        gabarit result{std::vector<double>(n), std::vector<std::uint8_t>(n * n)};
        EXPECT_EQ(veloria_job_result(job, n, result.times.data(), result.similarity.data(), text, sizeof text),
                  VELORIA_OK)
            << text;
        EXPECT_EQ(veloria_job_result(job, n + 1, result.times.data(), nullptr, nullptr, 0), VELORIA_INVALID_ARGUMENT);
        return result;
    }

    gabarit result_of_file(const std::string& path)
    {
        veloria_job* const job = started(path);
        gabarit result = result_of(job);
        EXPECT_EQ(veloria_job_end(job), VELORIA_OK);
        return result;
    }

    template <class SAMPLE, class READ>
    gabarit result_of_samples(const std::string& path, int type, READ read)
    {
        SF_INFO info{};
        SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
        std::vector<SAMPLE> data(static_cast<std::size_t>(info.frames * info.channels));
        EXPECT_EQ(read(file, data.data(), info.frames), info.frames);
        sf_close(file);
        const std::ptrdiff_t descriptors = open_descriptors();
        const veloria_samples samples{
            sizeof samples, data.data(), type, info.channels, static_cast<std::uint64_t>(info.frames), info.samplerate};
        veloria_job* job = nullptr;
        EXPECT_EQ(veloria_start_samples(&samples, nullptr, &settings, &job, text, sizeof text), VELORIA_OK) << text;
        data.assign(data.size(), SAMPLE{}); // nobody looks at it any more
        gabarit result = result_of(job);
        EXPECT_EQ(open_descriptors(), descriptors + 1); // the result's: the copy of the samples is gone
        EXPECT_EQ(veloria_job_end(job), VELORIA_OK);
        return result;
    }
};

TEST_F(CInterface, WritesTheFileThatTheNineFunctionsWrite)
{
    const std::string sound = write("sound", 2, 5), here = folder.path("a.sdif"), there = folder.path("b.sdif");
    veloria_job* const job = started(sound, here.c_str());
    EXPECT_EQ(veloria_job_wait(job, -1.0), VELORIA_OK);
    veloria::process_handle* const plain =
        start_job(sound, there, veloria::timbre, veloria::meanvar, settings.window_seconds, settings.step_seconds);
    EXPECT_EQ(wait_for_end(plain), veloria::process_finished);
    veloria::shutdown(plain);
    std::string expected = contents(there);
    expected.replace(expected.find("b.sdif"), 1, "a");
    EXPECT_TRUE(contents(here) == expected);

    const gabarit read_back = result_of(job);
    EXPECT_EQ(read_back.times.size(), 19U);
    EXPECT_EQ(read_back, result_of_file(sound)); // from memory
    std::filesystem::resize_file(here, 600);
    std::size_t n = 0;
    EXPECT_EQ(veloria_job_size(job, &n, text, sizeof text), VELORIA_FAILED);
    EXPECT_NE(text[0], '\0');
    EXPECT_EQ(veloria_job_end(job), VELORIA_OK);
}

TEST_F(CInterface, TakesTheDefaultsForZeros)
{
    const std::string sound = write("sound", 1, 3);
    settings = {sizeof settings, VELORIA_MIXED, VELORIA_MEAN, 1.0, 0.5, 0};
    const gabarit expected = result_of_file(sound);
    settings = {};
    settings.size = sizeof settings;
    EXPECT_EQ(result_of_file(sound), expected);
    const char* const paths[] = {sound.c_str()};
    veloria_job* job = nullptr;
    ASSERT_EQ(veloria_start(paths, 1, nullptr, nullptr, &job, nullptr, 0), VELORIA_OK);
    EXPECT_EQ(result_of(job), expected);
    EXPECT_EQ(veloria_job_end(job), VELORIA_OK);
}

TEST_F(CInterface, AnalyzesSamplesAsItDoesTheirFile)
{
    const std::ptrdiff_t descriptors = open_descriptors();
    for (const int channels : {1, 2, 6}) {
        SCOPED_TRACE(channels);
        const std::string f32 = write("f32", channels, 4, SF_FORMAT_WAV | SF_FORMAT_FLOAT),
                          f64 = write("f64", channels, 4, SF_FORMAT_WAV | SF_FORMAT_DOUBLE),
                          i16 = write("i16", channels, 4);
        EXPECT_EQ(result_of_samples<float>(f32, VELORIA_FLOAT32, sf_readf_float), result_of_file(f32));
        EXPECT_EQ(result_of_samples<double>(f64, VELORIA_FLOAT64, sf_readf_double), result_of_file(f64));
        EXPECT_EQ(result_of_samples<short>(i16, VELORIA_INT16, sf_readf_short), result_of_file(i16));
        EXPECT_NE(result_of_file(i16), result_of_file(f64)); // what is compared can differ
    }
    const veloria_samples none{sizeof none, nullptr, VELORIA_FLOAT32, 1, 0, rate_hz};
    veloria_job* job = nullptr;
    ASSERT_EQ(veloria_start_samples(&none, nullptr, nullptr, &job, text, sizeof text), VELORIA_OK) << text;
    EXPECT_EQ(result_of(job), gabarit());
    EXPECT_EQ(veloria_job_end(job), VELORIA_OK);
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(CInterface, RefusesWhatMakesNoSense)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinite = HUGE_VAL;
    constexpr std::size_t size = sizeof(veloria_settings);
    const std::pair<veloria_settings, const char*> settings_cases[] = {
        {{0, 0, 0, 0.0, 0.0, 0}, "invalid size of the settings"},
        {{size - 1, 0, 0, 0.0, 0.0, 0}, "invalid size of the settings"},
        {{5000, 0, 0, 0.0, 0.0, 0}, "invalid size of the settings"},
        {{size, 4, 0, 0.0, 0.0, 0}, "invalid feature selection"},
        {{size, std::numeric_limits<int>::min(), 0, 0.0, 0.0, 0}, "invalid feature selection"},
        {{size, 0, 5, 0.0, 0.0, 0}, "invalid modeling specification"},
        {{size, 0, 0, -1.0, 0.0, 0}, "invalid modeling window"},
        {{size, 0, 0, nan, 0.0, 0}, "invalid modeling window"},
        {{size, 0, 0, 0.0, -infinite, 0}, "invalid modeling step"},
        {{size, 0, 0, 0.0, infinite, 0}, "invalid modeling step"},
    };
    const std::string sound = write("sound", 1, 1);
    const char* const paths[] = {sound.c_str()};
    veloria_job* job = nullptr;
    for (const auto& [given, message] : settings_cases) {
        SCOPED_TRACE(message);
        job = reinterpret_cast<veloria_job*>(this);
        EXPECT_EQ(veloria_start(paths, 1, nullptr, &given, &job, text, sizeof text), VELORIA_INVALID_ARGUMENT);
        EXPECT_STREQ(text, message);
        EXPECT_EQ(job, nullptr);
    }

    const float data[4] = {};
    constexpr std::size_t samples_size = sizeof(veloria_samples);
    const std::pair<veloria_samples, const char*> samples_cases[] = {
        {{0, data, VELORIA_FLOAT32, 1, 4, rate_hz}, "invalid size of the samples"},
        {{samples_size, nullptr, VELORIA_FLOAT32, 1, 4, rate_hz}, "invalid samples"},
        {{samples_size, data, 0, 1, 4, rate_hz}, "invalid type of samples"},
        {{samples_size, data, VELORIA_INT16 + 1, 1, 4, rate_hz}, "invalid type of samples"},
        {{samples_size, data, VELORIA_FLOAT32, 0, 4, rate_hz}, "invalid number of channels"},
        {{samples_size, data, VELORIA_FLOAT32, 1025, 4, rate_hz}, "invalid number of channels"},
        {{samples_size, data, VELORIA_FLOAT32, 1, 4, 0}, "invalid sampling rate"},
        {{samples_size, data, VELORIA_FLOAT32, 1, 1U << 31, rate_hz}, "the sound is too long"},
    };
    for (const auto& [given, message] : samples_cases) {
        SCOPED_TRACE(message);
        EXPECT_EQ(veloria_start_samples(&given, nullptr, nullptr, &job, text, sizeof text), VELORIA_INVALID_ARGUMENT);
        EXPECT_STREQ(text, message);
    }
    EXPECT_EQ(veloria_start_samples(nullptr, nullptr, nullptr, &job, nullptr, 0), VELORIA_INVALID_ARGUMENT);

    // What a later version adds may be there as long as it is zero.
    struct {
        veloria_settings known{sizeof(veloria_settings) + sizeof(double), 0, 0, 0.0, 0.0, 0};
        double added = 0.0;
    } later;
    EXPECT_EQ(veloria_start(paths, 1, nullptr, &later.known, &job, nullptr, 0), VELORIA_OK);
    EXPECT_EQ(veloria_job_end(job), VELORIA_OK);
    later.added = 1.0;
    EXPECT_EQ(veloria_start(paths, 1, nullptr, &later.known, &job, nullptr, 0), VELORIA_INVALID_ARGUMENT);

    EXPECT_EQ(veloria_start(nullptr, 1, nullptr, nullptr, &job, text, sizeof text), VELORIA_INVALID_ARGUMENT);
    EXPECT_STREQ(text, "invalid input paths");
    EXPECT_EQ(veloria_start(paths, 0, nullptr, nullptr, &job, text, sizeof text), VELORIA_INVALID_ARGUMENT);
    EXPECT_STREQ(text, "invalid number of input paths");
    EXPECT_EQ(veloria_start(paths, 1, "", nullptr, &job, text, sizeof text), VELORIA_INVALID_ARGUMENT);
    EXPECT_STREQ(text, "invalid output path");
    EXPECT_EQ(veloria_start(paths, 1, nullptr, nullptr, nullptr, text, sizeof text), VELORIA_INVALID_ARGUMENT);
    EXPECT_EQ(start("/nowhere", nullptr, job), VELORIA_FAILED);
    EXPECT_STREQ(text, "error opening file '/nowhere'");
}

TEST_F(CInterface, RefusesWhatDoesNotFit)
{
    const std::string sound = write("sound", 2, 10);
    const char* const paths[] = {sound.c_str()};
    std::uint64_t figure = 0, other = 0;
    ASSERT_EQ(veloria_memory(paths, 1, nullptr, &settings, &figure, text, sizeof text), VELORIA_OK) << text;
    EXPECT_GT(figure, 10'000'000U);
    EXPECT_LT(figure, 100'000'000U);
    veloria_job* job = nullptr;
    settings.max_memory = figure;
    EXPECT_EQ(veloria_job_end(started(sound)), VELORIA_OK);
    settings.max_memory = figure - 1;
    EXPECT_EQ(start(sound, nullptr, job), VELORIA_NO_MEMORY);
    EXPECT_TRUE(std::string(text).starts_with("the job needs about ")) << text;

    const std::vector<float> data(20 * rate_hz);
    const veloria_samples samples{sizeof samples, data.data(), VELORIA_FLOAT32, 2, 10 * rate_hz, rate_hz};
    ASSERT_EQ(veloria_memory(nullptr, 0, &samples, &settings, &other, nullptr, 0), VELORIA_OK);
    EXPECT_EQ(other, figure + sizeof(float) * data.size()); // and their copy
    EXPECT_EQ(veloria_start_samples(&samples, nullptr, &settings, &job, nullptr, 0), VELORIA_NO_MEMORY);
    settings.step_seconds = 1e-300; // a moment at nearly every frame
    settings.max_memory = 0;
    ASSERT_EQ(veloria_memory(paths, 1, nullptr, &settings, &other, text, sizeof text), VELORIA_OK) << text;
    EXPECT_GT(other, figure);

    const char* const nowhere[] = {"/nowhere"};
    EXPECT_EQ(veloria_memory(nowhere, 1, nullptr, nullptr, &figure, text, sizeof text), VELORIA_FAILED);
    EXPECT_NE(std::string(text).find("/nowhere"), std::string::npos);
    EXPECT_EQ(figure, 0U);
    EXPECT_EQ(veloria_memory(paths, 1, &samples, nullptr, &figure, nullptr, 0), VELORIA_INVALID_ARGUMENT);
    EXPECT_EQ(veloria_memory(nullptr, 1, nullptr, nullptr, &figure, nullptr, 0), VELORIA_INVALID_ARGUMENT);
    EXPECT_EQ(veloria_memory(paths, 1, nullptr, nullptr, nullptr, nullptr, 0), VELORIA_INVALID_ARGUMENT);
}

TEST_F(CInterface, CutsTextsBetweenCharacters)
{
    veloria_job* job = nullptr;
    const char* const paths[] = {"/\u97f3\u97f3"};
    const std::string whole = "error opening file '/\u97f3\u97f3'";
    for (std::size_t room = 0; room <= whole.size() + 2; ++room) {
        std::vector<char> small(room + 1, '#');
        EXPECT_EQ(veloria_start(paths, 1, nullptr, nullptr, &job, small.data(), room), VELORIA_FAILED);
        EXPECT_EQ(small[room], '#');
        if (room == 0)
            continue;
        std::size_t fits = std::min(room - 1, whole.size());
        while (fits > 21 && fits < 27 && fits % 3 != 0)
            --fits;
        EXPECT_EQ(std::string(small.data()), whole.substr(0, fits));
    }
}

TEST_F(CInterface, FollowsNoHandleThatIsNoJob)
{
    const auto refused = [this](veloria_job* job) {
        int state = 0;
        double position = 0.0;
        std::size_t n = 0;
        for (const veloria_code code :
             {veloria_job_state(job, &state), veloria_job_position(job, &position),
              veloria_job_message(job, text, sizeof text), veloria_job_cancel(job), veloria_job_wait(job, -1.0),
              veloria_job_size(job, &n, text, sizeof text),
              veloria_job_result(job, 0, nullptr, nullptr, text, sizeof text), veloria_job_end(job)})
            EXPECT_EQ(code, VELORIA_INVALID_JOB);
        EXPECT_STREQ(text, "no job of this process");
    };
    veloria_job* const ended = started(write("sound", 1, 1));
    EXPECT_EQ(veloria_job_end(ended), VELORIA_OK);
    veloria_job* const running = started_long();
    refused(nullptr);
    refused(ended);
    refused(reinterpret_cast<veloria_job*>(this));
    refused(reinterpret_cast<veloria_job*>(std::numeric_limits<std::uintptr_t>::max()));

    // A child of a fork has no job of its parent, and runs its own if none ran at the fork.
    const auto in_child = [](auto check) {
        const pid_t child = fork();
        if (child == 0) {
            check();
            _exit(HasFailure() ? 1 : 0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    };
    in_child([&] { refused(running); });
    int state = -1;
    EXPECT_EQ(veloria_job_state(running, &state), VELORIA_OK);
    EXPECT_EQ(veloria_job_end(running), VELORIA_OK);
    in_child([&] {
        refused(running);
        EXPECT_EQ(result_of_file(folder.path("sound")).times.size(), 49U);
    });
}

TEST_F(CInterface, GivesARunningJobNoMessageAndNoResult)
{
    veloria_job* const job = started_long();
    std::size_t n = 7;
    EXPECT_EQ(veloria_job_size(job, &n, text, sizeof text), VELORIA_RUNNING);
    EXPECT_STREQ(text, "the job has not ended");
    EXPECT_EQ(veloria_job_result(job, n, nullptr, nullptr, nullptr, 0), VELORIA_RUNNING);
    EXPECT_EQ(veloria_job_message(job, text, sizeof text), VELORIA_RUNNING);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(veloria_job_wait(job, std::nan("")), VELORIA_INVALID_ARGUMENT);
    EXPECT_EQ(veloria_job_state(job, nullptr), VELORIA_INVALID_ARGUMENT);
    EXPECT_EQ(veloria_job_position(job, nullptr), VELORIA_INVALID_ARGUMENT);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(veloria_job_wait(job, 0.03), VELORIA_RUNNING);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));

    double before = 0.0, position = 0.0;
    veloria_code code = VELORIA_RUNNING;
    for (; code == VELORIA_RUNNING && position < 0.1; before = position) {
        EXPECT_EQ(veloria_job_position(job, &position), VELORIA_OK);
        EXPECT_GE(position, before);
        code = veloria_job_wait(job, 0.0);
    }
    EXPECT_EQ(veloria_job_cancel(job), VELORIA_OK);
    EXPECT_EQ(veloria_job_wait(job, HUGE_VAL), VELORIA_CANCELED);
    EXPECT_EQ(veloria_job_message(job, text, sizeof text), VELORIA_CANCELED);
    EXPECT_STREQ(text, "processing was canceled");
    EXPECT_EQ(veloria_job_size(job, &n, text, sizeof text), VELORIA_CANCELED);
    EXPECT_STREQ(text, "processing was canceled");
    EXPECT_EQ(veloria_job_position(job, &position), VELORIA_OK);
    EXPECT_GE(position, before);
    EXPECT_LT(position, 1.0);
    EXPECT_EQ(veloria_job_end(job), VELORIA_OK);
}

TEST_F(CInterface, LeavesAnEndedJobAsItIs)
{
    veloria_job* const job = started(write("sound", 1, 2));
    const gabarit before = result_of(job);
    double position = 0.0;
    int state = 0;
    EXPECT_EQ(veloria_job_message(job, text, sizeof text), VELORIA_OK); // its thread is gone from here on
    EXPECT_EQ(veloria_job_cancel(job), VELORIA_OK);
    EXPECT_EQ(veloria_job_state(job, &state), VELORIA_OK);
    EXPECT_STREQ(veloria_state_word(state), "finished");
    EXPECT_EQ(veloria_job_position(job, &position), VELORIA_OK);
    EXPECT_EQ(position, 1.0);
    EXPECT_EQ(result_of(job), before);
    EXPECT_EQ(veloria_job_end(job), VELORIA_OK);

    const std::string nowhere = folder.path("no/folder.sdif");
    veloria_job* const failing = started(folder.path("sound"), nowhere.c_str());
    EXPECT_EQ(veloria_job_wait(failing, -1.0), VELORIA_FAILED);
    EXPECT_EQ(veloria_job_message(failing, text, sizeof text), VELORIA_FAILED);
    EXPECT_EQ(text, "Error opening file '" + nowhere + "' for writing");
    EXPECT_EQ(veloria_job_end(failing), VELORIA_OK);
}

TEST_F(CInterface, EndsAJobOnceWhateverItsThreadsDo)
{
    for (int i = 0; i < 10; ++i) {
        veloria_job* const job = started_long();
        std::atomic<int> ended{0};
        std::vector<std::thread> threads;
        for (int k = 0; k < 3; ++k)
            threads.emplace_back([&, k] {
                if (k == 0)
                    veloria_job_wait(job, -1.0);
                ended += veloria_job_end(job) == VELORIA_OK;
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(ended, 1);
    }
}

TEST_F(CInterface, HasAWordForEachNumber)
{
    const std::pair<const char* (*)(int), std::vector<const char*>> cases[] = {
        {veloria_features_word, {nullptr, "timbre", "harmo", "mixed", nullptr}},
        {veloria_modeling_word, {nullptr, "mean", "meanvar", "fft", "mph", nullptr}},
        {veloria_state_word, {"running", "finished", "canceling", "canceled", "failed", nullptr}},
    };
    for (const auto& [word, expected] : cases) {
        EXPECT_EQ(word(std::numeric_limits<int>::min()), nullptr);
        EXPECT_EQ(word(-1), nullptr);
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_STREQ(word(static_cast<int>(i)), expected[i]);
    }
    EXPECT_STREQ(veloria_version(), veloria::getVersion());
}

} // namespace
