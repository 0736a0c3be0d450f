#include "veloria/veloria.h"

#include <pthread.h>

#include <cstddef>
#include <memory>
#include <stdexcept>

#include "audio/make_reader.h"
#include "veloria/process_handle.h"
#include "veloria/worker.h"

namespace veloria {

namespace {

// Hosts have enumerations of their own, so that the header stands alone.
static_assert(static_cast<int>(feature_selection::timbre) == timbre);
static_assert(static_cast<int>(feature_selection::harmo) == harmo);
static_assert(static_cast<int>(feature_selection::mixed) == mixed);
static_assert(static_cast<int>(modeling_kind::mean) == mean);
static_assert(static_cast<int>(modeling_kind::meanvar) == meanvar);
static_assert(static_cast<int>(modeling_kind::fft) == fft);
static_assert(static_cast<int>(modeling_kind::mph) == mph);

const char canceled_text[] = "processing was canceled";

// Its address marks a living handle.
const char handle_tag = 0;

// Room for every fixed text and for most others.
constexpr std::size_t message_room = 256;

process_handle& valid(process_handle* handle)
{
    if (handle == nullptr || handle->self != handle || handle->tag != &handle_tag)
        throw std::invalid_argument("internal error: invalid process handle");
    return *handle;
}

// What the host sees of a job at one moment.
struct job_view {
    bool ended;
    bool cancel_requested;
    bool message_empty;
    double position;
};

job_view look_at(process_handle& job)
{
    job_shared_state& shared = *job.shared;
    if (!job.joined) {
        const job_lock lock(shared);
        if (!shared.finished)
            return {false, shared.cancel_requested, true, shared.position};
        if (shared.cancel_requested && shared.error_message.empty())
            store_cancel_message(shared);
    }
    return {true, shared.cancel_requested, shared.error_message.empty(), shared.position};
}

void join(process_handle& job)
{
    pthread_join(job.thread, nullptr);
    job.joined = true;
    if (job.shared->cancel_requested)
        store_cancel_message(*job.shared);
}

void join_ended_worker(process_handle& job, const char* refusal)
{
    if (job.joined)
        return;
    bool finished = false;
    {
        const job_lock lock(*job.shared);
        finished = job.shared->finished;
    }
    if (!finished)
        throw std::logic_error(refusal);
    join(job);
}

} // namespace

job_shared_state::job_shared_state()
{
    error_message.reserve(message_room);
    if (pthread_mutex_init(&mutex, nullptr) != 0)
        throw std::runtime_error("error creating mutex");
}

job_shared_state::~job_shared_state()
{
    pthread_mutex_destroy(&mutex);
}

job_lock::job_lock(job_shared_state& shared) : mutex(shared.mutex)
{
    if (pthread_mutex_lock(&mutex) != 0)
        throw std::runtime_error("error locking mutex");
}

job_lock::~job_lock()
{
    pthread_mutex_unlock(&mutex);
}

void store_cancel_message(job_shared_state& shared)
{
    shared.error_message = canceled_text;
}

void getDefaultSettings(features_type& features, modeling_type& modeling, double& modeling_window,
                        double& modeling_step)
{
    const settings defaults;
    features = static_cast<features_type>(defaults.features);
    modeling = static_cast<modeling_type>(defaults.modeling);
    modeling_window = defaults.window_seconds;
    modeling_step = defaults.step_seconds;
}

const char* getVersion()
{
    return VELORIA_ENGINE_VERSION;
}

process_handle* process(int path_count, const char** paths, const char* output_path, features_type features,
                        modeling_type modeling, double modeling_window, double modeling_step)
{
    if (path_count < 1)
        throw std::out_of_range("invalid number of input paths");
    if (paths == nullptr)
        throw std::invalid_argument("invalid input paths");
    if (output_path == nullptr || *output_path == '\0')
        throw std::invalid_argument("invalid output path");
    if (modeling_window <= 0.0) // not !(modeling_window > 0.0): a NaN is let through
        throw std::out_of_range("invalid modeling window");
    if (modeling_step <= 0.0)
        throw std::out_of_range("invalid modeling step");

    auto job = std::make_unique<process_handle>();
    job->reader = corvane::make_reader(path_count, paths);
    job->input_path = paths[0];
    job->output_path = output_path;
    if (features != timbre && features != harmo && features != mixed)
        throw std::logic_error("invalid feature selection");
    if (modeling != mean && modeling != meanvar && modeling != fft && modeling != mph)
        throw std::logic_error("invalid modeling specification");
    job->chosen = {static_cast<feature_selection>(features), static_cast<modeling_kind>(modeling), modeling_window,
                   modeling_step};
    job->shared.emplace();
    job->sink = {job_report, &*job->shared};

    if (pthread_create(&job->thread, nullptr, worker_main, job.get()) != 0)
        // A pointer, which no handler for std::exception sees: hosts have come to expect it.
        throw new std::runtime_error("internal error on thread creation");
    job->self = job.get();
    job->tag = &handle_tag;
    return job.release();
}

double getMaxPosition(process_handle* handle)
{
    valid(handle);
    return 1.0;
}

double getPosition(process_handle* handle)
{
    const job_view view = look_at(valid(handle));
    if (!view.ended)
        return view.position;
    return view.message_empty ? 1.0 : -1.0;
}

process_state getState(process_handle* handle)
{
    const job_view view = look_at(valid(handle));
    if (!view.ended)
        return view.cancel_requested ? process_canceling : process_running;
    if (view.message_empty)
        return process_finished;
    return view.cancel_requested ? process_canceled : process_failed;
}

const std::string& getErrorMessage(process_handle* handle)
{
    process_handle& job = valid(handle);
    join_ended_worker(job, "error message requested while process is still running");
    return job.shared->error_message;
}

void cancel(process_handle* handle, bool wait)
{
    process_handle& job = valid(handle);
    job_shared_state& shared = *job.shared;
    if (job.joined) {
        store_cancel_message(shared);
        return;
    }
    const job_lock lock(shared);
    if (!shared.finished)
        shared.cancel_requested = true;
    else if (shared.cancel_requested && shared.error_message.empty())
        store_cancel_message(shared);
    if (wait)
        join(job); // with the mutex held: a worker that still runs waits for it in vain
}

void shutdown(process_handle* handle)
{
    process_handle& job = valid(handle);
    join_ended_worker(job, "shutdown of ongoing process");
    job.self = nullptr;
    job.tag = nullptr;
    delete handle;
}

} // namespace veloria
