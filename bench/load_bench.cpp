#include "audio/load_sound.h"

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sndfile.h>
#include <unistd.h>

#include "audio/make_reader.h"
#include "tests/support/progress.h"

namespace {

// A 16-bit WAV file of a minute, gone with its object.
class minute_of_sound {
public:
    minute_of_sound(int rate_hz, int channels)
    {
        std::string pattern = "/tmp/load_bench_XXXXXX";
        close(mkstemp(pattern.data()));
        path = pattern;
        SF_INFO info{};
        info.samplerate = rate_hz;
        info.channels = channels;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        std::vector<double> samples(static_cast<std::size_t>(60 * rate_hz * channels));
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = 0.5 * std::sin(1e-2 * static_cast<double>(i));
        const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file(sf_open(path.c_str(), SFM_WRITE, &info), sf_close);
        sf_write_double(file.get(), samples.data(), static_cast<sf_count_t>(samples.size()));
    }
    minute_of_sound(const minute_of_sound&) = delete;
    minute_of_sound& operator=(const minute_of_sound&) = delete;
    ~minute_of_sound() { std::remove(path.c_str()); }

    std::unique_ptr<corvane::AbstractReader> open() const
    {
        const char* const paths[] = {path.c_str()};
        return corvane::make_reader(1, paths);
    }

private:
    std::string path;
};

void load_sound(benchmark::State& state)
{
    const minute_of_sound sound(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    for (auto _ : state) {
        const auto reader = sound.open();
        tavel::Vector<double> output;
        corvane::load_sound(*reader, 11025.0, false, false, output, unread_progress());
        benchmark::DoNotOptimize(output.data);
    }
    state.SetItemsProcessed(state.iterations() * 60 * state.range(0));
}

// The share of decoding alone: what the reader costs in the requests of the load.
void read_sound(benchmark::State& state)
{
    const minute_of_sound sound(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    std::vector<double> buffer(static_cast<std::size_t>(16384 * state.range(1)));
    for (auto _ : state) {
        const auto reader = sound.open();
        for (int start = 0; start < reader->frames(); start += 16384)
            benchmark::DoNotOptimize(reader->read(buffer.data(), start, 16384));
    }
    state.SetItemsProcessed(state.iterations() * 60 * state.range(0));
}

BENCHMARK(load_sound)->ArgsProduct({{11025, 44100, 48000}, {1, 2}})->Unit(benchmark::kMillisecond);
BENCHMARK(read_sound)->ArgsProduct({{44100}, {1, 2}})->Unit(benchmark::kMillisecond);

} // namespace
