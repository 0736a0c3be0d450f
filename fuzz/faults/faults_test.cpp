// Every allocation, every call and every write of a job fails in turn. Each point is a child process that runs the
// job with its fault and two more without: whatever becomes of the first, the next must be as if nothing had been.
// FAULT_STRIDE in the environment is the step from one point to the next, 1 for all of them.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>
#include <string>

#include "audio/file_obj.h"
#include "fuzz/faults/fault_plan.h"
#include "fuzz/faults/forked_job.h"
#include "gabarit/verify.h"
#include "tests/support/files.h"
#include "tests/support/sound.h"

namespace {

using namespace std::string_literals;
using namespace veloria;

constexpr std::int64_t never = -2; // the index of no call

std::int64_t stride()
{
    const char* const given = std::getenv("FAULT_STRIDE");
    return given == nullptr ? 1 : std::max(1, std::atoi(given));
}

// The n of a whole gabarit, -1 of anything else.
int verified_size(const std::string& path)
{
    try {
        return gabarit::verify(path);
    } catch (const std::exception&) {
        return -1;
    }
}

class Faults : public testing::Test {
protected:
    test_folder folder;
    job_settings settings;
    std::string reference; // the bytes of the file
    std::int64_t blocks = 0;
    int descriptors = 0;
    std::int64_t points = 0, passes = 0;

    void SetUp() override
    {
        settings.input = folder.path("sound.wav");
        write_sound(settings.input, 22050, 2, 3 * 22050);
        for (const char* name : {"faulty", "clean"})
            std::filesystem::create_directory(folder.path(name));
    }

    std::string faulty() const { return folder.path("faulty/out.sdif"); }
    std::string clean() const { return folder.path("clean/out.sdif"); }

    // What a job without a fault leaves, to compare the others with.
    void learn()
    {
        const job_outcome outcome = run_in_child(settings, {fault::allocation, never}, folder.path(""));
        ASSERT_EQ(outcome.end, job_end::finished) << outcome.message;
        reference = contents(faulty());
        ASSERT_GE(verified_size(faulty()), 0);
        ASSERT_EQ(contents(clean()), reference);
        blocks = outcome.blocks;
        descriptors = outcome.descriptors;
    }

    // What holds whatever failed.
    void expect_no_harm(const job_outcome& outcome)
    {
        ++points;
        ASSERT_NE(outcome.end, job_end::process_killed) << "signal " << outcome.status;
        if (outcome.end == job_end::process_exited) {
            EXPECT_EQ(outcome.status, EXIT_FAILURE);
            EXPECT_EQ(contents(folder.path("stderr")), "Out of memory. Details\nstd::bad_alloc\n"); // by the load alone
            return;
        }
        EXPECT_EQ(outcome.end == job_end::finished, outcome.message[0] == '\0') << outcome.message;
        EXPECT_EQ(outcome.blocks, blocks) << outcome.message;
        EXPECT_EQ(outcome.descriptors, descriptors) << outcome.message;
        EXPECT_TRUE(contents(clean()) == reference);
        EXPECT_TRUE(outcome.end != job_end::finished || verified_size(faulty()) >= 0);
    }

    // Lets the calls of one sort fail one after another, as long as there are any, and hands each outcome on.
    template <class CHECK>
    void fail_each(fault_plan plan, std::int64_t step, CHECK check)
    {
        for (plan.index = passes++ % step;; plan.index += step) { // each pass meets others
            SCOPED_TRACE(testing::Message() << "call " << plan.index << (plan.lasting ? " and all behind" : ""));
            const job_outcome outcome = run_in_child(settings, plan, folder.path(""));
            if (outcome.hits == 0)
                break;
            expect_no_harm(outcome);
            check(outcome);
            if (HasFatalFailure() || testing::Test::HasFailure())
                break;
        }
    }

