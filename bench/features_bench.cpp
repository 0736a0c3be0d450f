#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

#include "features/extract_feature_streams.h"
#include "features/harmonic.h"
#include "features/mel_cepstrum.h"
#include "features/mel_filter_bank.h"
#include "features/octave_bands.h"
#include "features/pitch_map.h"
#include "features/power_spectrum.h"
#include "features/running_median.h"
#include "features/timbre.h"
#include "features/transpose.h"
#include "tests/support/plain_features.h"
#include "tests/support/progress.h"

namespace {

constexpr int rate_hz = 11025;
constexpr int transform_size = 2048;
constexpr int bins = transform_size / 2 + 1;
constexpr int spectra = 200; // enough that no branch is learnt by heart
constexpr int frames_of_five_minutes = 11250;

// Partials over noise that falls with frequency.
tavel::Vector<double> music(int seconds)
{
    std::minstd_rand random(1);
    std::uniform_real_distribution<double> noise(-0.01, 0.01);
    tavel::Vector<double> samples(seconds * rate_hz);
    double low_passed = 0.0;
    for (int i = 0; i < samples.size; ++i) {
        const double phase = 2.0 * std::numbers::pi * 110.0 * (1 + i / rate_hz % 7) * i / rate_hz;
        low_passed = 0.9 * low_passed + noise(random);
        samples.data[i] =
            low_passed + 0.2 * std::sin(phase) + 0.1 * std::sin(2.0 * phase) + 0.05 * std::sin(5.0 * phase);
    }
    return samples;
}

// Powers as frames of noise have them, on a slope of 30 dB.
std::vector<float> random_spectra()
{
    std::minstd_rand random(1);
    std::exponential_distribution<float> power;
    std::vector<float> powers;
    for (int i = 0; i < spectra * bins; ++i)
        powers.push_back(power(random) * std::exp(-static_cast<float>(i % bins) / 150.0f));
    return powers;
}

// The mel bank bin by bin: each bin adds to the filters that it lies in, two at most.
class mel_scatter {
public:
    explicit mel_scatter(const veloria::mel_filter_bank& bank) : entries(bins)
    {
        for (std::size_t n = 0; n < bank.filters.size(); ++n) {
            const float* weight = bank.weights.data() + bank.filters[n].first_weight;
            for (int i = 0; i < bank.filters[n].bin_count; ++i) {
                auto& [first, second] = entries[static_cast<std::size_t>(bank.filters[n].first_bin + i)];
                (first.weight == 0.0f ? first : second) = {n, weight[i]};
            }
        }
    }

