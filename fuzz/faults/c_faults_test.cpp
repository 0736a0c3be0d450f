// Every allocation of a job that is run through the interface for C fails in turn, alone and with all behind it. Each
// point is a child process; two jobs without faults follow the one with. FAULT_STRIDE as in faults_test.cpp.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/faults/child.h"
#include "tests/support/files.h"
#include "tests/support/sound.h"
#include "veloria/veloria_c.h"

namespace {

constexpr std::size_t most_moments = 16;

struct result {
    std::size_t n = 0;
    double times[most_moments] = {};
    std::uint8_t similarity[most_moments * most_moments] = {};

    bool operator==(const result&) const = default;
};

struct outcome {
    veloria_code code = VELORIA_RUNNING;
    char text[256] = {};
    result got, clean; // with the faults and without
};

struct sound {
    std::string path;
    veloria_samples samples{}; // without data: the file is meant
};

// Any of its calls may fail, and leave the code and the text. The end alone is insisted on.
void run(const sound& analyzed, veloria_code& code, char* text, std::size_t text_size, result& got)
{
    veloria_job* job = nullptr;
    const char* const path = analyzed.path.c_str();
    code = analyzed.samples.data != nullptr
               ? veloria_start_samples(&analyzed.samples, nullptr, nullptr, &job, text, text_size)
               : veloria_start(&path, 1, nullptr, nullptr, &job, text, text_size);
    if (code == VELORIA_OK)
        code = veloria_job_wait(job, -1.0);
    if (code == VELORIA_OK)
        code = veloria_job_size(job, &got.n, text, text_size);
    else if (job != nullptr && veloria_job_message(job, text, text_size) == VELORIA_NO_MEMORY)
        code = VELORIA_NO_MEMORY; // for the message
    if (code == VELORIA_OK && got.n <= most_moments)
        code = veloria_job_result(job, got.n, got.times, got.similarity, text, text_size);
    for (int i = 0; i < 100 && job != nullptr; ++i)
        if (veloria_job_end(job) == VELORIA_OK)
            job = nullptr;
    if (job != nullptr)
        _exit(3);
}

class CFaults : public testing::Test {
protected:
    test_folder folder;
    std::vector<float> data;
    sound sounds[2];
    outcome& left = make_shared_object<outcome>();

    void SetUp() override
    {
        constexpr int rate_hz = 22050, frames = 3 * rate_hz;
        for (int i = 0; i < frames; ++i)
            data.push_back(0.5F * std::sin(0.0001F * static_cast<float>(i) * static_cast<float>(i / rate_hz + 1)));
        sounds[0].path = folder.path("sound.wav");
        write_sound(sounds[0].path, rate_hz, 2, frames);
        sounds[1].samples = {sizeof(veloria_samples), data.data(), VELORIA_FLOAT32, 1, frames, rate_hz};
    }

    child_end run_with(const sound& analyzed, const fault_plan& plan)
    {
        left = {};
        veloria_code clean_code = VELORIA_OK;
        return run_in_child(
            plan, folder.path("stderr"), [&] { run(analyzed, left.code, left.text, sizeof left.text, left.got); },
            [&] { run(analyzed, clean_code, nullptr, 0, left.clean); });
    }
};

TEST_F(CFaults, MakeACodeAndATextOfEveryAllocation)
{
    const int stride = fault_stride();
    int points = 0, ends[7] = {}, exits = 0;
    for (const sound& analyzed : sounds) {
        const child_end undisturbed = run_with(analyzed, {fault::allocation, -2});
        ASSERT_EQ(left.code, VELORIA_OK) << left.text;
        const result reference = left.got;
        ASSERT_EQ(reference.n, 5U);
        for (const bool lasting : {false, true})
            for (std::int64_t index = 0;; index += stride) {
                SCOPED_TRACE(testing::Message()
                             << analyzed.path << ", allocation " << index << ", lasting " << lasting);
                const child_end end = run_with(analyzed, {fault::allocation, index, lasting});
                if (end.hits == 0)
                    break;
                ++points;
                if (end.signal + end.status != 0) {
                    ASSERT_TRUE(end.signal == 0 && end.status == EXIT_FAILURE) << end.signal << ' ' << end.status;
                    ASSERT_EQ(contents(folder.path("stderr")),
                              "Out of memory. Details\nstd::bad_alloc\n"); // by the load
                    ++exits;
                    continue;
                }
                ++ends[left.code];
                ASSERT_TRUE(left.code == VELORIA_OK || left.code == VELORIA_FAILED || left.code == VELORIA_NO_MEMORY)
                    << left.code;
                ASSERT_EQ(left.code == VELORIA_OK, left.text[0] == '\0') << left.code << left.text;
                ASSERT_TRUE(left.code != VELORIA_OK || left.got == reference);
                ASSERT_TRUE(left.clean == reference);
                ASSERT_EQ(end.blocks, undisturbed.blocks) << left.text;
                ASSERT_EQ(end.descriptors, undisturbed.descriptors) << left.text;
            }
    }
    EXPECT_GT(ends[VELORIA_NO_MEMORY], 0);
    std::printf(
        "%d failing allocations, stride %d: done all the same %d, failed %d, no memory %d, exit in the load %d\n",
        points, stride, ends[VELORIA_OK], ends[VELORIA_FAILED], ends[VELORIA_NO_MEMORY], exits);
}

TEST_F(CFaults, MakeACodeAndATextOfWhatTheSystemRefuses)
{
    const struct {
        fault what;
        const char* text;
    } cases[] = {{fault::thread_create, "internal error on thread creation"},
                 {fault::mutex_init, "error creating mutex"},
                 {fault::sound_open, "error opening file '"},
                 {fault::bad_read, "readsnd::FileObj::read error \n"},
                 {fault::file_open, "Error opening file '/proc/self/fd/"},
                 {fault::file_write, "error writing file '/proc/self/fd/"}};
    for (const sound& analyzed : sounds) {
        const child_end undisturbed = run_with(analyzed, {fault::allocation, -2});
        for (const auto& [what, text] : cases) {
            SCOPED_TRACE(text);
            const child_end end = run_with(analyzed, {what, 0, true, ENOSPC});
            EXPECT_GT(end.hits, 0);
            EXPECT_EQ(end.signal + end.status, 0);
            EXPECT_EQ(left.code, VELORIA_FAILED);
            EXPECT_TRUE(std::string(left.text).starts_with(text)) << left.text;
            EXPECT_EQ(left.clean.n, 5U);
            EXPECT_EQ(end.blocks, undisturbed.blocks);
            EXPECT_EQ(end.descriptors, undisturbed.descriptors);
        }
    }
}

} // namespace
