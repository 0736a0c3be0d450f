#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/files.h"
#include "tests/support/sound.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

struct ending {
    int status; // -N: by signal N
    std::string output, error;
};

// A program that runs beside the test, its two outputs going to files.
class started_program {
public:
    /// @param arguments  with blanks between them
    started_program(const test_folder& in, const std::string& program, const std::string& arguments)
        : output(in.path("stdout")), error(in.path("stderr"))
    {
        std::istringstream text(program + " " + arguments);
        std::vector<std::string> words{std::istream_iterator<std::string>(text), {}};
        std::vector<char*> pointers;
        for (std::string& word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
        constexpr int anew = O_WRONLY | O_CREAT | O_TRUNC;
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(), anew, 0600);
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, error.c_str(), anew, 0600);
        const int failure = posix_spawn(&id, program.c_str(), &files, nullptr, pointers.data(), environ);
        posix_spawn_file_actions_destroy(&files);
        if (failure != 0) // no process: a signal to its id would hit others
            throw std::system_error(failure, std::generic_category(), program);
    }

    // Ctrl-C, once it is the program's own affair: the job runs.
    void interrupt() const
    {
        const auto catches = [this] {
            const std::string status = contents("/proc/" + std::to_string(id) + "/status");
            const std::size_t caught = status.find("SigCgt:");
            return caught != std::string::npos && (std::stoull(status.substr(caught + 7), nullptr, 16) & 2) != 0;
        };
        for (int tries = 0; tries < 10000 && !catches(); ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        kill(id, SIGINT);
    }

    ending wait() const
    {
        int status = 0;
        waitpid(id, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), contents(output), contents(error)};
    }

private:
    pid_t id = 0;
    std::string output, error;
};

class Marquen : public testing::Test {
protected:
    ending run(const std::string& arguments) const { return started_program(folder, MARQUEN, arguments).wait(); }

    std::string sound(const std::string& name, int rate_hz, int frames, int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16)
    {
        write_sound(folder.path(name), rate_hz, 1, frames, format);
        return folder.path(name);
    }

