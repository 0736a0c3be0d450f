// Many jobs at once, many in turn, and hosts that meddle with what a job could depend on: the files must be those of
// jobs that run alone, and nothing may stay behind. LOAD_JOBS and SOAK_JOBS in the environment set how many.
#include <gtest/gtest.h>

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cfenv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <list>
#include <optional>
#include <random>
#include <string>
#include <vector>

#if defined(__x86_64__)
#    include <xmmintrin.h>
#endif

#include "tests/support/files.h"
#include "tests/support/job.h"
#include "tests/support/locale.h"
#include "tests/support/piped_sound.h"
#include "tests/support/sound.h"

namespace {

using namespace veloria;

int number_from(const char* variable, int otherwise)
{
    const char* const given = std::getenv(variable);
    return given == nullptr ? otherwise : std::atoi(given);
}

// What a process holds.
struct holdings {
    std::size_t heap_bytes;
    std::ptrdiff_t descriptors, threads;
};

holdings look()
{
    const auto count = [](const char* folder) {
        return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
    };
    malloc_trim(0);
    const struct mallinfo2 heap = mallinfo2();
    return {heap.uordblks + heap.hblkhd, count("/proc/self/fd"), count("/proc/self/task")};
}

// Threads that were joined may still be on their way out of the system's list.
void expect_no_more(const holdings& before, std::size_t heap_slack)
{
    for (int i = 0; i < 100 && look().threads > before.threads; ++i)
        usleep(1000);
    const holdings after = look();
    std::printf("heap %zu -> %zu bytes, descriptors %td -> %td, threads %td -> %td\n", before.heap_bytes,
                after.heap_bytes, before.descriptors, after.descriptors, before.threads, after.threads);
    EXPECT_LE(after.heap_bytes, before.heap_bytes + heap_slack);
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_EQ(after.threads, before.threads);
}

class Load : public testing::Test {
protected:
    static constexpr int sounds = 4, kinds = 12;
    test_folder folder;

    void SetUp() override
    {
        constexpr int rates_hz[sounds] = {11025, 44100, 22050, 48000};
        for (int i = 0; i < sounds; ++i)
            write_sound(sound(i), rates_hz[i], 1 + i % 2, (1 + 2 * i) * rates_hz[i]);
        for (const char* name : {"alone", "among"}) // of one length: the file holds its own path
            std::filesystem::create_directory(folder.path(name));
    }

    std::string sound(int i) const { return folder.path("sound" + std::to_string(i)); }
    std::string output(const char* set, int i) const
    {
        return folder.path(std::string(set) + "/" + std::to_string(1000 + i));
    }

    process_handle* start(const char* set, int i, const std::string& input = {}) const
    {
        return start_job(input.empty() ? sound(i % sounds) : input, output(set, i), static_cast<features_type>(i % 3),
                         static_cast<modeling_type>(i / 3 % 4), 0.5, i % 5 == 0 ? 0.02 : 0.2);
    }

    void run_alone(int count) const
    {
        for (int i = 0; i < count; ++i) {
            process_handle* const job = start("alone", i);
            ASSERT_EQ(wait_for_end(job), process_finished) << getErrorMessage(job);
            shutdown(job);
        }
    }