    void tell(const char* what) const
    {
        std::printf("%lld %s, stride %lld\n", static_cast<long long>(points), what, static_cast<long long>(stride()));
    }
};

TEST_F(Faults, LeaveEveryAllocationWithAStatedEnd)
{
    std::int64_t ends[7] = {};
    std::set<std::string> messages;
    for (const features_type features : {timbre, harmo, mixed})
        for (const modeling_type modeling : {mean, meanvar, fft, mph})
            for (const bool lasting : {false, true}) {
                SCOPED_TRACE(testing::Message() << "features " << features << ", modeling " << modeling);
                settings.features = features;
                settings.modeling = modeling;
                ASSERT_NO_FATAL_FAILURE(learn());
                fail_each({fault::allocation, 0, lasting}, stride(), [&](const job_outcome& outcome) {
                    ++ends[static_cast<int>(outcome.end)];
                    EXPECT_NE(outcome.end, job_end::canceled);
                    if (outcome.end == job_end::failed)
                        messages.insert(outcome.message);
                    EXPECT_TRUE(outcome.end != job_end::finished || contents(faulty()) == reference);
                });
            }
    tell("failing allocations");
    EXPECT_EQ(messages.count("internal error"), 0U);
    for (const std::string& message : messages)
        std::printf("state 4 with: %s\n", message.c_str());
    std::printf("finished all the same %lld, state 4 %lld, thrown %lld, thrown as a pointer %lld, exit in the load "
                "%lld\n",
                static_cast<long long>(ends[0]), static_cast<long long>(ends[1]), static_cast<long long>(ends[3]),
                static_cast<long long>(ends[4]), static_cast<long long>(ends[5]));
}

struct call_case {
    fault what;
    job_end end;
    const char* message;
};
const call_case call_cases[] = {
    {fault::thread_create, job_end::thrown_as_pointer, "internal error on thread creation"},
    {fault::mutex_init, job_end::thrown, "error creating mutex"},
    {fault::host_lock, job_end::finished, ""},
    {fault::sound_open, job_end::thrown, "error opening file 'SOUND'"},
    {fault::short_read, job_end::finished, ""}, // silence from there on
    {fault::bad_read, job_end::failed, "readsnd::FileObj::read error \n"},
};

TEST_F(Faults, LeaveEveryCallWithAStatedEnd)
{
    ASSERT_NO_FATAL_FAILURE(learn());
    for (const call_case& c : call_cases) {
        SCOPED_TRACE(testing::Message() << "fault " << static_cast<int>(c.what));
        const std::int64_t before = points;
        std::string message = c.message;
        if (const std::size_t name = message.find("SOUND"); name != std::string::npos)
            message.replace(name, 5, settings.input);
        fail_each({c.what}, 1, [&](const job_outcome& outcome) {
            EXPECT_EQ(outcome.end, c.end) << outcome.message;
            EXPECT_EQ(outcome.message, message);
            EXPECT_EQ(outcome.refused_calls, c.what == fault::host_lock);
            const bool same = contents(faulty()) == reference;
            EXPECT_TRUE(outcome.end != job_end::finished || same || c.what == fault::short_read);
        });
        EXPECT_GT(points, before) << "never called";
    }
    tell("failing calls");
}

// The last lock has nobody to tell, those of the reports and of the transforms' registries end the job.
TEST_F(Faults, EndAJobThatCantLock)
{
    ASSERT_NO_FATAL_FAILURE(learn());
    for (const bool lasting : {false, true})
        fail_each({fault::worker_lock, 0, lasting}, stride(), [&](const job_outcome& outcome) {
            const std::string message = outcome.message;
            EXPECT_TRUE(outcome.end == job_end::failed ? message == "error locking mutex" ||
                                                             message == "tavel error: realfft_vec:: Error in realfft"
                                                       : contents(faulty()) == reference)
                << message;
        });
    EXPECT_GT(points, 0);
    tell("failing locks of the worker");
}

struct write_case {
    fault what;
    int error;
    bool lasting;
    job_end end;
};
constexpr write_case write_cases[] = {
    {fault::file_open, EMFILE, true, job_end::failed},
    {fault::file_open, EINTR, false, job_end::finished},
    {fault::file_write, ENOSPC, true, job_end::failed},
    {fault::file_write, EINTR, false, job_end::finished},
    {fault::short_write, 0, false, job_end::finished},
    {fault::short_write, 0, true, job_end::failed}, // in the end nothing is taken any more
    {fault::file_close, EIO, false, job_end::failed},
    {fault::file_close, EINTR, false, job_end::finished},
};

TEST_F(Faults, LeaveEveryWriteWithItsReason)
{
    settings.step = 3.0 / 61.0;
    ASSERT_NO_FATAL_FAILURE(learn());
    ASSERT_EQ(verified_size(faulty()), 60);
    for (const write_case& c : write_cases) {
        SCOPED_TRACE(testing::Message() << "fault " << static_cast<int>(c.what) << ", " << std::strerror(c.error));
        const std::int64_t before = points;
        const bool once = c.what == fault::file_open || c.what == fault::file_close;
        fail_each({c.what, 0, c.lasting, c.error}, once ? 1 : stride(), [&](const job_outcome& outcome) {
            EXPECT_EQ(outcome.end, c.end) << outcome.message;
            if (c.end == job_end::finished || c.what == fault::file_close) // where all was written, but may not stay
                EXPECT_TRUE(contents(faulty()) == reference);
            else
                EXPECT_EQ(verified_size(faulty()), -1);
            const char* const reason = std::strerror(c.error == 0 ? EIO : c.error);
            const bool gives_reason = std::strstr(outcome.message, reason) != nullptr;
            EXPECT_EQ(gives_reason, c.end == job_end::failed && c.what != fault::file_open) << outcome.message;
        });
        EXPECT_GT(points, before) << "never called";
    }
    tell("failing writes of a file of 60 points");
}

// The system's own short counts: a limit cuts the file at any of its bytes.
TEST_F(Faults, TellsOfAFileCutByALimit)
{
    settings.step = 3.0 / 61.0;
    ASSERT_NO_FATAL_FAILURE(learn());
    const auto whole = static_cast<std::int64_t>(reference.size());
    for (std::int64_t limit = 0; limit <= whole; limit += limit < whole ? std::min(stride(), whole - limit) : 1) {
        SCOPED_TRACE(limit);
        const job_outcome outcome = run_in_child(settings, {fault::allocation, never}, folder.path(""), limit);
        ASSERT_NO_FATAL_FAILURE(expect_no_harm(outcome));
        EXPECT_EQ(outcome.end, limit < whole ? job_end::failed : job_end::finished) << outcome.message;
        EXPECT_EQ(contents(faulty()), reference.substr(0, static_cast<std::size_t>(limit)));
        EXPECT_EQ(verified_size(faulty()), limit < whole ? -1 : 60);
        if (HasFailure())
            break;
    }
    tell("limits of the file's size");
}

// A job reads forwards alone; other callers of the reader don't.
TEST_F(Faults, LeaveEverySeekWithSilence)
{
    readsnd::FileObj file;
    ASSERT_TRUE(file.open(settings.input.c_str(), 0, -1));
    double frame[2];
    EXPECT_EQ(file.read(frame, 30000, 1), 1);
    EXPECT_NE(frame[0], 0.0);
    std::int64_t hits = 0;
    const fault_plan plan{fault::sound_seek};
    arm(plan, hits);
    EXPECT_EQ(file.read(frame, 1000, 1), 0);
    disarm();
    EXPECT_EQ(hits, 1);
    EXPECT_EQ(frame[0], 0.0);
}

} // namespace
