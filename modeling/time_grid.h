#pragma once

#include <vector>

namespace veloria {

/// Centers of the modeling windows, seconds, ascending: `step` apart, none closer than one step to either end of
/// the sound. Of n centers, c[0] = step and c[k] = c[k - 1] + (c[n - 1] - c[k - 1]) / (n - k). So the last one is
/// reached exactly, and those between may differ from (k + 1) * step in their last bits.
/// @param duration length of the sound, seconds
/// @param step     seconds; infinite or NaN gives an empty grid
/// @throws tavel::error "Slice<INDEX>:: creating slice with offset 0 is not supported\n" for a step of 0;
///         std::bad_alloc, std::length_error for more centers than memory holds
std::vector<double> time_grid(double duration, double step);

} // namespace veloria
