#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace veloria {

constexpr int mel_filter_count = 40;

/// The bins that one filter takes power from, and where their weights begin.
struct mel_filter {
    int first_bin;
    int bin_count; ///< 0 where the bins are too wide apart for the filter
    std::size_t first_weight;
};

/// Raised-cosine filters one step of a mel scale wide, overlapping by half, from 0 Hz to half the sample rate. The
/// weights of a filter add up to 1, so it takes the mean power of its band.
struct mel_filter_bank {
    std::array<mel_filter, mel_filter_count> filters;
    std::vector<float> weights; ///< filter after filter
};

/// Designs the bank for the power spectrum of a transform.
/// @param sr  sample rate in Hz, above 0
/// Mel scale ln(1 + f / 700): D. O'Shaughnessy, "Speech Communication: Human and Machine", Addison-Wesley, 1987.
mel_filter_bank design_mel_filter_bank(int transform_size, double sr);

/// Weighted sum of the powers under each filter.
/// @param power     transform_size / 2 + 1 values
/// @param energies  mel_filter_count values
void mel_energies(const mel_filter_bank& bank, const float* power, float* energies);

} // namespace veloria
