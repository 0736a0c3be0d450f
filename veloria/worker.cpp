#include "veloria/worker.h"

#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <string>
#include <utility>

#include "similarity/command_string.h"
#include "similarity/write_gabarit.h"
#include "veloria/analysis_driver.h"
#include "veloria/process_handle.h"

namespace veloria {

namespace {

void analyze_and_write(process_handle& job)
{
    const int channels = job.reader->channels();
    const double sample_rate = job.reader->sample_rate();
    analysis_driver(std::move(job.reader), job.chosen, job.similarity, job.frame_times, job.sink);
    const std::string command = build_command_string(job.input_path, job.output_path, job.chosen);
    write_gabarit(job.similarity, job.frame_times, job.input_path, command, sample_rate, channels, job.output_path);
    // Too late for a cancel to stop anything: the answer doesn't matter.
    job.sink.report(job.sink.context, 1.0);
}

// A write to a broken pipe or beyond a limit would end the host's process; blocked, it comes back as an error.
void block_write_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    sigaddset(&signals, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

// An error's text may find no memory left; then as much of it is kept as there is room for.
void store_error_message(job_shared_state& shared, const char* text)
{
    try {
        shared.error_message = text;
    } catch (...) {
        shared.error_message.assign(text, std::min(std::strlen(text), shared.error_message.capacity()));
    }
}

// The worker's last act. A lock that fails can't be reported to anybody.
template <class OUTCOME>
void finish(job_shared_state& shared, OUTCOME store_outcome)
{
    pthread_mutex_lock(&shared.mutex);
    store_outcome();
    shared.finished = true;
    pthread_mutex_unlock(&shared.mutex);
}

void finish_with_error(job_shared_state& shared, const char* text)
{
    finish(shared, [&] {
        store_error_message(shared, text);
        shared.cancel_requested = false;
    });
}

} // namespace

bool job_report(void* context, double position)
{
    job_shared_state& shared = *static_cast<job_shared_state*>(context);
    const job_lock lock(shared);
    if (shared.cancel_requested)
        return false;
    shared.position = position;
    return true;
}

void* worker_main(void* handle)
{
    block_write_signals();
    process_handle& job = *static_cast<process_handle*>(handle);
    job_shared_state& shared = *job.shared;
    try {
        analyze_and_write(job);
        finish(shared, [] {});
    } catch (const corvane::cancel_exception&) {
        finish(shared, [&] { store_cancel_message(shared); });
    } catch (const std::exception& error) {
        finish_with_error(shared, error.what());
    } catch (...) {
        finish_with_error(shared, "internal error");
    }
    return nullptr;
}

} // namespace veloria