    // The 36 bits of a FLAC header that announce its length.
    std::string flac_that_announces(const std::string& name, char bits)
    {
        const std::string path = sound(name, 44100, 44100, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(21);
        file.put(static_cast<char>(0xf0 | (bits & 0x0f)));
        file << std::string(4, bits);
        return path;
    }

    std::string sha256sum(const std::string& path) const
    {
        return started_program(folder, "/usr/bin/sha256sum", path).wait().output.substr(0, 64);
    }

    test_folder folder;
    std::string gabarit = folder.path("out.sdif");
};

TEST_F(Marquen, AnswersWrongUsageWithStatusTwo)
{
    const std::string wav = sound("a.wav", 11025, 22050), odd = sound("a.png", 11025, 22050),
                      job = "--input " + wav + " --similarity " + gabarit, dangling = folder.path("link.png");
    std::filesystem::create_symlink("out.sdif", dangling);
    struct usage {
        std::string arguments, text;
    };
    const usage cases[] = {
        {"", "SOUND or --input is required"},
        {"-x", "-x"},
        {"--similarity x.sdif --chroma", "--chroma"},
        {"--input", "--input"},
        {"--input " + wav, "--similarity is required"},
        {"--input " + wav + " " + wav + " --similarity " + wav, "would be overwritten"},
        {wav + " --input " + wav, "--input"},
        {wav + " b.wav --similarity " + gabarit, "of one sound"},
        {wav + " x/a.flac --out " + folder.path("x"), "would both give"},
        {wav + " " + wav, "would both give"},
        {"--input " + wav + " --similarity a.txt --sections", "two results would have the name 'a.txt'"},
        {"--\x1b[31m\xc2\x9b", "not expected: --_[31m_ ("},
        {job + " --features_type 2", "--features_type"},
        {job + " --modeling median", "--features_modeling"},
        {job + " --window nan", "'nan' is no number of seconds"},
        {job + " --step 0", "'0' is no number of seconds"},
        {job + " --window_centering beats", "--window_centering"},
        {job + " --max_memory -1", "is no size such as 8.5GB"},
        {job + " --max_memory 1e20", "above 9.2 EB"},
        {job + " --jobs 0", "--jobs"},
        {job + " --picture out.jpg", "neither in .png"},
        {"--input " + wav + " --similarity " + folder.path("./a.wav"), "would be overwritten"},
        {"--input " + odd + " --similarity " + gabarit + " --picture " + odd, "would be overwritten"},
        {job + ".png --picture " + folder.path("./out.sdif.png"), "the same file"},
        {job + " --picture " + dangling, "the same file"},
    };
    const std::string before = contents(wav);
    for (const usage& c : cases) {
        SCOPED_TRACE(c.arguments);
        const ending end = run(c.arguments);
        EXPECT_EQ(end.status, 2);
        EXPECT_THAT(end.error, HasSubstr(c.text));
        EXPECT_EQ(nlohmann::json::parse(run(c.arguments + " --json").output)["cause"], "usage");
    }
    EXPECT_EQ(contents(wav), before);
    EXPECT_EQ(run("--help").status, 0);
    EXPECT_THAT(run("-V").output, testing::MatchesRegex("marquen 1.8.2\nengine 1.8.2\nlibsndfile 1.*\nLAPACK 3.*\n"));
    EXPECT_THAT(run("--formats").output, testing::AllOf(HasSubstr("\nflac\tFLAC"), HasSubstr("\nmp3\tMPEG")));
}

TEST_F(Marquen, ReportsOnOneLineWhatFailed)
{
    const std::string wav = sound("a.wav", 11025, 22050), other_rate = sound("b.wav", 8000, 22050),
                      other_length = sound("c.wav", 11025, 22049), missing = folder.path("none.wav"),
                      odd = sound("odd.wav", 48000, 16385), text = folder.path("text.wav"),
                      nowhere = folder.path("nowhere/out"), loop = folder.path("loop");
    std::filesystem::create_symlink("loop", loop);
    const std::string endless = flac_that_announces("d.flac", '\0'), vast = flac_that_announces("e.flac", '\xff');
    std::ofstream(text) << "no sound";
    const std::string to = " --similarity " + gabarit;
    struct failure {
        std::string arguments, text;
        int status = 1;
        std::string cause = "sound";
    };
    const failure cases[] = {
        {"--input " + missing + to, "error opening file '" + missing + "'"},
        {"--input " + text + to, "error opening file '" + text + "': Format not recognised. (re-encode it as WAV"},
        {"--input " + folder.path("") + to, "it is a directory (name the sounds in it)"},
        {"--input a\xc2\x9b\xe2\x80\xae\x1bz" + to, "'a___z'"}, // what a terminal would obey
        {"--input " + endless + to, "the length of '" + endless + "' is unknown"},
        {"--plan --input " + vast, "the length of '" + vast + "' is unknown"},
        {"--input " + wav + " " + other_rate + to, "have different sampling rates 11025 and 8000"},
        {"--input " + wav + " --input " + other_length + to, "have different lengths 22050 and 22049"},
        {"--input " + odd + to, odd + ": tavel error: min/max_elem called for empty expression (at this"},
        {"--input " + wav + to + " --max_memory 100KB", wav + ": the job (n = 3) needs about", 4, "machine"},
        {"--input " + wav + to + " --step 1e-12", "raise --max_memory", 4, "machine"},
        {"--input " + wav + " --similarity " + nowhere, "'" + nowhere + "' can't be written: No such", 4, "output"},
        {"--input " + wav + to + " --picture " + nowhere + ".png", nowhere + ".png' can't be", 4, "output"},
        {wav + " --plan --out " + nowhere, nowhere + "/a.sdif' can't be", 4, "output"},
        {"--input " + wav + " --similarity " + folder.path("dir"), "it is a directory", 4, "output"},
        {"--input " + wav + " --similarity " + loop, "symbolic links", 4, "output"},
        {"--input " + wav + " --similarity " + loop + "/out.sdif", "symbolic links", 4, "output"},
        {"--input " + wav + " --similarity " + text, "exists (--force replaces it)", 4, "output"},
        {"--input " + wav + " --force --similarity " + folder.path(std::string(256, 'x')), "too long", 4, "output"},
    };
    std::filesystem::create_directory(folder.path("dir"));
    for (const failure& c : cases) {
        SCOPED_TRACE(c.arguments);
        const ending end = run("--json " + c.arguments);
        EXPECT_EQ(end.status, c.status);
        EXPECT_THAT(end.error, HasSubstr(c.text));
        EXPECT_EQ(end.error.find('\n'), end.error.size() - 1);
        EXPECT_EQ(nlohmann::json::parse(end.output)["cause"], c.cause);
        EXPECT_THAT(end.output, testing::Not(HasSubstr("\xc2\x9b")));
    }
    EXPECT_FALSE(std::filesystem::exists(gabarit));
    EXPECT_EQ(contents(text), "no sound");
}

TEST_F(Marquen, GoesOnAfterSoundsThatFail)
{
    const std::string good = sound("good.wav", 11025, 22050), other = sound("other.wav", 11025, 33075),
                      bad = folder.path("bad.wav"), results = folder.path("results");
    std::ofstream(bad) << "no sound";
    std::filesystem::create_directory(results);
    const std::string out = " --out " + results + " --jobs 2 ";

    const ending some = run(good + " " + bad + " " + other + out + "--json --step 0.25");
    EXPECT_EQ(some.status, 3);
    EXPECT_THAT(some.error, HasSubstr("marquen: error opening file '" + bad + "'"));
    EXPECT_THAT(some.error, EndsWith("marquen: 2 of 3 sounds done, 1 failed\n"));
    const auto summed_up = nlohmann::json::parse(some.output);
    EXPECT_EQ(summed_up["sounds"][1]["cause"], "sound");
    EXPECT_EQ(summed_up["sounds"][2]["n"], 11);
    EXPECT_EQ(contents(results + "/good.png").substr(1, 3), "PNG");

    // The same job as the long form, so that its command is recorded.
    const std::string bytes = contents(results + "/good.sdif");
    std::filesystem::rename(results, folder.path("before"));
    std::filesystem::create_directory(results);
    EXPECT_EQ(run("--input " + good + " --similarity " + results + "/good.sdif --window_grid_hop 0.25").status, 0);
    EXPECT_EQ(contents(results + "/good.sdif"), bytes);

    EXPECT_EQ(run(good + " " + other + out + "--force --no-picture").status, 0);
    EXPECT_FALSE(std::filesystem::exists(results + "/other.png"));
    EXPECT_EQ(run(bad + " " + folder.path("none.wav") + out).status, 1);
    EXPECT_EQ(run(good + " " + bad + out).status, 4); // the first has its result already
    EXPECT_EQ(run(good + " " + other + out + "--force --max_memory 1MB").status, 4);
}

// Settings of more digits than the file records are where this goes wrong.
TEST_F(Marquen, RepeatsItselfFromTheRecordedCommand)
{
    const ending first = run("--input " + sound("a.wav", 22050, 150000) + " --similarity " + gabarit +
                             " --features_type harmo --features_modeling meanvar"
                             " --features_modeling_length=0.77777777 --window_grid_hop 0.49999996");
    ASSERT_EQ(first.status, 0);
    EXPECT_EQ(first.output + first.error, ""); // no bar where nobody looks on
    const std::string bytes = contents(gabarit), name = "\nCommand\tmarquen ";
    const std::size_t begin = bytes.find(name) + name.size();
    std::filesystem::remove(gabarit);
    ASSERT_EQ(run(bytes.substr(begin, bytes.find(";\n", begin) - begin)).status, 0);
    EXPECT_EQ(contents(gabarit), bytes);
}

TEST_F(Marquen, PlansWhatTheJobThenTakes)
{
    struct planned_job {
        int rate_hz, frames;
        std::string settings;
    };
    const planned_job cases[] = {
        {44100, 264600, ""},
        {44100, 44100, ""},
        {44100, 22050, ""},
        {11025, 0, ""},
        {11025, 264592, "--features_type timbre"},
        {48000, 96000, "--features_type harmo --window_grid_hop 0.01"},
        {8000, 76801, "--features_type timbre --window_grid_hop 0.007"},
        {22050, 44100, "--window_grid_hop 0.0266"},
        {8000, 13760, "--window_grid_hop 0.04"}, // the last frame is met or missed by one rounding
        {44100, 40, "--features_type timbre --window_grid_hop 0.0001"},
    };
    for (const planned_job& c : cases) {
        SCOPED_TRACE(std::to_string(c.frames) + " " + c.settings);
        const std::string job =
            "--json --input " + sound("a.wav", c.rate_hz, c.frames) + " --similarity " + gabarit + " " + c.settings;
        std::filesystem::remove(gabarit);
        const auto plan = nlohmann::json::parse(run(job + " --plan").output);
        EXPECT_EQ(plan["state"], "planned");
        ASSERT_FALSE(std::filesystem::exists(gabarit));

        const auto done = nlohmann::json::parse(run(job).output);
        EXPECT_EQ(done["state"], "finished");
        const std::string bytes = contents(gabarit);
        int signatures = 0; // four of them in the declarations, and two in each row
        for (std::size_t at = 0; (at = bytes.find("1GB0", at)) != std::string::npos; at += 4)
            ++signatures;
        EXPECT_EQ(plan["n"], (signatures - 3) / 2);
        EXPECT_EQ(done["file_bytes"], bytes.size());
        EXPECT_NEAR(plan["file_bytes"].get<double>(), static_cast<double>(bytes.size()), 1024.0);
    }
}

// One job for each stage that can be the largest: features, reduction, distances, the blocks of channels and of files.
TEST_F(Marquen, PlansTheMemoryThatTheJobThenTakes)
{
#ifdef __has_feature // of clang, whose sanitizers take memory of their own
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    GTEST_SKIP() << "a sanitizer takes memory of its own";
#    endif
#endif
    struct planned_job {
        int files, channels, frames;
        std::string settings;
    };
    const planned_job cases[] = {
        {1, 1, 11025 * 300, ""},
        {1, 2, 11025 * 300, "--features_type timbre --features_modeling mph"},
        {1, 1, 11025 * 90, "--window_grid_hop 0.06 --features_type harmo"},
        {1, 1, 11025 * 60, "--window_grid_hop 0.02 --features_type timbre"},
        {1, 64, 11025, ""},
        {30, 1, 11025, ""},
    };
    for (const planned_job& c : cases) {
        SCOPED_TRACE(std::to_string(c.channels) + " " + std::to_string(c.files) + " " + c.settings);
        std::string job = "--json --similarity " + gabarit + " " + c.settings + " --input";
        for (int i = 0; i < c.files; ++i) {
            const std::string path = folder.path(std::to_string(i) + ".wav");
            write_sound(path, 11025, c.channels, c.frames, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
            job += " " + path;
        }
        std::filesystem::remove(gabarit);
        const ending end = run(job);
        ASSERT_EQ(end.status, 0) << end.error;
        const auto done = nlohmann::json::parse(end.output);
        const double planned = done["memory_bytes"], used = done["memory_bytes_used"];
        EXPECT_GT(planned, 0.9 * used);
        EXPECT_LT(planned, 1.25 * used);
    }
}

TEST_F(Marquen, SumsUpItsWork)
{
    const std::string left = sound("left.wav", 11025, 33075), right = sound("right.wav", 11025, 33075),
                      picture = folder.path("out.png");
    const auto done = nlohmann::json::parse(
        run("--json --input " + left + " " + right + " --similarity " + gabarit + " --picture " + picture).output);
    EXPECT_EQ(done["input"], (std::vector<std::string>{left, right}));
    EXPECT_EQ(done["features_modeling"], "mean");
    EXPECT_EQ(done["seconds_of_sound"], 3.0);
    EXPECT_GT(done["seconds_of_work"], 0.0);
    EXPECT_EQ(done["error"], nullptr);
    EXPECT_EQ(done["input_sha256"][0], sha256sum(left));
    EXPECT_EQ(done["similarity_sha256"], sha256sum(gabarit));
    EXPECT_EQ(done["versions"]["marquen"], "1.8.2");
    EXPECT_EQ(contents(picture).substr(1, 3), "PNG");
}

TEST_F(Marquen, StopsWhenInterrupted)
{
    const std::string wav = sound("long.wav", 11025, 11025 * 100);
    const started_program program(folder, MARQUEN,
                                  "--json --input " + wav + " --similarity " + gabarit +
                                      " --features_modeling mph --window_grid_hop 0.03");
    program.interrupt();
    const ending end = program.wait();
    EXPECT_EQ(end.status, -SIGINT); // so that a loop in a shell ends too
    EXPECT_EQ(end.error, "marquen: " + wav + ": canceled\n");
    EXPECT_EQ(nlohmann::json::parse(end.output)["state"], "canceled");
    EXPECT_FALSE(std::filesystem::exists(gabarit));
}

} // namespace
