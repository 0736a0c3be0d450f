// Any sequence of the nine functions on up to four jobs, but for what their contract forbids: handles that are no
// longer, and waiting for a job that still runs.
#include <cmath>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "fuzz/input.h"
#include "tests/support/au_header.h"
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

// Starts a job with at most one fault. The first nine are thrown, the others come out in the worker.
void start(seat& at, unsigned choice, const std::string& sound, const std::string& output)
{
    const unsigned fault = choice % 16;
    const char* path = fault == 0 ? nullptr : fault == 1 ? "/nowhere/at/all" : sound.c_str();
    const char* to = fault == 3 ? nullptr : fault == 9 ? "/nowhere/at/all" : output.c_str();
    const auto features = static_cast<features_type>(fault == 4 ? 3 : choice / 16 % 3);
    const auto modeling = static_cast<modeling_type>(fault == 5 ? -1 : static_cast<int>(choice / 48 % 4));
    const double window = fault == 6 ? -1.0 : fault == 10 ? std::nan("") : 0.3;
    const double step = fault == 7 ? 0.0 : fault == 11 ? HUGE_VAL : 0.1;
    try {
        at.job = process(fault == 8 ? 0 : 1, fault == 2 ? nullptr : &path, to, features, modeling, window, step);
    } catch (const std::logic_error&) {
        EXPECT_LAW(fault != 1 && fault < 9);
    } catch (const std::runtime_error&) {
        EXPECT_LAW(fault == 1);
    }
    EXPECT_LAW((at.job == nullptr) == (fault < 9));
    at.finite = fault != 10 && fault != 11;
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

void refuse_null(std::size_t function)
{
    try {
        calls[function](nullptr);
    } catch (const std::invalid_argument&) {
        return;
    }
    EXPECT_LAW(false);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const memory_file sound, output;
    static const bool filled = [] {
        std::vector<std::uint8_t> samples(8000); // most of a second of 8 bits
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<std::uint8_t>(i * i / 100);
        sound.fill(samples, au_header(8000, 2, 11025, 1));
        return true;
    }();
    EXPECT_LAW(filled);
    fuzz_input input(data, size < 60 ? size : 60);
    seat seats[4];
    while (!input.rest().empty()) {
        const std::size_t choice = input.take<std::uint8_t>();
        seat& at = seats[choice % 4];
        if (at.job == nullptr && choice >= 240)
            refuse_null(choice % std::size(calls));
        else if (at.job == nullptr)
            start(at, input.take<std::uint8_t>(), sound.path(), output.path());
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
