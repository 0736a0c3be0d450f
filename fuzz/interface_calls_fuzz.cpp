// Any sequence of the nine functions on up to four jobs, but for what their contract forbids: handles that are no
// longer, and waiting for a job that still runs.
#include <cmath>
#include <stdexcept>
#include <vector>

#include "fuzz/input.h"
#include "tests/test_job.h"

namespace {

using namespace veloria;

constexpr int seats = 4;

bool runs(process_handle* job)
{
    const process_state state = getState(job);
    return state == process_running || state == process_canceling;
}

process_handle* start(fuzz_input& input, const std::string& sound, const std::string& output)
{
    const auto choice = input.take<std::uint8_t>();
    const std::string nowhere = "/nowhere/at/all";
    const char* paths[] = {choice % 7 == 0 ? nullptr : choice % 7 == 1 ? nowhere.c_str() : sound.c_str()};
    try {
        return process(choice % 11 == 0 ? 0 : 1, choice % 13 == 0 ? nullptr : paths,
                       choice % 17 == 0  ? nullptr
                       : choice % 5 == 0 ? nowhere.c_str()
                                         : output.c_str(),
                       static_cast<features_type>(choice % 4), static_cast<modeling_type>(choice / 4 % 5),
                       choice % 19 == 0 ? -1.0 : 0.3, choice % 23 == 0 ? std::nan("") : 0.1);
    } catch (const std::logic_error&) {   // an argument
    } catch (const std::runtime_error&) { // the sound
    }
    return nullptr;
}

// One call on a job. Returns it, or null once it is shut down.
process_handle* call(int function, process_handle* job)
{
    const bool running = runs(job);
    const double position = getPosition(job);
    // A NaN step gives NaN for as long as the job runs.
    EXPECT_LAW((position >= 0.0 && position <= 1.0) || position == -1.0 || (running && std::isnan(position)));
    EXPECT_LAW(getMaxPosition(job) == 1.0);
    try {
        switch (function) {
        case 0:
            cancel(job, false);
            break;
        case 1:
            cancel(job, !running);
            break;
        case 2:
            EXPECT_LAW(getErrorMessage(job).empty() == (getState(job) == process_finished));
            break;
        case 3:
            shutdown(job);
            return nullptr;
        default:
            usleep(300);
        }
    } catch (const std::logic_error&) {
        EXPECT_LAW(running && (function == 2 || function == 3));
    }
    EXPECT_LAW(running || !runs(job)); // what ended stays so
    return job;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const memory_file sound, output;
    static const bool filled = [] {
        std::vector<std::uint8_t> bytes{'.', 's', 'n', 'd', 0, 0, 0,    24,   0, 0, 0x2e, 0xe0,
                                        0,   0,   0,   2,   0, 0, 0x17, 0x70, 0, 0, 0,    1};
        for (int i = 0; i < 12000; ++i) // two seconds of 8 bits
            bytes.push_back(static_cast<std::uint8_t>(i * i / 100));
        sound.fill(bytes);
        return true;
    }();
    EXPECT_LAW(filled);
    fuzz_input input(data, size < 60 ? size : 60);
    process_handle* jobs[seats] = {};
    while (!input.rest().empty()) {
        const auto choice = input.take<std::uint8_t>();
        process_handle*& job = jobs[choice % seats];
        job = job == nullptr ? start(input, sound.path(), output.path()) : call(choice / seats % 5, job);
    }
    for (process_handle* const job : jobs)
        if (job != nullptr) {
            cancel(job, false);
            wait_for_end(job);
            shutdown(job);
        }
    return 0;
}
