#include "audio/resampler.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <benchmark/benchmark.h>
#if __has_include(<soxr.h>)
#    include <soxr.h>
#endif

#include "tests/support/noise.h"

namespace {

constexpr int target_hz = 11025;
constexpr int block = corvane::Resampler::block_size;

// In whole blocks.
std::vector<double> minute_of_noise(int rate_hz)
{
    return noise<double>(60 * rate_hz / block * block);
}

void count_samples(benchmark::State& state, const std::vector<double>& samples)
{
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(samples.size()));
}

void resampler_design(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(corvane::Resampler(target_hz, static_cast<int>(state.range(0))));
}

void resampler(benchmark::State& state)
{
    const int rate_hz = static_cast<int>(state.range(0));
    const std::vector<double> samples = minute_of_noise(rate_hz);
    std::vector<double> output(samples.size());
    for (auto _ : state) {
        corvane::Resampler filter(target_hz, rate_hz);
        std::span<double> room(output);
        for (std::size_t i = 0; i < samples.size(); i += block) {
            std::copy_n(samples.data() + i, block, filter.input_area());
            const auto count = static_cast<std::size_t>(filter.output_count(block));
            filter.run(block, room);
            room = room.subspan(count);
        }
        filter.flush(room);
        benchmark::ClobberMemory();
    }
    count_samples(state, samples);
}

// The loop that the resampler's kernel stands for, on a filter of the same size.
void plain_loop(benchmark::State& state)
{
    const int rate_hz = static_cast<int>(state.range(0));
    const std::vector<double> samples = minute_of_noise(rate_hz);
    const corvane::filter_sizes filter = corvane::Resampler(target_hz, rate_hz).sizes();
    const std::vector<double> phases = noise<double>(filter.up * filter.taps);
    const std::int64_t end = (static_cast<std::int64_t>(samples.size()) - filter.taps) * filter.up;
    std::vector<double> output(samples.size());
    for (auto _ : state) {
        double* out = output.data();
        for (std::int64_t position = 0; position < end; position += filter.down) {
            const double* const row = phases.data() + position % filter.up * filter.taps;
            const double* const stretch = samples.data() + position / filter.up;
            double even = 0.0, odd = 0.0;
            for (std::int64_t t = 0; t < filter.taps; t += 2) {
                even += row[t] * stretch[t];
                odd += row[t + 1] * stretch[t + 1];
            }
            *out++ = even + odd;
        }
        benchmark::ClobberMemory();
    }
    count_samples(state, samples);
}

#if __has_include(<soxr.h>)
void soxr_high_quality(benchmark::State& state)
{
    const int rate_hz = static_cast<int>(state.range(0));
    const std::vector<double> samples = minute_of_noise(rate_hz);
    std::vector<double> output(samples.size());
    const soxr_io_spec_t doubles = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    const soxr_runtime_spec_t one_thread = soxr_runtime_spec(1);
    for (auto _ : state) {
        const soxr_t filter = soxr_create(rate_hz, target_hz, 1, nullptr, &doubles, &quality, &one_thread);
        std::size_t written = 0, count = 0;
        for (std::size_t i = 0; i <= samples.size(); i += block) {
            const double* const input = i < samples.size() ? samples.data() + i : nullptr; // null ends the signal
            soxr_process(filter, input, input != nullptr ? block : 0, nullptr, output.data() + written,
                         output.size() - written, &count);
            written += count;
        }
        soxr_delete(filter);
        benchmark::ClobberMemory();
    }
    count_samples(state, samples);
}
BENCHMARK(soxr_high_quality)->Arg(44100)->Arg(48000)->Unit(benchmark::kMillisecond);
#endif

BENCHMARK(resampler)->Arg(44100)->Arg(48000)->Arg(44101)->Unit(benchmark::kMillisecond);
BENCHMARK(plain_loop)->Arg(44100)->Arg(48000)->Unit(benchmark::kMillisecond);
BENCHMARK(resampler_design)->Arg(44100)->Arg(48000)->Arg(44101)->Unit(benchmark::kMillisecond);

} // namespace
