// Every allocation, every call and every write of a job fails in turn. Each point is a child process that runs the
// job with its fault and two more without: whatever becomes of the first, the next must be as if nothing had been.
// FAULT_STRIDE in the environment is the step from one point to the next, 1 for all of them.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "fuzz/faults/child.h"
#include "gabarit/verify.h"
#include "tests/support/files.h"
#include "tests/support/job.h"
#include "tests/support/sound.h"

namespace {

using namespace veloria;

constexpr std::int64_t never = -2; // the index of no call

enum class job_end { finished, failed, canceled, thrown, thrown_as_pointer, process_exited };

struct job_outcome {
    job_end end = job_end::process_exited;
    char message[256] = {}; // what was thrown or stored
    int refused_calls = 0;  // calls of the host that threw "error locking mutex" and were made again
};

void keep(const char* message, job_outcome& outcome)
{
    std::strncpy(outcome.message, message, sizeof outcome.message - 1);
}

// Makes a call again that couldn't lock the job.
template <class CALL>
auto insist(CALL call, job_outcome& outcome)
{
    for (;;)
        try {
            return call();
        } catch (const std::runtime_error& error) {
            if (std::strcmp(error.what(), "error locking mutex") != 0 || ++outcome.refused_calls > 1000)
                throw;
        }
}

void watch(process_handle* job, job_outcome& outcome)
{
    process_state state = process_running;
    while ((state = insist([=] { return getState(job); }, outcome)) == process_running || state == process_canceling)
        usleep(100);
    outcome.end = state == process_finished ? job_end::finished
                  : state == process_failed ? job_end::failed
                                            : job_end::canceled;
    insist([=] { cancel(job, false); }, outcome); // too late to mean anything, but it locks
    keep(insist([=] { return getErrorMessage(job).c_str(); }, outcome), outcome);
    insist([=] { shutdown(job); }, outcome);
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
    const std::string sound = folder.path("sound.wav");
    features_type features = mixed;
    modeling_type modeling = mean;
    double step = 0.5;
    job_outcome& outcome = make_shared_object<job_outcome>();
    child_end end;
    std::string reference; // the bytes of the file
    child_end undisturbed;
    std::int64_t points = 0, passes = 0;

    void SetUp() override
    {
        write_sound(sound, 22050, 2, 3 * 22050);
        for (const char* name : {"faulty", "clean"})
            std::filesystem::create_directory(folder.path(name));
    }

    std::string faulty() const { return folder.path("faulty/out.sdif"); }
    std::string clean() const { return folder.path("clean/out.sdif"); }

    // All files have the name out.sdif, which stands in them.
    void run_job(const std::string& working_folder, job_outcome& result) const
    {
        if (chdir(working_folder.c_str()) != 0)
            return;
        try {
            const char* path = sound.c_str();
            watch(process(1, &path, "out.sdif", features, modeling, 1.0, step), result);
        } catch (const std::exception& error) {
            result.end = job_end::thrown;
            keep(error.what(), result);
        } catch (std::runtime_error* error) {
            result.end = job_end::thrown_as_pointer;
            keep(error->what(), result);
            delete error;
        }
    }

    void run(const fault_plan& plan)
    {
        outcome = {};
        const std::string faulty_folder = folder.path("faulty"), clean_folder = folder.path("clean");
        std::filesystem::remove(faulty());
        std::filesystem::remove(clean());
        job_outcome good;
        end = run_in_child(
            plan, folder.path("stderr"), [&] { run_job(faulty_folder, outcome); },
            [&] { run_job(clean_folder, good); });
    }

    // What a job without a fault leaves, to compare the others with.
    void learn()
    {
        run({fault::allocation, never});
        ASSERT_EQ(outcome.end, job_end::finished) << outcome.message;
        reference = contents(faulty());
        undisturbed = end;
        ASSERT_GE(verified_size(faulty()), 0);
        ASSERT_EQ(contents(clean()), reference);
    }

    // What holds whatever failed.
    void expect_no_harm()
    {
        ++points;
        ASSERT_EQ(end.signal, 0);
        if (outcome.end == job_end::process_exited) {
            EXPECT_EQ(end.status, EXIT_FAILURE);
            EXPECT_EQ(contents(folder.path("stderr")), "Out of memory. Details\nstd::bad_alloc\n"); // by the load alone
            return;
        }
        EXPECT_EQ(outcome.end == job_end::finished, outcome.message[0] == '\0') << outcome.message;
        EXPECT_EQ(end.status, 0);
        EXPECT_EQ(end.blocks, undisturbed.blocks) << outcome.message;
        EXPECT_EQ(end.descriptors, undisturbed.descriptors) << outcome.message;
        EXPECT_TRUE(contents(clean()) == reference);
        EXPECT_TRUE(outcome.end != job_end::finished || verified_size(faulty()) >= 0);
    }

    // Lets the calls of one sort fail one after another, as long as there are any, and looks at each outcome.
    template <class CHECK>
    void fail_each(fault_plan plan, std::int64_t stride, CHECK check)
    {
        const std::int64_t before = points;
        for (plan.index = passes++ % stride; !HasFailure(); plan.index += stride) { // each pass meets others
            SCOPED_TRACE(testing::Message() << "call " << plan.index << (plan.lasting ? " and all behind" : ""));
            run(plan);
            if (end.hits == 0)
                break;
            expect_no_harm();
            check();
        }
        EXPECT_GT(points, before) << "never called";
    }

    void report(const char* what) const
    {
        std::printf("%lld %s, stride %d\n", static_cast<long long>(points), what, fault_stride());
    }
};

TEST_F(Faults, LeaveEveryAllocationWithAStatedEnd)
{
    int ends[6] = {};
    for (const features_type f : {timbre, harmo, mixed})
        for (const modeling_type m : {mean, meanvar, fft, mph})
            for (const bool lasting : {false, true}) {
                SCOPED_TRACE(testing::Message() << "features " << f << ", modeling " << m);
                features = f;
                modeling = m;
                ASSERT_NO_FATAL_FAILURE(learn());
                fail_each({fault::allocation, 0, lasting}, fault_stride(), [&] {
                    ++ends[static_cast<int>(outcome.end)];
                    EXPECT_NE(outcome.end, job_end::canceled);
                    EXPECT_STRNE(outcome.message, "internal error");
                    EXPECT_TRUE(outcome.end != job_end::finished || contents(faulty()) == reference);
                });
            }
    report("failing allocations");
    std::printf("finished all the same %d, state 4 %d, thrown %d, thrown as a pointer %d, exit in the load %d\n",
                ends[0], ends[1], ends[3], ends[4], ends[5]);
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
    {fault::sound_open, job_end::thrown, "error opening file '"},
    {fault::short_read, job_end::finished, ""}, // silence from there on
    {fault::bad_read, job_end::failed, "readsnd::FileObj::read error \n"},
};

TEST_F(Faults, LeaveEveryCallWithAStatedEnd)
{
    ASSERT_NO_FATAL_FAILURE(learn());
    for (const call_case& c : call_cases) {
        SCOPED_TRACE(testing::Message() << "fault " << static_cast<int>(c.what));
        const std::string message = c.what == fault::sound_open ? c.message + sound + "'" : c.message;
        fail_each({c.what}, 1, [&] {
            EXPECT_EQ(outcome.end, c.end);
            EXPECT_EQ(outcome.message, message);
            EXPECT_EQ(outcome.refused_calls, c.what == fault::host_lock);
            const bool same = contents(faulty()) == reference;
            EXPECT_TRUE(outcome.end != job_end::finished || same || c.what == fault::short_read);
        });
    }
    report("failing calls");
}

// The last lock has nobody to report to, those of the reports and of the transforms' registries end the job.
TEST_F(Faults, EndAJobThatCantLock)
{
    ASSERT_NO_FATAL_FAILURE(learn());
    for (const bool lasting : {false, true})
        fail_each({fault::worker_lock, 0, lasting}, fault_stride(), [&] {
            const std::string message = outcome.message;
            EXPECT_TRUE(outcome.end == job_end::failed ? message == "error locking mutex" ||
                                                             message == "tavel error: realfft_vec:: Error in realfft"
                                                       : contents(faulty()) == reference)
                << message;
        });
    report("failing locks of the worker");
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
    step = 3.0 / 61.0;
    ASSERT_NO_FATAL_FAILURE(learn());
    ASSERT_EQ(verified_size(faulty()), 60);
    for (const write_case& c : write_cases) {
        SCOPED_TRACE(testing::Message() << "fault " << static_cast<int>(c.what) << ", " << std::strerror(c.error));
        const bool once = c.what == fault::file_open || c.what == fault::file_close;
        fail_each({c.what, 0, c.lasting, c.error}, once ? 1 : fault_stride(), [&] {
            EXPECT_EQ(outcome.end, c.end) << outcome.message;
            if (c.end == job_end::finished || c.what == fault::file_close) // where all was written, but may not stay
                EXPECT_TRUE(contents(faulty()) == reference);
            else
                EXPECT_EQ(verified_size(faulty()), -1);
            const char* const reason = std::strerror(c.error == 0 ? EIO : c.error);
            const bool gives_reason = std::strstr(outcome.message, reason) != nullptr;
            EXPECT_EQ(gives_reason, c.end == job_end::failed && c.what != fault::file_open) << outcome.message;
        });
    }
    report("failing writes of a file of 60 moments");
}

} // namespace
