#pragma once

#include <vector>

#include "sections/parameters.h"
#include "sections/square.h"

namespace sections {

/// Moves each cut to where the moments go over from one letter to the other, by all sections of the two letters and
/// by the stripes between them, and where neighbors differ: the cut of a block knows only its two neighbors, and
/// what rings on from one part blurs it.
/// @param letters  of the sections; those of neighbors differ
/// @return one more than sections, in moments and parts of them, from 0 to n
std::vector<double> place_cuts(const square& similarity, const std::vector<range>& sections,
                               const std::vector<int>& letters, const parameters& chosen, const moment_counts& counts);

} // namespace sections
