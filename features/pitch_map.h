#pragma once

#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Which pitch classes each bin of a power spectrum belongs to. A bin lies between two semitones and feeds the bands of
/// both, the nearer one more.
struct pitch_map {
    int first_bin;                    ///< bin of the spectrum that the first two entries belong to
    int band_count;                   ///< 12 if the range covers an octave: C, C sharp, ... B
    tavel::Vector<int> bin_bands;     ///< two for each bin: of the semitone below it, of the one above
    tavel::Vector<float> bin_weights; ///< in the same order
};

/// Maps the bins between two frequencies, both exclusive; A is 440 Hz.
/// Each pitch class that is the lower semitone of some bin has a band; the bands are in ascending order. A range
/// narrower than an octave leaves classes without a band: what belongs to such a class goes to the next higher band, or
/// to one more band above the last.
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
