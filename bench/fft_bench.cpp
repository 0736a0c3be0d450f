#include "fft/realfft.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>
#if __has_include(<fftw3.h>)
#    include <fftw3.h>
#endif

#include "fft/split_complex_fft.h"
#include "fft/window.h"
#include "tests/support/noise.h"

namespace {

void count_samples(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Forward and back in turn, so that the values stay in range.
void realfft_in_place(benchmark::State& state)
{
    const int size = static_cast<int>(state.range(0));
    std::vector<float> values = noise<float>(size);
    int direction = -1;
    for (auto _ : state) {
        direction = -direction;
        libfft::realfft(values.data(), values.data(), size, direction);
        benchmark::ClobberMemory();
    }
    count_samples(state);
}

// Silence stays silence, and costs what every sound does.
void realfft_forward(benchmark::State& state)
{
    const int size = static_cast<int>(state.range(0));
    std::vector<float> values(static_cast<std::size_t>(size));
    for (auto _ : state) {
        libfft::realfft(values.data(), values.data(), size, 1);
        benchmark::ClobberMemory();
    }
    count_samples(state);
}

void split_real_transform(benchmark::State& state)
{
    const libfft::split_complex_fft<float> fft(static_cast<int>(state.range(0)));
    const std::ptrdiff_t half = fft.size() / 2;
    std::vector<float> arrays(static_cast<std::size_t>(4 * half));
    float* const place = arrays.data();
    for (auto _ : state) {
        fft.transform_real({place, place + half}, {place + 2 * half, place + 3 * half}, 1);
        benchmark::ClobberMemory();
    }
}

void kaiser_window(benchmark::State& state)
{
    std::vector<double> values(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        libfft::make_window(libfft::window_kind::kaiser, static_cast<int>(values.size()), values.data(), 5.0);
        benchmark::ClobberMemory();
    }
    count_samples(state);
}

#ifdef FFTW_ESTIMATE
// The peer, in place as well, with a plan that is measured or estimated.
void fftw_forward(benchmark::State& state, unsigned flags)
{
    const int size = static_cast<int>(state.range(0));
    float* values = fftwf_alloc_real(static_cast<std::size_t>(size) + 2);
    fftwf_plan plan = fftwf_plan_dft_r2c_1d(size, values, reinterpret_cast<fftwf_complex*>(values), flags);
    for (int i = 0; i < size; ++i)
        values[i] = 0.0F;
    for (auto _ : state) {
        fftwf_execute(plan);
        benchmark::ClobberMemory();
    }
    fftwf_destroy_plan(plan);
    fftwf_free(values);
    count_samples(state);
}

BENCHMARK_CAPTURE(fftw_forward, measured, FFTW_MEASURE)->Arg(1024)->Arg(2048);
BENCHMARK_CAPTURE(fftw_forward, estimated, FFTW_ESTIMATE)->Arg(1000)->Arg(4410);
#endif

BENCHMARK(realfft_forward)->Arg(1024)->Arg(2048)->Arg(1000)->Arg(4410);
BENCHMARK(realfft_in_place)->Arg(1024)->Arg(2048)->Arg(1000)->Arg(4410);
BENCHMARK(split_real_transform)->Arg(1024)->Arg(2048);
BENCHMARK(kaiser_window)->Arg(1001);

} // namespace
