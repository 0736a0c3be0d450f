// The nine functions: what they refuse, and the life of a job.
#include "veloria/veloria.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>

#include "tests/support/files.h"
#include "tests/support/job.h"
#include "tests/support/piped_sound.h"
#include "tests/support/sound.h"
#include "veloria/process_handle.h"
#include "veloria/worker.h"

namespace {

using namespace veloria;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

class Process : public testing::Test {
protected:
    test_folder folder;
    const std::string sound = folder.path("sound.wav");
    const std::string output = folder.path("out.sdif");

    void SetUp() override { write_sound(sound, 11025, 1, 33075); }
};

template <class ERROR>
void expect_throw(const std::function<void()>& call, const std::string& text)
{
    SCOPED_TRACE(text);
    try {
        call();
        ADD_FAILURE() << "nothing thrown";
    } catch (const ERROR& error) {
        EXPECT_EQ(error.what(), text);
    }
}

TEST_F(Process, RefusesArgumentsInTheirOrder)
{
    const char* paths[] = {sound.c_str(), nullptr};
    const char* no_path[] = {nullptr};
    const char* missing[] = {"missing.wav"};
    const char* out = output.c_str();
    const auto wrong_features = static_cast<features_type>(3);
    const auto wrong_modeling = static_cast<modeling_type>(-1);

    expect_throw<std::out_of_range>([&] { process(0, nullptr, nullptr, mixed, mean, 0, 0); },
                                    "invalid number of input paths");
    expect_throw<std::invalid_argument>([&] { process(1, nullptr, nullptr, mixed, mean, 0, 0); },
                                        "invalid input paths");
    for (const char* no_output : {static_cast<const char*>(nullptr), ""})
        expect_throw<std::invalid_argument>([&] { process(1, paths, no_output, mixed, mean, 0, 0); },
                                            "invalid output path");
    for (const double window : {0.0, -0.0, -1.0})
        expect_throw<std::out_of_range>([&] { process(1, paths, out, mixed, mean, window, 0); },
                                        "invalid modeling window");
    expect_throw<std::out_of_range>([&] { process(1, missing, out, mixed, mean, 1.0, -0.5); }, "invalid modeling step");
    expect_throw<std::invalid_argument>([&] { process(1, no_path, out, wrong_features, mean, nan, nan); },
                                        "invalid path at position 0");
    expect_throw<std::runtime_error>([&] { process(1, missing, out, wrong_features, mean, 1.0, 0.5); },
                                     "error opening file 'missing.wav'");
    expect_throw<std::invalid_argument>([&] { process(2, paths, out, wrong_features, mean, 1.0, 0.5); },
                                        "invalid path at position 1");
    expect_throw<std::logic_error>([&] { process(1, paths, out, wrong_features, wrong_modeling, 1.0, 0.5); },
                                   "invalid feature selection");
    expect_throw<std::logic_error>([&] { process(1, paths, out, harmo, wrong_modeling, 1.0, 0.5); },
                                   "invalid modeling specification");
    EXPECT_FALSE(std::filesystem::exists(output));
}

TEST_F(Process, RefusesHandlesThatAreNone)
{
    alignas(16) char nothing[1024] = {};
    process_handle* job = start_job(sound, output);
    process_handle self_alone, tag_alone; // each has half of the mark
    self_alone.self = &self_alone;
    tag_alone.tag = job->tag;
    for (process_handle* handle :
         {static_cast<process_handle*>(nullptr), reinterpret_cast<process_handle*>(nothing), &self_alone, &tag_alone}) {
        const std::function<void()> calls[] = {
            [=] { getMaxPosition(handle); },  [=] { getPosition(handle); },   [=] { getState(handle); },
            [=] { getErrorMessage(handle); }, [=] { cancel(handle, false); }, [=] { shutdown(handle); },
        };
        for (const auto& call : calls)
            expect_throw<std::invalid_argument>(call, "internal error: invalid process handle");
    }
    wait_for_end(job);
    shutdown(job);
}

TEST(JobReport, LeavesThePositionOfACanceledJob)
{
    job_shared_state shared;
    EXPECT_TRUE(job_report(&shared, 0.25));
    shared.cancel_requested = true;
    EXPECT_FALSE(job_report(&shared, 0.5));
    EXPECT_EQ(shared.position, 0.25);
}

TEST_F(Process, RunsToAWholeFile)
{
    features_type features;
    modeling_type modeling;
    double window, step;
    getDefaultSettings(features, modeling, window, step);
    process_handle* job = start_job(sound, output, features, modeling, window, step);
    EXPECT_EQ(getMaxPosition(job), 1.0);
    EXPECT_EQ(wait_for_end(job), process_finished);
    EXPECT_EQ(getPosition(job), 1.0);
    cancel(job, false); // comes too late to mean anything
    EXPECT_EQ(getState(job), process_finished);
    EXPECT_EQ(getErrorMessage(job), "");
    EXPECT_EQ(getState(job), process_finished);
    EXPECT_EQ(job->similarity.rows, 5); // moments at 0.5 to 2.5 s
    shutdown(job);
    EXPECT_NE(contents(output).find("Version\t" + std::string(getVersion()) + ";"), std::string::npos);
}

TEST_F(Process, CallsACompleteJobFailedIfItIsCanceledAfterTheJoin)
{
    for (const bool join_by_wait : {false, true}) {
        process_handle* job = start_job(sound, output);
        wait_for_end(job);
        if (join_by_wait)
            cancel(job, true);
        else
            getErrorMessage(job);
        EXPECT_EQ(getState(job), process_finished);
        cancel(job, false);
        EXPECT_EQ(getState(job), process_failed);
        EXPECT_EQ(getPosition(job), -1.0);
        EXPECT_EQ(getErrorMessage(job), "processing was canceled");
        shutdown(job);
    }
}

TEST_F(Process, RefusesTheEndOfARunningJob)
{
    PipedSound piped;
    process_handle* job = start_job(piped.path(), output);
    EXPECT_EQ(getState(job), process_running);
    EXPECT_EQ(getPosition(job), 0.0);
    expect_throw<std::logic_error>([&] { getErrorMessage(job); },
                                   "error message requested while process is still running");
    expect_throw<std::logic_error>([&] { shutdown(job); }, "shutdown of ongoing process");
    EXPECT_EQ(getState(job), process_running);
    piped.feed();
    EXPECT_EQ(wait_for_end(job), process_finished);
    shutdown(job);
}

TEST_F(Process, StopsAtTheNextReportAfterACancel)
{
    PipedSound piped;
    process_handle* job = start_job(piped.path(), output);
    cancel(job, false);
    cancel(job, false);
    EXPECT_EQ(getState(job), process_canceling);
    piped.feed();
    EXPECT_EQ(wait_for_end(job), process_canceled);
    EXPECT_EQ(getPosition(job), -1.0);
    EXPECT_EQ(getErrorMessage(job), "processing was canceled");
    EXPECT_EQ(getState(job), process_canceled);
    shutdown(job);
    EXPECT_FALSE(std::filesystem::exists(output));
}

// Whichever function notices the end of a job first has to know of a cancel.
void await_state(process_handle* job)
{
    wait_for_end(job);
}

void await_message(process_handle* job)
{
    for (;; usleep(500)) {
        try {
            getErrorMessage(job);
            return;
        } catch (const std::logic_error&) {}
    }
}

void await_position(process_handle* job)
{
    for (double position = 0.0; position >= 0.0 && position < 1.0; usleep(500))
        position = getPosition(job);
}

// A job whose file goes into a pipe: its worker stands still in the writing, past its last report.
struct late_case {
    const char* what;
    bool cancel;
    bool break_pipe;
    void (*await_end)(process_handle*);
    process_state state;
};
constexpr late_case late_cases[] = {
    {"complete", false, false, await_state, process_finished},
    {"canceled too late to stop", true, false, await_state, process_canceled},
    {"canceled too late, asked for its message", true, false, await_message, process_canceled},
    {"canceled too late, asked for its position", true, false, await_position, process_canceled},
    {"failed while canceling", true, true, await_state, process_failed},
};

TEST_F(Process, TellsACancelFromAnErrorAtTheLastMoment)
{
    const std::string long_sound = folder.path("long.wav");
    write_sound(long_sound, 11025, 1, 30 * 11025); // its picture has more bytes than a pipe holds
    for (const late_case& c : late_cases) {
        SCOPED_TRACE(c.what);
        const std::string fifo = folder.path(std::string("fifo ") + c.what);
        ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
        process_handle* job = start_job(long_sound, fifo, mixed, mean, 1.0, 0.1);
        const int reading = open(fifo.c_str(), O_RDONLY); // waits for the worker to open its side
        if (c.cancel) {
            cancel(job, false);
            EXPECT_EQ(getState(job), process_canceling);
        }
        std::string file;
        char buffer[4096];
        for (ssize_t got = 1; !c.break_pipe && got > 0; file.append(buffer, static_cast<std::size_t>(got)))
            got = std::max<ssize_t>(0, read(reading, buffer, sizeof buffer));
        close(reading);
        c.await_end(job);
        EXPECT_EQ(getPosition(job), c.state == process_finished ? 1.0 : -1.0);
        const std::string message = getErrorMessage(job);
        if (c.break_pipe)
            EXPECT_NE(message.find("Broken pipe"), std::string::npos) << message;
        else
            EXPECT_EQ(message, c.cancel ? "processing was canceled" : "");
        EXPECT_EQ(getState(job), c.state);
        shutdown(job);
    }
}

TEST_F(Process, StoresWhatGoesWrongInTheAnalysis)
{
    const std::string nowhere = folder.path("missing/out.sdif");
    process_handle* job = start_job(sound, nowhere);
    EXPECT_EQ(wait_for_end(job), process_failed);
    EXPECT_EQ(getPosition(job), -1.0);
    EXPECT_EQ(getErrorMessage(job), "Error opening file '" + nowhere + "' for writing");
    EXPECT_EQ(getState(job), process_failed);
    shutdown(job);
}

// The system's own short counts. It would end the host by a signal that the worker doesn't let through.
TEST_F(Process, ReportsAFileCutByALimit)
{
    process_handle* first = start_job(sound, output);
    wait_for_end(first);
    shutdown(first);
    const std::string whole = contents(output);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    for (const std::size_t limit : {std::size_t{0}, std::size_t{1000}, whole.size() - 1, whole.size()}) {
        SCOPED_TRACE(limit);
        const rlimit few{limit, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &few);
        process_handle* job = start_job(sound, output);
        const process_state state = wait_for_end(job);
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(state, limit < whole.size() ? process_failed : process_finished);
        EXPECT_EQ(getErrorMessage(job),
                  limit < whole.size() ? "error writing file '" + output + "': File too large" : "");
        EXPECT_EQ(contents(output), whole.substr(0, limit));
        shutdown(job);
    }
}

} // namespace