    void expect_same_file(int i) const
    {
        std::string file = contents(output("among", i));
        const std::size_t name = file.find("among/");
        ASSERT_NE(name, std::string::npos) << i;
        EXPECT_TRUE(file.replace(name, 5, "alone") == contents(output("alone", i))) << i;
    }
};

// What a gabarit holds behind the names of its files.
std::string picture(const std::string& path)
{
    const std::string file = contents(path);
    return file.substr(std::min(file.find("1TYP"), file.size()));
}

// Jobs whose sounds come through pipes: no worker passes its first read before all jobs are there.
TEST_F(Load, LeavesJobsAsIfTheyWereAlone)
{
    const int count = number_from("LOAD_JOBS", 64);
    rlimit descriptors;
    getrlimit(RLIMIT_NOFILE, &descriptors);
    descriptors.rlim_cur = descriptors.rlim_max;
    setrlimit(RLIMIT_NOFILE, &descriptors);
    const auto end = [](process_handle* job) {
        EXPECT_EQ(wait_for_end(job), process_finished) << getErrorMessage(job);
        shutdown(job);
    };
    const auto frames = [](int i) { return 6000 * (1 + i % 5); };
    for (int i = 0; i < count; ++i) {
        PipedSound piped(frames(i));
        process_handle* const job = start("alone", i, piped.path());
        piped.feed();
        end(job);
    }
    // The process keeps a workspace for each transform that ever ran at the same time as others of its size.
    const std::size_t workspaces = static_cast<std::size_t>(count) * 20480;
    const holdings before = look();
    std::vector<process_handle*> jobs;
    {
        std::list<PipedSound> pipes;
        for (int i = 0; i < count; ++i)
            jobs.push_back(start("among", i, pipes.emplace_back(frames(i)).path()));
        const std::ptrdiff_t workers = look().threads - before.threads;
        std::printf("%td workers at once\n", workers);
        EXPECT_EQ(workers, count);
        for (PipedSound& piped : pipes)
            piped.feed();
        for (process_handle* const job : jobs)
            end(job);
    }
    expect_no_more(before, workspaces);
    for (int i = 0; i < count; ++i) {
        const std::string alone = picture(output("alone", i));
        ASSERT_GT(alone.size(), 500U) << i;
        ASSERT_TRUE(picture(output("among", i)) == alone) << i;
    }
}

TEST_F(Load, LetsAnyJobBeCanceledAtAnyTime)
{
    const int count = number_from("LOAD_JOBS", 64);
    run_alone(count);
    std::mt19937 random(1); // the same picks each time, so that a red run repeats
    std::vector<process_handle*> jobs;
    for (int i = 0; i < count; ++i)
        jobs.push_back(start("among", i));
    std::vector<bool> picked(jobs.size());
    for (int i = 0; i < count; ++i) {
        const std::size_t choice = random() % jobs.size(); // some more than once, some never
        picked[choice] = true;
        cancel(jobs[choice], false);
        usleep(static_cast<useconds_t>(random() % 2000));
    }
    int canceled = 0;
    for (int i = 0; i < count; ++i) {
        const process_state state = wait_for_end(jobs[static_cast<std::size_t>(i)]);
        shutdown(jobs[static_cast<std::size_t>(i)]);
        canceled += state == process_canceled;
        if (state == process_finished)
            expect_same_file(i);
        else
            EXPECT_TRUE(state == process_canceled && picked[static_cast<std::size_t>(i)]);
    }
    std::printf("%d of %d jobs canceled\n", canceled, count);
}

TEST_F(Load, DoesNotGrow)
{
    const int count = number_from("SOAK_JOBS", 240);
    holdings before{};
    for (int i = 0; i < count; ++i) {
        process_handle* const job = start("among", i % (5 * kinds));
        ASSERT_EQ(wait_for_end(job), process_finished);
        shutdown(job);
        if (i == count / 4)
            before = look();
    }
    expect_no_more(before, 32768); // the threads' own caches of free blocks count as held
}

struct meddling {
    const char* what;
    std::function<void()> begin, end;
};

TEST_F(Load, IsDeafToItsHost)
{
    run_alone(kinds);
    const int error_stream = dup(STDERR_FILENO);
    std::optional<foreign_locale> locale;
    std::vector<meddling> meddlings{
        {"a foreign locale", [&] { locale.emplace(); }, [&] { locale.reset(); }},
        {"no stderr", [] { close(STDERR_FILENO); }, [=] { dup2(error_stream, STDERR_FILENO); }},
    };
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO})
        meddlings.push_back({"rounding", [=] { std::fesetround(mode); },
                             [=] {
                                 EXPECT_EQ(std::fegetround(), mode);
                                 std::fesetround(FE_TONEAREST);
                             }});
#if defined(__x86_64__)
    const unsigned control = _mm_getcsr(), denormals = 0x8040; // flush to zero, denormals are zero
    meddlings.push_back({"denormals", [=] { _mm_setcsr(control | denormals); },
                         [=] {
                             EXPECT_EQ(_mm_getcsr() & denormals, denormals);
                             _mm_setcsr(control);
                         }});
#endif
    for (const meddling& m : meddlings)
        for (int i = 0; i < kinds; ++i) {
            SCOPED_TRACE(m.what);
            m.begin();
            process_handle* const job = start("among", i);
            const process_state state = wait_for_end(job);
            shutdown(job);
            m.end();
            EXPECT_EQ(state, process_finished);
            expect_same_file(i);
        }
    close(error_stream);
}

} // namespace
