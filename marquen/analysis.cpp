#include "marquen/analysis.h"

#include <chrono>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

#include "marquen/decoder_silence.h"
#include "marquen/failure.h"
#include "marquen/interrupts.h"

namespace marquen {

namespace {

using clock = std::chrono::steady_clock;
using job_handle = std::unique_ptr<veloria::process_handle, decltype(&veloria::shutdown)>;

job_handle start(const job& one, const options& chosen)
{
    std::vector<const char*> paths;
    for (const std::string& path : one.input)
        paths.push_back(path.c_str());
    const decoder_silence quiet; // the files are opened here
    try {
        return {veloria::process(static_cast<int>(paths.size()), paths.data(), one.similarity.c_str(), chosen.features,
                                 chosen.modeling, chosen.modeling_window, chosen.modeling_step),
                veloria::shutdown};
    } catch (std::runtime_error* error) { // the one failure that comes as a pointer: no thread
        const std::unique_ptr<std::runtime_error> owner(error);
        throw failure(cause::machine, owner->what());
    }
}

bool goes_on(veloria::process_state state)
{
    return state == veloria::process_running || state == veloria::process_canceling;
}

} // namespace

analysis_end analyze(const job& one, const options& chosen, progress& shown)
{
    constexpr std::chrono::milliseconds poll_interval(5), patience(700);
    job_handle handle = start(one, chosen);
    veloria::process_handle* const work = handle.get();
    clock::time_point canceled_at{};
    for (;;) {
        const veloria::process_state state = veloria::getState(work);
        if (!goes_on(state))
            return {state, veloria::getErrorMessage(work)};
        if (state == veloria::process_canceling && clock::now() > canceled_at + patience) {
            [[maybe_unused]] const auto abandoned = handle.release(); // it can't be shut down while it works
            return {veloria::process_canceled, "canceled"};
        }
        if (state == veloria::process_running && interrupt_watch::signal() != 0) {
            veloria::cancel(work, false);
            canceled_at = clock::now();
        }
        shown.show("analyzing", veloria::getPosition(work) / veloria::getMaxPosition(work));
        std::this_thread::sleep_for(poll_interval);
    }
}

} // namespace marquen
