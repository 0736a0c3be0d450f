// The whole job on generated stereo sounds at 44100 Hz: all twelve pairs, and the share of each stage.
#include <benchmark/benchmark.h>

#include <sndfile.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "audio/load_sound.h"
#include "audio/make_reader.h"
#include "features/extract_feature_streams.h"
#include "features/standardize_columns.h"
#include "modeling/model_streams.h"
#include "modeling/reduce_components.h"
#include "modeling/time_grid.h"
#include "similarity/frame_distances.h"
#include "similarity/quantize.h"
#include "similarity/write_gabarit.h"
#include "tests/support/progress.h"
#include "veloria/veloria.h"

namespace {

constexpr int rate_hz = 44100;

// A sound of so many minutes: chords that change every two seconds over noise, written once per run.
class bench_sound {
public:
    explicit bench_sound(int minutes) : path("/tmp/veloria-bench-" + std::to_string(getpid()) + ".wav")
    {
        SF_INFO info{};
        info.samplerate = rate_hz;
        info.channels = 2;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
        if (file == nullptr)
            throw std::runtime_error("can't write " + path);
        std::vector<float> block(2 * rate_hz);
        unsigned noise = 1;
        for (int second = 0; second < 60 * minutes; ++second) {
            const double pitch = 110.0 * std::exp2(second / 2 * 7 % 12 / 12.0);
            for (int i = 0; i < rate_hz; ++i) {
                noise = noise * 1664525U + 1013904223U;
                const double phase = 2.0 * 3.141592653589793 * pitch * i / rate_hz;
                const double tone = 0.2 * std::sin(phase) + 0.1 * std::sin(3.0 * phase) + 0.05 * std::sin(7.0 * phase);
                const double hiss = (noise >> 8) * 0x1p-24 * 0.02;
                block[static_cast<std::size_t>(2 * i)] = static_cast<float>(tone + hiss);
                block[static_cast<std::size_t>(2 * i + 1)] = static_cast<float>(tone - 2.0 * hiss);
            }
            sf_writef_float(file, block.data(), rate_hz);
        }
        sf_close(file);
    }
    bench_sound(const bench_sound&) = delete;
    bench_sound& operator=(const bench_sound&) = delete;
    ~bench_sound() { std::remove(path.c_str()); }

    const std::string path;
};

double peak_mebibytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void whole_job(benchmark::State& state)
{
    const bench_sound sound(5);
    const char* path = sound.path.c_str();
    for (auto _ : state) {
        veloria::process_handle* job =
            veloria::process(1, &path, "/dev/null", static_cast<veloria::features_type>(state.range(0)),
                             static_cast<veloria::modeling_type>(state.range(1)), 1.0, 0.5);
        while (veloria::getState(job) == veloria::process_running)
            usleep(500);
        if (!veloria::getErrorMessage(job).empty())
            state.SkipWithError(veloria::getErrorMessage(job).c_str());
        veloria::shutdown(job);
    }
}
BENCHMARK(whole_job)
    ->ArgNames({"features", "modeling"})
    ->ArgsProduct({{veloria::timbre, veloria::harmo, veloria::mixed},
                   {veloria::mean, veloria::meanvar, veloria::fft, veloria::mph}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

double cpu_seconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

// CPU seconds since the last call.
double lap()
{
    static double last = 0.0;
    const double before = std::exchange(last, cpu_seconds());
    return last - before;
}

// One job of the default settings, stage by stage; CPU seconds of each as counters.
void stages(benchmark::State& state)
{
    const bench_sound sound(static_cast<int>(state.range(0)));
    const char* path = sound.path.c_str();
    for (auto _ : state) {
        const auto reader = corvane::make_reader(1, &path);
        tavel::Vector<tavel::Matrix<double>> scores;
        tavel::Vector<double> frame_times;
        {
            lap();
            tavel::Vector<double> samples;
            corvane::load_sound(*reader, veloria::analysis_rate, false, false, samples, unread_progress());
            state.counters["load"] = lap();
            const veloria::settings defaults;
            tavel::Slice<int> frame_slice;
            tavel::Vector<tavel::Matrix<double>> streams;
            veloria::extract_feature_streams(samples, veloria::analysis_rate, defaults.features, frame_slice, streams,
                                             unread_progress());
            veloria::standardize_columns(streams);
            state.counters["features"] = lap();
            const auto grid = veloria::time_grid(reader->frames() / double(rate_hz), defaults.step_seconds);
            veloria::model_streams(streams, veloria::analysis_rate, frame_slice, grid, defaults, frame_times, scores,
                                   unread_progress());
            veloria::standardize_columns(scores);
            state.counters["modeling"] = lap();
            veloria::reduce_components(scores, unread_progress());
            state.counters["reduction"] = lap();
        }
        tavel::Matrix<double> distance;
        tavel::Matrix<unsigned char> similarity;
        veloria::compute_frame_distances(scores, distance, unread_progress());
        veloria::quantize_distances(distance, similarity, frame_times.size);
        state.counters["distances"] = lap();
        veloria::write_gabarit(similarity, frame_times, path, "", rate_hz, 2, "/dev/null");
        state.counters["file"] = lap();
    }
    state.counters["peak_MiB"] = peak_mebibytes();
}
BENCHMARK(stages)->ArgName("minutes")->Arg(5)->Arg(60)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

} // namespace
