#include "similarity/equalization.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace veloria {

namespace {

constexpr int last_bin = bin_count - 1;

// x / width is estimated by x * (underestimate / width). The product is wrong by some 1e-16 of itself in either
// direction; the factor keeps it below the true quotient. So it leads to the right bin or to the one below, and one
// comparison with the exact border decides.
constexpr double underestimate = 1.0 - 1e-12;

// The nearest whole number, for 0 <= x < 2^51: x + 2^52 has no bits left for a fraction. It stays a double, of which a
// register holds two.
double nearest(double x)
{
    constexpr double no_fraction = 0x1p52;
    return (x + no_fraction) - no_fraction;
}

// The bin of each distance; a NaN gets bin_count. No distance lies above the last center by more than rounding.
void find_bins(const double* distances, int count, double scale, double width, double* __restrict bins)
{
    const double bins_per_unit = underestimate / width;
    for (int i = 0; i < count; ++i) {
        const double x = distances[i] * scale;
        const double estimate = x * bins_per_unit;
        const double bin = nearest(estimate > 0.0 ? estimate : 0.0);
        const double center = bin * width;
        const double border = center + ((bin + 1.0) * width - center) / 2.0;
        const double corrected = bin + (x > border ? 1.0 : 0.0);
        bins[i] = x == x ? corrected : bin_count;
    }
}

// The last center that isn't above each distance, from 0 on.
void find_lower_centers(const double* distances, int count, double scale, double width, double* __restrict lower)
{
    const double bins_per_unit = underestimate / width;
    for (int i = 0; i < count; ++i) {
        const double x = distances[i] * scale;
        const double estimate = x * bins_per_unit;
        const double low = nearest(estimate > 0.5 ? estimate - 0.5 : 0.0);
        lower[i] = low + (x >= (low + 1.0) * width ? 1.0 : 0.0);
    }
}

// Linear interpolation between the values at the center below each distance and at the one above, in place. It computes
// all cases and selects one instead of branching, so that the loop vectorizes.
void interpolate(double* __restrict distances, int count, double scale, double width, const double* __restrict lower,
                 const double* __restrict values_below, const double* __restrict values_above, double first_value,
                 double last_value, double* __restrict largest)
{
    const double last_center = last_bin * width;
    for (int i = 0; i < count; ++i) {
        const double x = distances[i] * scale;
        const double below = lower[i] * width;
        const double above = (lower[i] + 1.0) * width;
        const double inner = ((x - below) * values_above[i] + (above - x) * values_below[i]) / (above - below);
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
    double found[block];
    for (int start = 0; start < count; start += block) {
        const int size = std::min(block, count - start);
        find_bins(distances + start, size, bins.scale, bins.width, found);
        for (int i = 0; i < size; ++i)
            ++counters[i % turns][static_cast<int>(found[i])];
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

distance_mapping::distance_mapping(const distance_bins& centers, const std::array<double, bin_count>& center_values)
    : bins(centers)
{
    std::copy(center_values.begin(), center_values.end(), values.begin());
    values.back() = values[last_bin];
}

void distance_mapping::map(double* distances, int count)
{
    double lower[block], values_below[block], values_above[block];
    for (int start = 0; start < count; start += block) {
        const int size = std::min(block, count - start);
        find_lower_centers(distances + start, size, bins.scale, bins.width, lower);
        for (int i = 0; i < size; ++i) {
            const double* const value = values.data() + static_cast<int>(lower[i]);
            values_below[i] = value[0];
            values_above[i] = value[1];
        }
        interpolate(distances + start, size, bins.scale, bins.width, lower, values_below, values_above, values.front(),
                    values[last_bin], largest_values.data());
    }
}

double distance_mapping::largest() const
{
    return *std::max_element(largest_values.begin(), largest_values.end());
}

} // namespace veloria
