// The kinds of modeling and the reduction at the sizes of a song of five minutes with default settings: three streams
// of 13, 12 and 12 features, 11250 frames, 599 rows of 37 frames each.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>

#include "modeling/modulation.h"
#include "modeling/mph.h"
#include "modeling/reduce_components.h"
#include "modeling/window_statistics.h"
#include "tests/support/noise.h"
#include "tests/support/progress.h"

namespace {

using namespace veloria;
using matrix = tavel::Matrix<double>;

constexpr int song_frames = 11250;
constexpr int song_rows = 599;
constexpr double frame_rate = 37.5;
constexpr int feature_counts[] = {13, 12, 12};

// The range of a benchmark is the window in frames.
template <class MODEL>
void model_song(benchmark::State& state, MODEL model)
{
    tavel::Vector<int> centers(song_rows);
    for (int row = 0; row < song_rows; ++row)
        centers[row] = static_cast<int>(std::round((0.5 * (row + 1) - 0.04) * frame_rate));
    const matrix streams[] = {noise_matrix(song_frames, feature_counts[0]),
                              noise_matrix(song_frames, feature_counts[1]),
                              noise_matrix(song_frames, feature_counts[2])};
    for (auto _ : state) {
        for (const matrix& stream : streams) {
            matrix modeled;
            model(stream, static_cast<int>(state.range(0)), centers, modeled, unread_progress());
            benchmark::DoNotOptimize(modeled.data);
        }
    }
}

void mean(benchmark::State& state)
{
    model_song(state, [](auto& stream, int width, auto& centers, auto&&... out) {
        model_window_statistics(stream, width, centers, false, out...);
    });
}

void meanvar(benchmark::State& state)
{
    model_song(state, [](auto& stream, int width, auto& centers, auto&&... out) {
        model_window_statistics(stream, width, centers, true, out...);
    });
}

void spectrum(benchmark::State& state)
{
    model_song(state,
               [](auto& stream, int width, auto&&... rest) { model_spectrum(stream, frame_rate, width, rest...); });
}

void mph(benchmark::State& state)
{
    model_song(state, [](auto&&... arguments) { model_mph(arguments...); });
}

// Ranges: rows and columns of one modeled stream.
void reduction(benchmark::State& state)
{
    const matrix stream = noise_matrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    for (auto _ : state) {
        state.PauseTiming();
        tavel::Vector<matrix> streams(1);
        streams[0] = stream;
        state.ResumeTiming();
        reduce_components(streams, unread_progress());
    }
}

void windows(benchmark::internal::Benchmark* kind)
{
    kind->Arg(37)->Arg(2249)->Unit(benchmark::kMillisecond);
}
BENCHMARK(mean)->Apply(windows);
BENCHMARK(meanvar)->Apply(windows);
BENCHMARK(spectrum)->Apply(windows);
BENCHMARK(mph)->Apply(windows);

// mean, spectrum and mph of five minutes; mean of an hour
void shapes(benchmark::internal::Benchmark* part)
{
    part->Args({song_rows, 13})->Args({song_rows, 52})->Args({song_rows, 169})->Args({7199, 13});
    part->Unit(benchmark::kMillisecond);
}
BENCHMARK(reduction)->Apply(shapes);

} // namespace
