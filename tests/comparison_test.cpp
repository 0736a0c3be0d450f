// How far two gabarits lie apart, and whether a sound gives its gabarit again: as functions and as commands.
#include "gabarit/comparison.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "similarity/write_gabarit.h"
#include "tests/support/files.h"
#include "tests/support/job.h"
#include "tests/support/sound.h"

namespace {

class Comparison : public testing::Test {
protected:
    test_folder folder;

    std::string write(const std::string& name, int n, int step, double first_second = 0.5,
                      const std::string& features = "harmo") const
    {
        tavel::Matrix<unsigned char> similarity(n, n);
        tavel::Vector<double> times(n);
        for (int i = 0; i < n; ++i) {
            times[i] = first_second + 0.5 * i;
            for (int j = 0; j < n; ++j)
                similarity(j, i) = static_cast<unsigned char>(i == j ? 255 : 100);
        }
        if (n > 2)
            similarity(2, 0) = similarity(0, 2) = static_cast<unsigned char>(100 + step);
        const std::string path = folder.path(name);
        veloria::write_gabarit(similarity, times, name + ".wav",
                               "marquen --input " + name + " --similarity s --features_type " + features +
                                   " --features_modeling mean --features_modeling_length 1 --window_centering grid "
                                   "--window_grid_hop 0.5",
                               44100.0, 2, path);
        return path;
    }

    // Exit status of the program, whose outputs go to a file.
    int run(const std::string& arguments) const
    {
        return WEXITSTATUS(std::system((GABARIT " " + arguments + " >" + folder.path("said") + " 2>&1").c_str()));
    }
    std::string said() const { return contents(folder.path("said")); }
};

TEST_F(Comparison, CountsWhatDiffers)
{
    const std::string a = write("a", 10, 0);
    EXPECT_EQ(gabarit::text_of(gabarit::compare(a, write("b", 10, 0))), "the same bytes"); // of another sound's name
    EXPECT_EQ(gabarit::text_of(gabarit::compare(a, write("c", 10, -7))),
              "different: largest step 7 of 255, 2 % of the cells");
    EXPECT_EQ(gabarit::text_of(gabarit::compare(a, write("d", 10, 0, 0.5, "mixed"))),
              "the same square; other settings");
    EXPECT_EQ(gabarit::compare(write("e", 0, 0), write("f", 0, 0)).moments, 0);
    for (const std::string& other : {write("g", 11, 0), write("h", 10, 0, 0.75)})
        EXPECT_THAT([&] { gabarit::compare(a, other); },
                    testing::ThrowsMessage<std::runtime_error>(testing::StartsWith("not comparable: ")));
}

TEST_F(Comparison, EndsAsItSays)
{
    const std::string a = write("a", 10, 0), b = write("b", 10, 9), picture = folder.path("p.png");
    EXPECT_EQ(run("diff " + a + " " + a), 0);
    EXPECT_EQ(said(), "the same bytes\n");
    EXPECT_EQ(run("diff " + a + " " + b + " --picture " + picture), 1);
    EXPECT_EQ(contents(picture).substr(1, 3), "PNG");
    EXPECT_EQ(run("diff " + a + " " + b + " --picture " + picture), 2) << "exists";
    EXPECT_EQ(run("diff " + a + " " + b + " --force --picture " + a), 2) << "an input";
    EXPECT_EQ(run("diff " + a + " " + write("c", 3, 0)), 2);
    EXPECT_EQ(run("diff " + a + " " + folder.path("none")), 2);
}

TEST_F(Comparison, AnalyzesAgain)
{
    const std::string sound = folder.path("sound.wav"), out = folder.path("out.sdif");
    write_sound(sound, 11025, 1, 3 * 11025);
    veloria::process_handle* const job = start_job(sound, out, veloria::harmo, veloria::meanvar, 0.5, 0.25);
    ASSERT_EQ(wait_for_end(job), veloria::process_finished);
    veloria::shutdown(job);
    EXPECT_EQ(run("repro " + out), 0);
    EXPECT_THAT(said(), testing::StartsWith("the same bytes (made by "));
    std::filesystem::rename(sound, folder.path("moved.wav"));
    EXPECT_EQ(run("repro " + out), 2);
    EXPECT_EQ(run("repro " + out + " --sound " + folder.path("moved.wav")), 0);
    write_sound(sound, 11025, 1, 2 * 11025);
    EXPECT_EQ(run("repro " + out), 2) << "of another length";
    std::ofstream(folder.path("other.wav"), std::ios::binary)
        << std::string(contents(folder.path("moved.wav"))).replace(30000, 20000, 20000, '\0');
    EXPECT_EQ(run("repro " + out + " --sound " + folder.path("other.wav")), 1);
    EXPECT_THAT(said(), testing::StartsWith("different: largest step "));
}

} // namespace