    void energies(const float* power, float* result) const
    {
        std::fill_n(result, veloria::mel_filter_count, 0.0f);
        for (std::size_t k = 0; k < entries.size(); ++k)
            for (const entry& e : entries[k])
                if (e.weight != 0.0f)
                    result[e.filter] += e.weight * power[k];
    }

private:
    struct entry {
        std::size_t filter;
        float weight;
    };
    std::vector<std::array<entry, 2>> entries;
};

template <class KERNEL>
void run_over_spectra(benchmark::State& state, const KERNEL& kernel)
{
    const std::vector<float> powers = random_spectra();
    std::size_t frame = 0;
    for (auto _ : state) {
        kernel(powers.data() + frame * bins);
        frame = (frame + 1) % spectra;
    }
    state.SetItemsProcessed(state.iterations());
}

// The octave bands and the mel bank of one frame.
void bands_and_mel(benchmark::State& state)
{
    const auto bands = veloria::make_octave_bands(transform_size);
    const auto bank = veloria::design_mel_filter_bank(transform_size, rate_hz);
    std::vector<std::int32_t> keys(bins);
    std::array<float, veloria::mel_filter_count> energies;
    run_over_spectra(state, [&](const float* power) {
        for (const auto& band : bands)
            benchmark::DoNotOptimize(veloria::measure_band(power, band, keys.data()));
        veloria::mel_energies(bank, power, energies.data());
        benchmark::DoNotOptimize(energies);
    });
}
BENCHMARK(bands_and_mel);

void bands_and_mel_plain(benchmark::State& state)
{
    const auto bands = veloria::make_octave_bands(transform_size);
    const mel_scatter bank(veloria::design_mel_filter_bank(transform_size, rate_hz));
    std::vector<float> scratch;
    std::array<float, veloria::mel_filter_count> energies;
    run_over_spectra(state, [&](const float* power) {
        for (const auto& band : bands)
            benchmark::DoNotOptimize(plain::measure_band(power, band, scratch));
        bank.energies(power, energies.data());
        benchmark::DoNotOptimize(energies);
    });
}
BENCHMARK(bands_and_mel_plain);

void octave_bands(benchmark::State& state)
{
    const auto bands = veloria::make_octave_bands(transform_size);
    std::vector<std::int32_t> keys(bins);
    run_over_spectra(state, [&](const float* power) {
        for (const auto& band : bands)
            benchmark::DoNotOptimize(veloria::measure_band(power, band, keys.data()));
    });
}
BENCHMARK(octave_bands);

void octave_bands_plain(benchmark::State& state)
{
    const auto bands = veloria::make_octave_bands(transform_size);
    std::vector<float> scratch;
    run_over_spectra(state, [&](const float* power) {
        for (const auto& band : bands)
            benchmark::DoNotOptimize(plain::measure_band(power, band, scratch));
    });
}
BENCHMARK(octave_bands_plain);

void mel_energies(benchmark::State& state)
{
    const auto bank = veloria::design_mel_filter_bank(transform_size, rate_hz);
    std::array<float, veloria::mel_filter_count> energies;
    run_over_spectra(state, [&](const float* power) {
        veloria::mel_energies(bank, power, energies.data());
        benchmark::DoNotOptimize(energies);
    });
}
BENCHMARK(mel_energies);

void mel_energies_plain(benchmark::State& state)
{
    const mel_scatter bank(veloria::design_mel_filter_bank(transform_size, rate_hz));
    std::array<float, veloria::mel_filter_count> energies;
    run_over_spectra(state, [&](const float* power) {
        bank.energies(power, energies.data());
        benchmark::DoNotOptimize(energies);
    });
}
BENCHMARK(mel_energies_plain);

void mel_cepstrum(benchmark::State& state)
{
    const auto table = veloria::make_cepstrum_table();
    std::array<double, veloria::cepstrum_size> coefficients;
    run_over_spectra(state, [&](const float* power) {
        veloria::mel_cepstrum(table, power, coefficients.data());
        benchmark::DoNotOptimize(coefficients);
    });
}
BENCHMARK(mel_cepstrum);

void pitch_powers(benchmark::State& state)
{
    const auto map = veloria::build_pitch_map(transform_size, rate_hz, 77.0, 1500.0);
    std::array<double, 12> column{};
    run_over_spectra(state, [&](const float* power) {
        veloria::add_pitch_powers(map, power, 0.1f, 1.0f, column.data());
        benchmark::DoNotOptimize(column);
    });
}
BENCHMARK(pitch_powers);

void power_spectrum(benchmark::State& state)
{
    const tavel::Vector<float> window(881, 0.01f);
    tavel::Vector<float> buffer(transform_size + 2);
    tavel::Vector<float> power(bins);
    run_over_spectra(state, [&](const float* frame) {
        std::copy_n(frame, window.size, buffer.data);
        veloria::power_spectrum(window, transform_size, buffer, power);
        benchmark::DoNotOptimize(power.data);
    });
}
BENCHMARK(power_spectrum);

tavel::Matrix<double> random_pitch_classes()
{
    std::minstd_rand random(1);
    std::uniform_real_distribution<double> value(0.0, 1.0);
    tavel::Matrix<double> matrix(12, frames_of_five_minutes);
    for (int c = 0; c < matrix.columns; ++c)
        for (int r = 0; r < matrix.rows; ++r)
            matrix(r, c) = value(random);
    return matrix;
}

// Ten frames of twelve pitch classes; what is filtered once may be filtered again.
void running_median(benchmark::State& state)
{
    tavel::Matrix<double> matrix = random_pitch_classes();
    for (auto _ : state)
        veloria::median_filter_rows(matrix, 10);
    state.SetItemsProcessed(state.iterations() * matrix.columns * matrix.rows);
}
BENCHMARK(running_median)->Unit(benchmark::kMillisecond);

void running_median_plain(benchmark::State& state)
{
    const tavel::Matrix<double> matrix = random_pitch_classes();
    for (auto _ : state)
        benchmark::DoNotOptimize(plain::median_of_rows(matrix, 10).data);
    state.SetItemsProcessed(state.iterations() * matrix.columns * matrix.rows);
}
BENCHMARK(running_median_plain)->Unit(benchmark::kMillisecond);

void transpose_in_place(benchmark::State& state)
{
    tavel::Matrix<double> matrix = random_pitch_classes();
    for (auto _ : state)
        veloria::transpose_in_place(matrix);
    state.SetItemsProcessed(state.iterations() * matrix.columns * matrix.rows);
}
BENCHMARK(transpose_in_place)->Unit(benchmark::kMillisecond);

// Whole extractors: items are seconds of sound.
void timbre(benchmark::State& state)
{
    const tavel::Vector<double> samples = music(30);
    const int hop = static_cast<int>(state.range(0));
    const tavel::Slice<int> frames(3 * hop / 2 - 1, samples.size - 3 * hop / 2, hop);
    tavel::Matrix<double> cepstrum(frames.count, 13);
    tavel::Matrix<double> contrast(frames.count, 12);
    for (auto _ : state) {
        veloria::extract_timbre(samples, rate_hz, 3 * hop, frames, cepstrum, &contrast, unread_progress());
    }
    state.SetItemsProcessed(state.iterations() * 30);
}
BENCHMARK(timbre)->Arg(147)->Arg(294)->Unit(benchmark::kMillisecond);

void harmonic(benchmark::State& state)
{
    const tavel::Vector<double> samples = music(30);
    tavel::Matrix<double> matrix;
    tavel::Slice<int> frames;
    for (auto _ : state) {
        veloria::extract_harmonic(samples, rate_hz, 882, 294, 77.0, 1500.0, 0.001, matrix, frames, unread_progress());
    }
    state.SetItemsProcessed(state.iterations() * 30);
}
BENCHMARK(harmonic)->Unit(benchmark::kMillisecond);

// All streams of a selection over five minutes.
void feature_streams(benchmark::State& state)
{
    const tavel::Vector<double> samples = music(300);
    const auto features = static_cast<veloria::feature_selection>(state.range(0));
    for (auto _ : state) {
        tavel::Slice<int> frames;
        tavel::Vector<tavel::Matrix<double>> streams;
        veloria::extract_feature_streams(samples, rate_hz, features, frames, streams, unread_progress());
    }
    state.SetItemsProcessed(state.iterations() * 300);
}
BENCHMARK(feature_streams)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

} // namespace
