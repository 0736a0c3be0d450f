#pragma once

#include <array>
#include <cstdint>

namespace veloria {

constexpr int octave_band_count = 6;

/// Bins of a power spectrum whose frequencies span an octave; both ends belong to the band.
struct octave_band {
    int first_bin;
    int last_bin;
    int edge_count; ///< how many of the smallest and of the largest powers stand for valley and peak

    int size() const { return last_bin - first_bin + 1; }
};

/// The bands of a transform's power spectrum, from 0 Hz to half the sample rate. Neighbors share a bin; the lowest
/// takes all that is below the octaves.
std::array<octave_band, octave_band_count> make_octave_bands(int transform_size);

/// Mean powers of the strongest and of the weakest bins of a band.
struct band_extremes {
    float peak;
    float valley;
};

/// @param power  powers of the whole spectrum: not negative; a NaN counts as the largest of all
/// @param keys   scratch, band.size() values
band_extremes measure_band(const float* power, const octave_band& band, std::int32_t* keys);

} // namespace veloria
