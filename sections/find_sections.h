#pragma once

#include <span>
#include <string>
#include <vector>

#include "sections/parameters.h"
#include "sections/square.h"

namespace sections {

/// A part of a sound.
struct section {
    double start_seconds, end_seconds;
    std::string label; ///< A, B, ... Z, AA, AB, ...: equal parts have the same
};

/// When the moments are.
struct time_axis {
    double first_seconds;  ///< of the first moment
    double step_seconds;   ///< from one to the next, greater than 0
    double window_seconds; ///< that each stands for, greater than 0
};

/// The form of a sound: its sections in order, from 0 to half a step behind the last moment. Neighbors of one letter
/// are passes of a part that begins anew. Without moments there are none.
std::vector<section> find_sections(const square& similarity, const time_axis& times,
                                   const parameters& chosen = parameters{});

} // namespace sections
