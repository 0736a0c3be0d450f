#pragma once

#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// How the bins of a power spectrum fall on the pitch classes: each bin feeds two bands, so that a power between
/// two semitones goes to both.
struct pitch_map {
    int first_bin;                    ///< the bin that the first entry stands for
    int band_count;                   ///< 12 where every pitch class has its bins: C, C sharp, ... B
    tavel::Vector<int> bin_bands;     ///< two for each bin
    tavel::Vector<float> bin_weights; ///< in the same order
};

/// Maps the bins between two frequencies, both exclusive; A is 440 Hz. A class that is nobody's lower neighbour has
/// no band of its own: what would fall on it goes to the next one up, above the last to one more band.
/// @throws tavel::error "min/max_elem called for empty vector \n" where no bin lies between them
/// Pitch class profile: T. Fujishima, "Realtime chord recognition of musical sound", Proc. ICMC 1999.
pitch_map build_pitch_map(int transform_size, double sr, double f_low, double f_high);

/// Adds the powers of one frame to its bands.
/// @param power   powers of the whole spectrum
/// @param bound   bins below it are left out, and so is a NaN
/// @param gain    factor of each power
/// @param column  band_count sums
void add_pitch_powers(const pitch_map& map, const float* power, float bound, float gain, double* column);

} // namespace veloria
