#pragma once

#include <vector>

namespace veloria {

/// Centers of the modeling windows, seconds, ascending: `step` apart, none closer than one step to either end of
/// the sound. Center k is center k - 1 plus an equal part of what is left to the last center, which is so reached
/// exactly; the centers are not products of the step.
/// @param duration length of the sound, seconds
/// @param step     seconds; infinite or NaN gives an empty grid
/// @throws tavel::error "Slice<INDEX>:: creating slice with offset 0 is not supported\n" for a step of 0;
///         std::bad_alloc, std::length_error for more centers than memory holds
std::vector<double> time_grid(double duration, double step);

} // namespace veloria
