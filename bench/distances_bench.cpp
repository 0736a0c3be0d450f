#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "similarity/equalization.h"
#include "similarity/frame_distances.h"
#include "similarity/pair_distances.h"
#include "similarity/quantize.h"
#include "tavel/tavel_dense_vector.h"
#include "tests/support/plain_distances.h"
#include "tests/support/progress.h"

namespace {

using stream_list = tavel::Vector<tavel::Matrix<double>>;

// Frames of a sound go on from the ones before them and come back to where they were.
tavel::Matrix<double> wandering_stream(int frames, int columns)
{
    std::mt19937 generator(static_cast<unsigned>(columns));
    std::normal_distribution<double> step;
    tavel::Matrix<double> stream(frames, columns);
    for (int c = 0; c < columns; ++c) {
        double place = 0.0;
        for (int r = 0; r < frames; ++r)
            stream(r, c) = place = 0.95 * place + step(generator);
    }
    return stream;
}

double pairs_of(int n)
{
    return 0.5 * n * (n - 1.0);
}

template <auto MEASURE>
void pair_distances(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    const tavel::Matrix<double> stream = wandering_stream(n, 12);
    tavel::Matrix<double> distance(n, n);
    for (auto _ : state) {
        MEASURE(stream, distance, unread_progress());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(static_cast<double>(state.iterations()) * pairs_of(n)));
}

std::vector<double> some_distances(int count)
{
    tavel::Matrix<double> distance(count, count);
    veloria::measure_pairs(wandering_stream(count, 12), distance, unread_progress());
    return {distance.column_data(0), distance.column_data(0) + count};
}

struct equalization_data {
    std::vector<double> distances = some_distances(3600); // the mean column of an hour
    double largest = *std::max_element(distances.begin(), distances.end());
    veloria::distance_bins bins{largest};
    std::array<double, veloria::bin_count> counts{};
    tavel::Vector<double> scaled, centers, plain_counts; // for the toolbox

    equalization_data() : scaled(size()), centers(veloria::bin_count), plain_counts(veloria::bin_count)
    {
        veloria::distance_histogram histogram;
        histogram.add(distances.data(), size(), bins);
        counts = histogram.counts();
        std::partial_sum(counts.begin(), counts.end(), counts.begin());
        std::copy(counts.begin(), counts.end(), plain_counts.begin());
        for (int i = 0; i < size(); ++i)
            scaled[i] = distances[static_cast<std::size_t>(i)] * bins.scale;
        for (int k = 0; k < veloria::bin_count; ++k)
            centers[k] = k * bins.width;
    }
    int size() const { return static_cast<int>(distances.size()); }
};

void histogram(benchmark::State& state)
{
    const equalization_data data;
    veloria::distance_histogram histogram;
    for (auto _ : state)
        histogram.add(data.distances.data(), data.size(), data.bins);
    benchmark::DoNotOptimize(histogram.counts());
    state.SetItemsProcessed(state.iterations() * data.size());
}

void histogram_plain(benchmark::State& state)
{
    equalization_data data;
    for (auto _ : state)
        plain::hist(data.scaled, data.centers, data.plain_counts);
    state.SetItemsProcessed(state.iterations() * data.size());
}

void mapping(benchmark::State& state)
{
    const equalization_data data;
    std::vector<double> mapped = data.distances;
    veloria::distance_mapping mapping(data.bins, data.counts);
    for (auto _ : state) {
        std::copy(data.distances.begin(), data.distances.end(), mapped.begin());
        mapping.map(mapped.data(), data.size());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * data.size());
}

void mapping_plain(benchmark::State& state)
{
    const equalization_data data;
    tavel::Vector<double> mapped(data.size());
    for (auto _ : state)
        plain::interp1q(data.centers, data.plain_counts, data.scaled, mapped);
    state.SetItemsProcessed(state.iterations() * data.size());
}

stream_list mixed_streams(int n)
{
    stream_list streams(3);
    streams[0] = wandering_stream(n, 13);
    streams[1] = wandering_stream(n, 11);
    streams[2] = wandering_stream(n, 12);
    return streams;
}

// From the streams to the bytes, fresh matrices included.
void distance_stage(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    const stream_list streams = mixed_streams(n);
    for (auto _ : state) {
        tavel::Matrix<double> distance;
        tavel::Matrix<unsigned char> similarity;
        veloria::compute_frame_distances(streams, distance, unread_progress());
        veloria::quantize_distances(distance, similarity, n);
        benchmark::DoNotOptimize(similarity.data);
    }
}

void distance_stage_plain(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    const stream_list streams = mixed_streams(n);
    for (auto _ : state) {
        tavel::Matrix<double> distance;
        tavel::Matrix<unsigned char> similarity;
        plain::compute_frame_distances(streams, distance, unread_progress());
        plain::quantize(distance, similarity);
        benchmark::DoNotOptimize(similarity.data);
    }
}

} // namespace

BENCHMARK(pair_distances<veloria::measure_pairs>)->Name("pair_distances")->Arg(599)->Arg(7199);
BENCHMARK(pair_distances<plain::measure_pairs>)->Name("pair_distances_plain")->Arg(599)->Arg(7199);
BENCHMARK(histogram);
BENCHMARK(histogram_plain);
BENCHMARK(mapping);
BENCHMARK(mapping_plain);
BENCHMARK(distance_stage)->Unit(benchmark::kMillisecond)->Arg(599)->Arg(2999)->Arg(7199);
BENCHMARK(distance_stage_plain)->Unit(benchmark::kMillisecond)->Arg(599)->Arg(2999)->Arg(7199);
