#include "c/job.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace veloria_c {

namespace {

static_assert(VELORIA_STATE_RUNNING == static_cast<int>(veloria::process_running) &&
              VELORIA_STATE_FINISHED == static_cast<int>(veloria::process_finished) &&
              VELORIA_STATE_CANCELING == static_cast<int>(veloria::process_canceling) &&
              VELORIA_STATE_CANCELED == static_cast<int>(veloria::process_canceled) &&
              VELORIA_STATE_FAILED == static_cast<int>(veloria::process_failed));

bool has_ended(const job_view& view)
{
    return !view.alive || (view.state != VELORIA_STATE_RUNNING && view.state != VELORIA_STATE_CANCELING);
}

// The library has no call that waits for a running job. Short sounds are done in milliseconds: look often at first.
template <class LOOK>
job_view poll(double seconds, LOOK look)
{
    using std::chrono::duration;
    constexpr duration<double> longest_pause(0.005);
    const auto begin = std::chrono::steady_clock::now();
    duration<double> pause(0.0001);
    for (;;) {
        const job_view view = look();
        const duration<double> passed = std::chrono::steady_clock::now() - begin;
        if (has_ended(view) || (seconds >= 0.0 && passed.count() >= seconds))
            return view;
        if (seconds >= 0.0)
            pause = std::min(pause, duration<double>(seconds) - passed);
        std::this_thread::sleep_for(pause);
        pause = std::min(2 * pause, longest_pause);
    }
}

} // namespace

void job::start(int path_count, const char* const* paths, const char* output_path, veloria::features_type features,
                veloria::modeling_type modeling, double window_seconds, double step_seconds)
{
    const std::lock_guard lock(mutex);
    if (output_path == nullptr)
        result.emplace();
    path = output_path == nullptr ? result->path() : output_path;
    handle = veloria::process(path_count, const_cast<const char**>(paths), path.c_str(), features, modeling,
                              window_seconds, step_seconds);
}

job_view job::look_locked()
{
    if (handle == nullptr)
        return {VELORIA_STATE_FAILED, furthest, false};
    const double position = veloria::getPosition(handle); // negative of a job that failed
    const auto state = static_cast<veloria_state>(veloria::getState(handle));
    furthest = state == VELORIA_STATE_FINISHED ? 1.0 : std::max(furthest, position);
    return {state, furthest, true};
}

job_view job::look()
{
    const std::lock_guard lock(mutex);
    return look_locked();
}

std::string job::message()
{
    const std::lock_guard lock(mutex);
    return has_ended(look_locked()) && handle != nullptr ? veloria::getErrorMessage(handle) : std::string();
}

void job::cancel()
{
    const std::lock_guard lock(mutex);
    // A job whose thread is gone would be marked as failed, whatever it was.
    if (!has_ended(look_locked()))
        veloria::cancel(handle, false);
}

job_view job::wait(double seconds)
{
    return poll(seconds, [this] { return look(); });
}

bool job::end()
{
    cancel();
    bool mine = false;
    poll(-1.0, [&] {
        const std::lock_guard lock(mutex);
        job_view view = look_locked();
        if (view.alive && has_ended(view)) {
            veloria::shutdown(handle);
            handle = nullptr;
            mine = true;
            view.alive = false;
        }
        return view;
    });
    return mine;
}

} // namespace veloria_c
