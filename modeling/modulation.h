#pragma once

#include <vector>

#include "road/progress.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Bins of a modulation band, both ends included.
struct modulation_band {
    int first_bin, last_bin;

    bool operator==(const modulation_band&) const = default;
};

/// The bands 1 to 2, 3 to 15 and 15 to 25 Hz on the bins of a transform, cut at the topmost bin. The list ends before
/// the first band that would begin above it.
/// @param frame_rate  frames a second
std::vector<modulation_band> modulation_bands(double frame_rate, int fft_size);

/// A small modulation spectrum of each feature over the window of each moment: how large its mean is, and how strongly
/// it moves in each of the bands above.
/// @param stream   frames by features
/// @param modeled  sized here: a row per moment; for each feature a group of columns, first the magnitude of the
///                 mean, then for each band the sum of the magnitudes of its bins
/// @throws tavel::error "realfft_vec:: Error in realfft", also for windows above 2^30 frames;
///         corvane::cancel_exception
void model_spectrum(const tavel::Matrix<double>& stream, double frame_rate, int modeling_frames,
                    const tavel::Vector<int>& frame_centers, tavel::Matrix<double>& modeled,
                    const progress_record& progress);

} // namespace veloria
