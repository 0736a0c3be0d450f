// Any sequence of the nine functions on up to four jobs, but for what their contract forbids: handles that are no
// longer, and waiting for a job that still runs.
#include <cmath>
#include <iterator>
#include <stdexcept>

#include "fuzz/input.h"
#include "tests/support/job.h"

namespace {

using namespace veloria;

struct seat {
    process_handle* job = nullptr;
    bool joined = false; // its thread is known to be gone
    bool finite = true;  // its window and step
};

bool has_ended(process_state state)
{
    return state != process_running && state != process_canceling;
}

// Starts a job, perhaps with a fault: the first is thrown, the others come out in the worker.
void start(seat& at, unsigned choice, const std::string& output)
{
    const unsigned fault = choice % 8;
    const char* path = fault == 0 ? "/nowhere/at/all" : brief_sound();
    const char* to = fault == 1 ? "/nowhere/at/all" : output.c_str();
    const double window = fault == 2 ? std::nan("") : 0.3, step = fault == 3 ? HUGE_VAL : 0.1;
    try {
        at.job = process(1, &path, to, static_cast<features_type>(choice / 8 % 3),
                         static_cast<modeling_type>(choice / 24 % 4), window, step);
    } catch (const std::runtime_error&) {}
    EXPECT_LAW((at.job == nullptr) == (fault == 0));
    at.finite = fault != 2 && fault != 3;
}

// Whether a state may come after another, be it by the call or by the worker.
bool may_follow(process_state before, process_state after, bool canceled, bool joined)
{
    if (before == process_running)
        return canceled ? after != process_running : after != process_canceling && after != process_canceled;
    if (before == process_canceling) // never finished
        return after == process_canceling || after == process_canceled || after == process_failed;
    return after == (before == process_finished && canceled && joined ? process_failed : before);
}

constexpr void (*calls[])(process_handle*) = {
    [](process_handle* job) { cancel(job, false); },   [](process_handle* job) { cancel(job, true); },
    [](process_handle* job) { getErrorMessage(job); }, [](process_handle* job) { shutdown(job); },
    [](process_handle* job) { getPosition(job); },     [](process_handle* job) { getState(job), usleep(300); },
    [](process_handle* job) { getMaxPosition(job); },
};

void call(std::size_t function, seat& at)
{
    const process_state before = getState(at.job);
    const bool ended = has_ended(before), joined = at.joined;
    if (function == 1 && !ended)
        function = 0;
    try {
        calls[function](at.job);
        at.joined = joined || function == 1 || function == 2;
    } catch (const std::logic_error&) {
        EXPECT_LAW(!ended && (function == 2 || function == 3));
        function = std::size(calls);
    }
    if (function == 3) {
        at = {};
        return;
    }
    const process_state after = getState(at.job);
    EXPECT_LAW(may_follow(before, after, function < 2, joined));
    const double position = getPosition(at.job); // the worker may end meanwhile
    EXPECT_LAW(position == -1.0 || (position >= 0.0 && position <= 1.0) || (!at.finite && std::isnan(position)));
    EXPECT_LAW(!has_ended(after) || position == (after == process_finished ? 1.0 : -1.0));
    if (!at.joined)
        return;
    EXPECT_LAW(getErrorMessage(at.job).empty() == (after == process_finished));
    EXPECT_LAW(after != process_canceled || getErrorMessage(at.job) == "processing was canceled");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const memory_file output;
    fuzz_input input(data, size < 60 ? size : 60);
    seat seats[4];
    while (!input.rest().empty()) {
        const std::size_t choice = input.take<std::uint8_t>();
        seat& at = seats[choice % 4];
        if (at.job == nullptr)
            start(at, input.take<std::uint8_t>(), output.path());
        else
            call(choice / 4 % std::size(calls), at);
    }
    for (const seat& at : seats)
        if (at.job != nullptr) {
            cancel(at.job, false);
            wait_for_end(at.job);
            shutdown(at.job);
        }
    return 0;
}
