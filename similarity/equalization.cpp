#include "similarity/equalization.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace veloria {

namespace {

constexpr int last_bin = bin_count - 1;

// x / width, computed as one product, is wrong by some 1e-16 of itself in either direction. Estimated a little too low
// on purpose, its whole part is right or one too low; one comparison with the exact border then decides.
constexpr double underestimate = 1.0 - 1e-12;

// The bin of each distance; a NaN gets bin_count. No distance lies above the last center by more than rounding.
void find_bins(const double* distances, int count, double scale, double width, std::int32_t* __restrict bins)
{
    const double bins_per_unit = underestimate / width;
    for (int i = 0; i < count; ++i) {
        const double x = distances[i] * scale;
        const double estimate = x * bins_per_unit + 0.5;
        const double place = estimate > 0.0 ? estimate : 0.0;
        const int bin = static_cast<int>(place);
        const double center = bin * width;
        const double border = center + ((bin + 1) * width - center) / 2.0;
        const int corrected = bin + (x > border ? 1 : 0);
        bins[i] = std::isnan(x) ? bin_count : corrected;
    }
}

// Linear interpolation between the values at the centers, in place. It computes all cases and selects one instead of
// branching, so that the loop vectorizes; values[last_bin + 1] is read but never selected.
void interpolate(double* __restrict distances, int count, double scale, double width, const double* __restrict values,
                 double* __restrict largest)
{
    const double bins_per_unit = underestimate / width;
    const double first_value = values[0];
    const double last_value = values[last_bin];
    const double last_center = last_bin * width;
    for (int i = 0; i < count; ++i) {
        const double x = distances[i] * scale;
        const double estimate = x * bins_per_unit;
        const double place = estimate > 0.0 ? estimate : 0.0;
        const int low = static_cast<int>(place);
        const int lower = low + (x >= (low + 1) * width ? 1 : 0);
        const double below = lower * width;
        const double above = (lower + 1) * width;
        const double inner = ((x - below) * values[lower + 1] + (above - x) * values[lower]) / (above - below);
        // If the width is 0, all distances are in the first bin and all values are equal: either one is right.
        const double outer = x <= 0.0 ? first_value : last_value;
        const bool inside = (x > 0.0) & (x < last_center);
        const double value = inside ? inner : outer;
        largest[i] = value > largest[i] ? value : largest[i];
        distances[i] = value;
    }
}

} // namespace

distance_bins::distance_bins(double largest) : scale(1.0 / largest)
{
    // Scaling keeps the largest distance the largest. For 0 and infinity `scaled` is NaN and the width 0: all scaled
    // distances are then 0.0 or NaN.
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

distance_mapping::distance_mapping(const distance_bins& centers, const std::array<double, bin_count>& centre_values)
    : bins(centers)
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
