#pragma once

#include <vector>

namespace veloria {

/// Centres of the modeling windows, seconds, ascending: `step` apart, none closer than one step to either end of
/// the sound. They close in on the last one by a recurrence, as a colon range that reaches its end exactly, and
/// aren't products of the step.
/// @param duration length of the sound, seconds
/// @param step     seconds; infinite or NaN gives an empty grid
/// @throws tavel::error "Slice<INDEX>:: creating slice with offset 0 is not supported\n" for a step of 0;
///         std::bad_alloc, std::length_error for more centres than memory holds
std::vector<double> time_grid(double duration, double step);

} // namespace veloria
