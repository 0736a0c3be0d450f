#include "audio/resampler.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "fft/window.h"
#include "tavel/error.h"
#include "tavel/saturate.h"
#include "tavel/sig_proc/tavel_firls.h"
#include "tavel/tavel_dense_vector.h"

namespace corvane {

rational rational_ratio(double x)
{
    const double tolerance = std::max(1e-12, std::abs(x) * std::numeric_limits<double>::epsilon());
    double numerator = 1.0, denominator = 0.0;
    double last_numerator = 0.0, last_denominator = 1.0;
    for (double y = x;; y = 1.0 / y) {
        const double digit = std::round(y);
        last_numerator = std::exchange(numerator, numerator * digit + last_numerator);
        last_denominator = std::exchange(denominator, denominator * digit + last_denominator);
        // !(a >= b) and not a < b, so that a NaN ends the loop. Tested before 1 / y, which is 1 / 0 if the fraction is
        // exact.
        if (!(std::abs(numerator / denominator - x) >= tolerance))
            break;
        y -= digit;
    }
    const double sign = denominator < 0.0 ? -1.0 : 1.0;
    return {tavel::saturate_cast<std::uint32_t>(numerator / sign),
            tavel::saturate_cast<std::uint32_t>(std::abs(denominator))};
}

namespace {

constexpr std::int64_t half_length = 10; // of the filter, in steps of the coarser grid
constexpr double kaiser_beta = 5.0;

filter_sizes size_filter(const rational& ratio)
{
    filter_sizes filter{.up = ratio.numerator, .down = ratio.denominator};
    const std::int64_t order = 2 * half_length * std::max(filter.up, filter.down);
    if (order >= std::numeric_limits<int>::max())
        throw std::length_error("resampling filter too long");
    filter.padding = filter.down - order / 2 % filter.down;
    filter.length = order + 1 + filter.padding;
    filter.latency = (filter.length - 1 + 2 * filter.down - 1) / (2 * filter.down);
    filter.taps = (filter.length + filter.up - 1) / filter.up;
    filter.taps += filter.taps % 2;
    return filter;
}

// One row of `taps` per phase: every up-th coefficient, reversed in time.
std::vector<double> design_phases(const filter_sizes& filter)
{
    const int coefficients = static_cast<int>(filter.length - filter.padding);
    const double cutoff = 0.5 / static_cast<double>(std::max(filter.up, filter.down));
    const tavel::Vector<double> lowpass =
        tavel::firls(coefficients - 1, {0.0, 2.0 * cutoff, 2.0 * cutoff, 1.0}, {1.0, 1.0, 0.0, 0.0});
    tavel::Vector<double> window(coefficients);
    libfft::make_window(libfft::window_kind::kaiser, coefficients, window.data, kaiser_beta);

    std::vector<double> phases(static_cast<std::size_t>(filter.up * filter.taps));
    double* const table = phases.data();
    const double gain = static_cast<double>(filter.up);
    for (int i = 0; i < coefficients; ++i) {
        const std::int64_t e = filter.padding + i;
        const std::int64_t row = e % filter.up, tap = filter.taps - 1 - e / filter.up;
        table[row * filter.taps + tap] = gain * lowpass[i] * window[i];
    }
    return phases;
}

} // namespace

Resampler::Resampler(int target_hz, int source_hz)
{
    if (target_hz < 1 || source_hz < 1)
        throw tavel::error("The resampler can't operate with sampling rates equal to zero.\n"
                           "                     Check the user code for roundings.");
    const rational ratio = rational_ratio(static_cast<double>(target_hz) / source_hz);
    if (ratio.numerator != ratio.denominator) {
        filter = size_filter(ratio);
        output_count(block_size); // refuses a ratio that can't work before a filter of its length is designed
        phases = design_phases(filter);
    }
    input.resize(static_cast<std::size_t>(std::max<std::int64_t>(filter.taps, 1) - 1 + block_size));
}

// Outputs, dropped ones included, that fall on the next `n` samples.
std::int64_t Resampler::positions(int n) const
{
    return (n * filter.up - phase + filter.down - 1) / filter.down;
}

std::int64_t Resampler::output_count(int n) const
{
    const std::int64_t count = std::max<std::int64_t>(0, positions(n) - (first_block ? filter.latency : 0));
    if (count == 0 && phase < n * filter.up % filter.down)
        throw tavel::error("The resampling ratio is too low for this frame size: increase the frame size");
    return count;
}

namespace {

using pair = double __attribute__((vector_size(16)));

pair load(const double* source)
{
    pair values;
    std::memcpy(&values, source, sizeof values);
    return values;
}

// The dot products of one row with COUNT stretches of the input, side by side to hide the latency of the additions.
// Even and odd taps are summed apart, in the two lanes, and added at the end.
template <int COUNT>
void filter_stretches(const double* row, std::ptrdiff_t taps, const double* input, std::ptrdiff_t input_step,
                      double* output, std::ptrdiff_t output_step)
{
    pair sums[COUNT] = {};
    for (std::ptrdiff_t t = 0; t < taps; t += 2)
        for (int m = 0; m < COUNT; ++m)
            sums[m] += load(row + t) * load(input + m * input_step + t);
    for (int m = 0; m < COUNT; ++m)
        output[m * output_step] = sums[m][0] + sums[m][1];
}

} // namespace

void Resampler::run(int n, std::span<double> out)
{
    const std::int64_t count = output_count(n);
    if (static_cast<std::int64_t>(out.size()) < count)
        throw tavel::error("Output vector too small.");
    if (filter.taps == 0) {
        std::copy_n(input.begin(), n, out.begin());
        return;
    }
    const std::int64_t all = positions(n);
    // Outputs that are `up` apart share a row of coefficients, and their stretches lie `down` samples apart.
    const std::int64_t up = filter.up, down = filter.down;
    double* const outputs = out.data();
    std::int64_t position = phase + (all - count) * down;
    for (std::int64_t first = 0; first < std::min(up, count); ++first, position += down) {
        const double* const row = phases.data() + position % up * filter.taps;
        const double* stretch = input.data() + position / up;
        std::int64_t m = first;
        for (; m + 3 * up < count; m += 4 * up, stretch += 4 * down)
            filter_stretches<4>(row, filter.taps, stretch, down, outputs + m, up);
        for (; m < count; m += up, stretch += down)
            filter_stretches<1>(row, filter.taps, stretch, down, outputs + m, up);
    }
    phase += all * filter.down - n * filter.up;
    first_block = false;
    std::copy_n(input.begin() + n, filter.taps - 1, input.begin());
}

void Resampler::flush(std::span<double> out) const
{
    if (static_cast<std::int64_t>(out.size()) < filter.latency)
        throw tavel::error("Output vector too small.");
    // The terms of samples past the end are left out.
    std::int64_t position = phase;
    for (double& output : out.first(static_cast<std::size_t>(filter.latency))) {
        const double* const row = phases.data() + position % filter.up * filter.taps;
        const std::int64_t shift = position / filter.up;
        const double* const history = input.data() + shift;
        double sum = 0.0;
        for (std::int64_t t = 0; t < filter.taps - shift - 1; ++t)
            sum += history[t] * row[t];
        output = sum;
        position += filter.down;
    }
}

} // namespace corvane
