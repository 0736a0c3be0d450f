#include "gabarit/form.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "gabarit/form_files.h"
#include "similarity/write_gabarit.h"
#include "tests/support/files.h"
#include "tests/support/song_square.h"

namespace {

using testing::HasSubstr;

void write_square(const std::string& path, const made_square& square, const std::string& window = "1",
                  double first_time = 0.5)
{
    tavel::Matrix<unsigned char> similarity(square.n, square.n);
    tavel::Vector<double> times(square.n);
    for (int i = 0; i < square.n; ++i) {
        times[i] = first_time + 0.5 * i;
        for (int j = 0; j < square.n; ++j)
            similarity(j, i) = square.view().row(i)[j];
    }
    const std::string command = "marquen --input a.wav --similarity b.sdif --features_type mixed --features_modeling "
                                "mean --features_modeling_length " +
                                window + " --window_centering grid --window_grid_hop 0.5";
    veloria::write_gabarit(similarity, times, "/sounds/a.wav", command, 44100.0, 1, path);
}

// A A B A; the last section is cut off within the second.
made_square aaba()
{
    return song("AABA", {24, 24, 30, 24});
}

struct ending {
    int status;
    std::string output, error;
};

ending run(const test_folder& in, const std::string& arguments)
{
    const std::string line = "cd " + in.path("") + " && " GABARIT " sections " + arguments + " >stdout 2>stderr";
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents(in.path("stdout")), contents(in.path("stderr"))};
}

TEST(Form, IsPrintedWithItsSectionsAndParameters)
{
    const test_folder folder;
    write_square(folder.path("a.sdif"), aaba());
    const ending printed = run(folder, "a.sdif");
    EXPECT_EQ(printed.status, 0) << printed.error;
    EXPECT_THAT(printed.output, testing::MatchesRegex("A A B A\n"
                                                      "0:00.0   0:1[12].[0-9]   A\n"
                                                      "0:1[12].[0-9]   0:2[34].[0-9]   A\n"
                                                      "0:2[34].[0-9]   0:3[89].[0-9]   B\n"
                                                      "0:3[89].[0-9]   0:51.3   A\n"
                                                      "parameters: window=1.0 step=0.5 shortest=4.0 [^\n]*\n"));
    EXPECT_EQ(printed.error, "");

    const nlohmann::json parsed = nlohmann::json::parse(run(folder, "a.sdif --json").output);
    EXPECT_EQ(parsed["form"], "A A B A");
    ASSERT_EQ(parsed["sections"].size(), 4U);
    EXPECT_EQ(parsed["sections"][0]["start"], 0.0);
    EXPECT_EQ(parsed["sections"][2]["label"], "B");
    EXPECT_EQ(parsed["sections"][3]["end"], 51.25); // half a step behind the last moment
    EXPECT_EQ(parsed["parameters"]["window"], 1.0);
}

TEST(Form, OfNothingAndOfOneMoment)
{
    const test_folder folder;
    write_square(folder.path("0.sdif"), made_square(0));
    write_square(folder.path("1.sdif"), made_square(1).fill([](int, int) { return 0; }));
    EXPECT_THAT(run(folder, "0.sdif").output, testing::StartsWith("\nparameters"));
    EXPECT_EQ(nlohmann::json::parse(run(folder, "0.sdif --json").output)["sections"], nlohmann::json::array());
    EXPECT_THAT(run(folder, "1.sdif").output, testing::StartsWith("A\n0:00.0   0:00.8   A\n"));
    for (const char* out : {"0.txt", "0.lab", "0.jams", "0.csv"})
        EXPECT_EQ(run(folder, std::string("0.sdif ") + out).status, 0) << out;
    EXPECT_EQ(contents(folder.path("0.lab")), "");
}

