#include "marquen/job.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "marquen/progress_bar.h"

namespace marquen {

namespace {

volatile std::sig_atomic_t interrupted = 0;

extern "C" void note_interrupt(int)
{
    interrupted = 1;
}

// Catches Ctrl-C as long as it lives.
class interrupt_watch {
public:
    interrupt_watch()
    {
        struct sigaction action {};
        action.sa_handler = note_interrupt;
        action.sa_flags = SA_RESTART;
        sigaction(SIGINT, &action, &before);
    }
    interrupt_watch(const interrupt_watch&) = delete;
    interrupt_watch& operator=(const interrupt_watch&) = delete;
    ~interrupt_watch() { sigaction(SIGINT, &before, nullptr); }

private:
    struct sigaction before {};
};

using job_handle = std::unique_ptr<veloria::process_handle, decltype(&veloria::shutdown)>;

job_handle start(const options& chosen)
{
    std::vector<const char*> paths;
    for (const std::string& path : chosen.input)
        paths.push_back(path.c_str());
    try {
        return {veloria::process(static_cast<int>(paths.size()), paths.data(), chosen.similarity.c_str(),
                                 chosen.features, chosen.modeling, chosen.modeling_window, chosen.modeling_step),
                veloria::shutdown};
    } catch (std::runtime_error* error) { // the one failure that comes as a pointer: no thread
        const std::unique_ptr<std::runtime_error> owner(error);
        throw std::runtime_error(*owner);
    }
}

} // namespace

job_end run_job(const options& chosen)
{
    constexpr std::chrono::milliseconds poll_interval(5);
    const interrupt_watch watch;
    const job_handle handle = start(chosen);
    veloria::process_handle* const job = handle.get();
    progress_bar bar(!chosen.quiet && isatty(STDERR_FILENO) == 1);

    veloria::process_state state = veloria::getState(job);
    while (state == veloria::process_running || state == veloria::process_canceling) {
        if (interrupted != 0)
            veloria::cancel(job, false);
        bar.show(veloria::getPosition(job) / veloria::getMaxPosition(job));
        std::this_thread::sleep_for(poll_interval);
        state = veloria::getState(job);
    }
    return {state, veloria::getErrorMessage(job)};
}

} // namespace marquen
