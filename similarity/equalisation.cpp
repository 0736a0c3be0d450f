#include "similarity/equalisation.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace veloria {

namespace {

constexpr int last_bin = bin_count - 1;

// A place estimated by one product errs by some 1e-16 of itself either way. Taken a little too low on purpose, it is
// the right one or the one below, which one comparison with the exact border decides.
constexpr double underestimate = 1.0 - 1e-12;

// The bin of each distance, bin_count for a NaN. No distance is above the last centre by more than rounding.
void find_bins(const double* distances, int count, double scale, double width, std::int32_t* __restrict bins)
{
    const double bins_per_unit = underestimate / width;
    for (int i = 0; i < count; ++i) {
        const double x = distances[i] * scale;
        const double estimate = x * bins_per_unit + 0.5;
        const double place = estimate > 0.0 ? estimate : 0.0;
        const int bin = static_cast<int>(place);
        const double centre = bin * width;
        const double border = centre + ((bin + 1) * width - centre) / 2.0;
        const int corrected = bin + (x > border ? 1 : 0);
        bins[i] = std::isnan(x) ? bin_count : corrected;
    }
}

// In place, from the values at the centres and one behind them that only has to be readable. Selects between results
// instead of branching, so that the loop vectorises.
void interpolate(double* __restrict distances, int count, double scale, double width, const double* __restrict values,
                 double* __restrict largest)
{
    const double bins_per_unit = underestimate / width;
    const double first_value = values[0];
    const double last_value = values[last_bin];
    const double last_centre = last_bin * width;
    for (int i = 0; i < count; ++i) {
        const double x = distances[i] * scale;
        const double estimate = x * bins_per_unit;
        const double place = estimate > 0.0 ? estimate : 0.0;
        const int low = static_cast<int>(place);
        const int lower = low + (x >= (low + 1) * width ? 1 : 0);
        const double below = lower * width;
        const double above = (lower + 1) * width;
        const double inner = ((x - below) * values[lower + 1] + (above - x) * values[lower]) / (above - below);
        // At 0 both are right where the width is 0: then all distances are in the first bin, and the values are equal.
        const double outer = x <= 0.0 ? first_value : last_value;
        const bool inside = (x > 0.0) & (x < last_centre);
        const double value = inside ? inner : outer;
        largest[i] = value > largest[i] ? value : largest[i];
        distances[i] = value;
    }
}

} // namespace

distance_bins::distance_bins(double largest) : scale(1.0 / largest)
{
    // The largest scaled distance is the scaled largest. 0 and infinity give a NaN here: then all distances are 0.0 or
    // NaN once scaled.
    const double scaled = largest * scale;
    width = (scaled > 0.0 ? scaled : 0.0) / last_bin;
}

void distance_histogram::add(const double* distances, int count, const distance_bins& bins)
{
    constexpr int block = 256;
    std::int32_t found[block];
    for (int start = 0; start < count; start += block) {
        const int size = std::min(block, count - start);
        find_bins(distances + start, size, bins.scale, bins.width, found);
        for (int i = 0; i < size; ++i)
            ++counters[i % turns][found[i]];
    }
}

std::array<double, bin_count> distance_histogram::counts() const
{
    std::array<double, bin_count> sums{};
    for (std::size_t k = 0; k < sums.size(); ++k)
        for (const auto& turn : counters)
            sums[k] += static_cast<double>(turn[k]);
    return sums;
}

distance_mapping::distance_mapping(const distance_bins& centres, const std::array<double, bin_count>& centre_values)
    : bins(centres)
{
    std::copy(centre_values.begin(), centre_values.end(), values.begin());
    values.back() = values[last_bin];
}

void distance_mapping::map(double* distances, int count)
{
    for (int start = 0; start < count; start += block)
        interpolate(distances + start, std::min(block, count - start), bins.scale, bins.width, values.data(),
                    largest_values.data());
}

double distance_mapping::largest() const
{
    return *std::max_element(largest_values.begin(), largest_values.end());
}

} // namespace veloria
