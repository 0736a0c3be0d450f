// Whole jobs on small hostile sounds with any settings.
#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "fuzz/input.h"
#include "gabarit/verify.h"
#include "tests/support/job.h"

namespace {

constexpr std::size_t most_bytes = 40000;
constexpr double most_moments = 200.0;

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace veloria;
    static const memory_file sound, gabarit;
    fuzz_input input(data, size);
    const auto features = static_cast<features_type>(input.take<std::uint8_t>() % 3);
    const auto modeling = static_cast<modeling_type>(input.take<std::uint8_t>() % 4);
    const auto window = input.take<double>();
    auto step = input.take<double>();
    const std::uint32_t encoding = 1 + input.take<std::uint8_t>() % 7;
    const std::uint32_t rate_hz = 1000 + input.take<std::uint16_t>();
    const std::uint32_t channels = 1 + input.take<std::uint8_t>() % 4;
    const auto samples = input.rest().first(std::min(input.rest().size(), most_bytes));
    // A picture of a million moments is honest work, but not for a fuzzer, and where a request for memory fails a
    // sanitizer ends the process; a step so short that no vector could be that long may stay.
    const double longest = static_cast<double>(samples.size()) / (channels * rate_hz);
    if (step > longest / 0x1p61 && step < longest / most_moments)
        step = longest / most_moments;
    // So is a modulation spectrum over hours.
    if (modeling == fft && window > 100.0 && window < 1e12)
        return 0;
    sound.fill(samples, au_header(static_cast<std::uint32_t>(samples.size()), encoding, rate_hz, channels));
    const bool refused = window <= 0.0 || step <= 0.0;
    try {
        process_handle* const job = start_job(sound.path(), gabarit.path(), features, modeling, window, step);
        EXPECT_LAW(!refused);
        const process_state state = wait_for_end(job);
        EXPECT_LAW(state == process_finished || state == process_failed);
        EXPECT_LAW(getErrorMessage(job).empty() == (state == process_finished));
        EXPECT_LAW(getErrorMessage(job) != "processing was canceled");
        EXPECT_LAW(getPosition(job) == (state == process_finished ? 1.0 : -1.0));
        shutdown(job);
        if (state == process_finished)
            gabarit::verify(gabarit.path()); // what it throws is a finding
    } catch (const std::out_of_range&) {
        EXPECT_LAW(refused);
    } catch (const std::runtime_error& error) {
        EXPECT_LAW(std::string(error.what()) == "error opening file '" + sound.path() + "'");
    }
    return 0;
}
