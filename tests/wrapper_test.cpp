#include "veloria/veloria.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/sound.h"

namespace {

constexpr int rate_hz = 22050;

class Wrapper : public testing::Test {
protected:
    test_folder folder;
    std::string sound = folder.path("sound");
    void SetUp() override { write_sound(sound, rate_hz, 1, 3 * rate_hz); }
};

TEST_F(Wrapper, HandsErrorsOverByValue)
{
    veloria::job none({"/nowhere"}, folder.path("out.sdif"));
    veloria::gabarit result;
    for (const veloria::outcome& end : {none.started(), none.wait(), none.wait([](double) {}), none.read(result)}) {
        EXPECT_FALSE(end);
        EXPECT_EQ(end.code, VELORIA_FAILED);
        EXPECT_EQ(end.message, "error opening file '/nowhere'");
    }
    EXPECT_EQ(none.position(), 0.0);
    none.cancel();
    veloria::settings senseless;
    senseless.step_seconds = -1.0;
    EXPECT_EQ(veloria::job({sound}, {}, senseless).wait().message, "invalid modeling step");
}

TEST_F(Wrapper, ReportsAndGivesTheResult)
{
    std::vector<double> positions;
    veloria::job job({sound});
    EXPECT_TRUE(job.started());
    EXPECT_TRUE(job.wait([&](double position) { positions.push_back(position); }));
    for (std::size_t i = 1; i < positions.size(); ++i)
        EXPECT_GE(positions[i], positions[i - 1]);
    EXPECT_EQ(job.position(), 1.0);
    veloria::gabarit result, of_samples;
    EXPECT_TRUE(job.read(result));
    EXPECT_EQ(result.times.size(), 5U);
    EXPECT_EQ(result.similarity.size(), 25U);

    SF_INFO info{};
    SNDFILE* const file = sf_open(sound.c_str(), SFM_READ, &info);
    std::vector<std::int16_t> samples(3 * rate_hz);
    sf_read_short(file, samples.data(), 3 * rate_hz);
    sf_close(file);
    const std::string output = folder.path("out.sdif");
    veloria::job second(veloria::sound(samples.data(), samples.size(), 1, rate_hz), output);
    EXPECT_TRUE(second.wait());
    EXPECT_TRUE(second.read(of_samples));
    EXPECT_EQ(of_samples.similarity, result.similarity);
    EXPECT_EQ(of_samples.times, result.times);
    EXPECT_NE(contents(output), "");
}

TEST_F(Wrapper, EndsAJobWithItsObject)
{
    veloria::settings fine;
    fine.step_seconds = 0.02;
    write_sound(sound, rate_hz, 1, 40 * rate_hz);
    const std::string output = folder.path("out.sdif");
    {
        veloria::job first({sound}, output, fine);
        veloria::job moved = std::move(first);
        EXPECT_EQ(moved.wait(0.0).code, VELORIA_RUNNING);
        EXPECT_EQ(veloria::job({sound}, output, fine).wait([](double) { return false; }).message,
                  "processing was canceled");
        first = std::move(moved);
        EXPECT_EQ(first.wait(0.0).code, VELORIA_RUNNING);
    }
    EXPECT_EQ(contents(output), "");
}

} // namespace