TEST(Form, GoesByTheMeanOfSeveralGabarits)
{
    // Each of the two misses one change; both together show all.
    const test_folder folder;
    write_square(folder.path("one.sdif"), song("AC", {60, 30}));
    write_square(folder.path("other.sdif"), song("AC", {30, 60}));
    EXPECT_EQ(letters_of(gabarit::read_form(folder.path("one.sdif"))), "A B");
    EXPECT_EQ(letters_of(gabarit::read_form(folder.path("one.sdif"), {folder.path("other.sdif")})), "A B C");

    // Frames of other features lie a little beside.
    write_square(folder.path("beside.sdif"), song("AC", {30, 60}), "1", 0.507);
    EXPECT_EQ(letters_of(gabarit::read_form(folder.path("one.sdif"), {folder.path("beside.sdif")})), "A B C");
    write_square(folder.path("late.sdif"), song("AC", {30, 60}), "1", 0.75);
    write_square(folder.path("short.sdif"), song("AC", {30, 59}));
    for (const char* other : {"late.sdif", "short.sdif"}) {
        const ending refused = run(folder, std::string("one.sdif --with ") + other);
        EXPECT_EQ(refused.status, 1);
        EXPECT_EQ(refused.error, std::string("gabarit: one.sdif: with ") + other + ": has other moments\n");
    }
}

TEST(Form, WarnsOfLongWindows)
{
    const test_folder folder;
    for (const auto& [window, warns] : {std::pair("2", false), {"2.5", true}}) {
        write_square(folder.path("a.sdif"), aaba(), window);
        const ending printed = run(folder, "a.sdif");
        EXPECT_EQ(printed.status, 0);
        EXPECT_EQ(printed.error.find("blur") != std::string::npos, warns) << printed.error;
    }
}

TEST(Form, IsMarkedAlongTheAxesOfAPicture)
{
    const test_folder folder;
    write_square(folder.path("a.sdif"), aaba());
    const std::string draw = "cd " + folder.path("") + " && " GABARIT " picture a.sdif ";
    ASSERT_EQ(std::system((draw + "bare.png").c_str()), 0);
    ASSERT_EQ(std::system((draw + "--sections marked.png").c_str()), 0);
    EXPECT_NE(contents(folder.path("bare.png")), contents(folder.path("marked.png")));
    EXPECT_NE(std::system((draw + "--sections --plain plain.png 2>stderr").c_str()), 0);
    EXPECT_FALSE(std::filesystem::exists(folder.path("plain.png")));
}

TEST(Form, KeepsFilesAndRefusesWhatIsNoWholeGabarit)
{
    const test_folder folder;
    write_square(folder.path("a.sdif"), aaba());
    std::ofstream(folder.path("old.txt")) << "labels of mine\n";
    EXPECT_EQ(run(folder, "a.sdif old.txt").error, "gabarit: a.sdif: 'old.txt' exists (--force replaces it)\n");
    EXPECT_EQ(contents(folder.path("old.txt")), "labels of mine\n");
    EXPECT_EQ(run(folder, "a.sdif old.txt --force").status, 0);
    EXPECT_THAT(contents(folder.path("old.txt")), testing::StartsWith("0.000\t1"));
    EXPECT_EQ(run(folder, "a.sdif a.mp3").status, 2);

    made_square lopsided = aaba();
    lopsided.at(3, 40) = static_cast<unsigned char>(lopsided.at(3, 40) ^ 1);
    write_square(folder.path("lopsided.sdif"), lopsided);
    std::filesystem::copy(folder.path("a.sdif"), folder.path("cut.sdif"));
    std::filesystem::resize_file(folder.path("cut.sdif"), 9000);
    for (const char* damaged : {"lopsided.sdif", "cut.sdif"}) {
        const ending refused = run(folder, std::string(damaged) + " new.lab");
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(refused.error, HasSubstr(damaged[0] == 'l' ? "not symmetric" : "the file is cut"));
        EXPECT_FALSE(std::filesystem::exists(folder.path("new.lab")));
    }
}

} // namespace
