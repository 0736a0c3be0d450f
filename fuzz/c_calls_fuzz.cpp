// Any sequence of calls of the interface for C on up to four jobs, with arguments and handles that make no sense among
// them: nothing is forbidden there.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "fuzz/input.h"
#include "veloria/veloria_c.h"

namespace {

struct seat {
    veloria_job* job = nullptr;
    bool alive = false;
    bool asked_to_stop = false;
    double furthest = 0.0;
};

// The text of each call, between guards.
class text_of_call {
public:
    explicit text_of_call(std::size_t room) : size(std::min(room, sizeof bytes - 2))
    {
        std::fill(std::begin(bytes), std::end(bytes), '#');
    }
    char* data() { return bytes + 1; }
    std::size_t room() const { return size; }
    bool empty() const { return size < 2 || bytes[1] == '\0'; }
    ~text_of_call() { EXPECT_LAW(bytes[0] == '#' && bytes[1 + size] == '#'); }

private:
    char bytes[64];
    std::size_t size;
};

bool one_of(veloria_code code, std::initializer_list<veloria_code> codes)
{
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

// Half of the starts make sense.
void start(seat& at, fuzz_input& input, const char* sound)
{
    veloria_settings settings{sizeof settings, 0, 0, 0.3, 0.1, 0};
    const auto choice = input.take<std::uint8_t>();
    if (choice % 4 == 0)
        settings = {input.take<std::uint8_t>() % 2 == 0 ? sizeof settings : input.take<std::uint16_t>(),
                    input.take<int>(),
                    input.take<int>(),
                    input.take<double>(),
                    0.1,
                    0};
    if (settings.size > sizeof settings) // what follows the struct is not ours
        settings.size = sizeof settings;
    text_of_call text(input.take<std::uint8_t>());
    veloria_code code = VELORIA_OK;
    at = {};
    if (choice % 8 < 4) {
        const char* const first = choice % 16 == 1 ? nullptr : choice % 16 == 2 ? "/nowhere/at/all" : sound;
        const char* const paths[8] = {first, sound, sound, sound, sound, sound, sound, sound};
        code = veloria_start(choice % 16 == 3 ? nullptr : paths, choice / 16 % 2 == 0 ? 1 : choice / 32, nullptr,
                             &settings, &at.job, text.data(), text.room());
    } else {
        static const std::vector<double> data(20000, 0.25);
        veloria_samples samples{sizeof samples, data.data(), 1 + choice / 16 % 3, 1, 8000, 11025};
        if (choice % 16 == 15) // 8 channels of 8 bytes at most
            samples = {sizeof samples,
                       data.data(),
                       input.take<int>(),
                       input.take<std::int8_t>() % 9,
                       input.take<std::uint64_t>() % 2500,
                       16 * input.take<std::int16_t>()};
        code = veloria_start_samples(&samples, choice % 16 == 14 ? "/nowhere/at/all" : nullptr, &settings, &at.job,
                                     text.data(), text.room());
    }
    EXPECT_LAW(one_of(code, {VELORIA_OK, VELORIA_FAILED, VELORIA_INVALID_ARGUMENT, VELORIA_NO_MEMORY}));
    EXPECT_LAW((code == VELORIA_OK) == (at.job != nullptr));
    EXPECT_LAW(text.room() < 2 || (code == VELORIA_OK) == text.empty());
    at.alive = at.job != nullptr;
}

void call(unsigned function, seat& at, fuzz_input& input)
{
    const auto argument = input.take<std::uint8_t>();
    text_of_call text(argument);
    int state = -1;
    double position = -1.0, times[64];
    std::uint8_t similarity[64 * 64];
    std::size_t n = argument;
    veloria_code code = VELORIA_OK;
    switch (function) {
    case 0:
        code = veloria_job_state(at.job, &state);
        EXPECT_LAW(code != VELORIA_OK || veloria_state_word(state) != nullptr);
        EXPECT_LAW(state != VELORIA_STATE_CANCELED || at.asked_to_stop);
        break;
    case 1:
        code = veloria_job_position(at.job, &position);
        EXPECT_LAW(code != VELORIA_OK || (position >= at.furthest && position <= 1.0));
        at.furthest = std::max(position, at.furthest);
        break;
    case 2:
        code = veloria_job_message(at.job, text.data(), text.room());
        break;
    case 3:
        code = veloria_job_cancel(at.job);
        at.asked_to_stop = at.alive;
        break;
    case 4:
        code = veloria_job_wait(at.job, argument == 0 ? std::nan("") : argument % 8 == 1 ? -1.0 : 1e-5 * argument);
        break;
    case 5:
        code = veloria_job_size(at.job, &n, text.data(), text.room());
        break;
    case 6:
        if (argument % 2 == 0)
            veloria_job_size(at.job, &n, nullptr, 0);
        n = std::min<std::size_t>(n, 64);
        code = veloria_job_result(at.job, n, times, argument % 4 < 2 ? similarity : nullptr, text.data(), text.room());
        break;
    default:
        code = veloria_job_end(at.job);
        EXPECT_LAW((code == VELORIA_OK) == at.alive);
        at.alive = false;
    }
    EXPECT_LAW(at.alive || function > 6 || code == VELORIA_INVALID_JOB);
    EXPECT_LAW(!at.alive || code != VELORIA_INVALID_JOB);
    EXPECT_LAW(code != VELORIA_CANCELED || at.asked_to_stop);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_input input(data, std::min<std::size_t>(size, 120));
    seat seats[4];
    while (!input.rest().empty()) {
        const unsigned choice = input.take<std::uint8_t>();
        seat& at = seats[choice % 4];
        if (!at.alive && choice < 128)
            start(at, input, brief_sound());
        else if (!at.alive && choice >= 224) { // a name that was never given out: those of jobs are odd and small
            at.job = reinterpret_cast<veloria_job*>(input.take<std::uintptr_t>() & ~std::uintptr_t{1});
            call(choice / 4 % 8, at, input);
        } else
            call(choice / 4 % 8, at, input);
    }
    for (const seat& at : seats)
        EXPECT_LAW(veloria_job_end(at.job) == (at.alive ? VELORIA_OK : VELORIA_INVALID_JOB));
    return 0;
}
