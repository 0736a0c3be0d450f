#include "features/octave_bands.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace veloria {

namespace {

// Taken for integers, the bits of floats that are not negative have the order of the floats, with NaN last. Inverted,
// they have the opposite order.
enum key_order : std::int32_t { ascending = 0, descending = -1 };

constexpr std::int32_t magnitude_bits = 0x7fffffff;

void order_keys(const float* __restrict power, int count, std::int32_t order, std::int32_t* __restrict keys)
{
    for (int i = 0; i < count; ++i)
        keys[i] = (std::bit_cast<std::int32_t>(power[i]) & magnitude_bits) ^ order;
}

struct key_range {
    std::int32_t smallest;
    std::int32_t largest;
};

key_range range_of_keys(const std::int32_t* keys, int count)
{
    key_range range{keys[0], keys[0]};
    for (int i = 1; i < count; ++i) {
        range.smallest = std::min(range.smallest, keys[i]);
        range.largest = std::max(range.largest, keys[i]);
    }
    return range;
}

int count_keys_below(const std::int32_t* keys, int count, std::int32_t bound)
{
    int below = 0;
    for (int i = 0; i < count; ++i)
        below += keys[i] < bound ? 1 : 0;
    return below;
}

// Eight sums side by side; what isn't below the bound adds a zero.
float sum_powers_below(const std::int32_t* keys, int count, std::int32_t bound, std::int32_t order)
{
    constexpr int lanes = 8;
    const auto term = [=](int i) { return std::bit_cast<float>(keys[i] < bound ? keys[i] ^ order : 0); };
    float sums[lanes] = {};
    int i = 0;
    for (; i + lanes <= count; i += lanes)
        for (int lane = 0; lane < lanes; ++lane)
            sums[lane] += term(i + lane);
    float sum = 0.0f;
    for (const float lane_sum : sums)
        sum += lane_sum;
    for (; i < count; ++i)
        sum += term(i);
    return sum;
}

// Mean of the powers with the `wanted` smallest keys. Bisects the range of the keys for a bound with that many keys
// below it. There is none if several keys are equal at the edge: the search then ends on their value, which fills up
// the sum.
float mean_of_smallest(const std::int32_t* keys, int count, int wanted, std::int32_t order)
{
    const key_range range = range_of_keys(keys, count);
    std::int64_t bound = range.smallest;
    std::int64_t above = std::int64_t{range.largest} + 1;
    int below = 0;
    while (below != wanted && above - bound > 1) {
        const std::int64_t middle = bound + (above - bound) / 2;
        const int below_middle = count_keys_below(keys, count, static_cast<std::int32_t>(middle));
        if (below_middle <= wanted) {
            bound = middle;
            below = below_middle;
        } else {
            above = middle;
        }
    }
    const auto shared_key = static_cast<std::int32_t>(bound);
    float sum = sum_powers_below(keys, count, shared_key, order);
    if (below < wanted)
        sum += static_cast<float>(wanted - below) * std::bit_cast<float>(shared_key ^ order);
    return sum / static_cast<float>(wanted);
}

} // namespace

std::array<octave_band, octave_band_count> make_octave_bands(int transform_size)
{
    std::array<octave_band, octave_band_count> bands;
    int first_bin = 0;
    int last_bin = transform_size / 64;
    for (octave_band& band : bands) {
        band = {first_bin, last_bin, static_cast<int>(std::ceil(0.05 * (last_bin + 1 - first_bin)))};
        first_bin = last_bin;
        last_bin *= 2;
    }
    return bands;
}

band_extremes measure_band(const float* power, const octave_band& band, std::int32_t* keys)
{
    band_extremes extremes;
    order_keys(power + band.first_bin, band.size(), descending, keys);
    extremes.peak = mean_of_smallest(keys, band.size(), band.edge_count, descending);
    order_keys(power + band.first_bin, band.size(), ascending, keys);
    extremes.valley = mean_of_smallest(keys, band.size(), band.edge_count, ascending);
    return extremes;
}

} // namespace veloria
