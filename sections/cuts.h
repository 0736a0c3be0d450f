#pragma once

#include <vector>

#include "sections/parameters.h"
#include "sections/square.h"
#include "sections/stripes.h"

namespace sections {

/// Cuts the sound where that makes the blocks on the diagonal even inside and unlike their neighbors: the best of all
/// ways to cut, by dynamic programming. A section counts its length times the mean likeness of its moments, those left
/// out whose windows overlap; each costs `cut_cost`.
/// Block matching: A. Marmoret, J. Cohen, F. Bimbot, TISMIR 6(1), 2023. Penalty per section: S. Arlot, A. Celisse,
/// Z. Harchaoui, JMLR 20, 2019.
/// @return the sections in order, from 0 to n; none if n is 0
std::vector<range> cut_blocks(const square& similarity, const common_stripes& stripes, const parameters& chosen,
                              const moment_counts& counts);

/// Mean likeness, 0 to 1, of the moments of a section to each other, those left out whose windows overlap.
double mean_within(const square& similarity, range section, int overlap);

/// Joins neighbors that hardly differ: those of a sound in which nothing changes are cut only because a section has a
/// longest length.
std::vector<range> join_blocks(const square& similarity, const std::vector<range>& sections, const parameters& chosen,
                               const moment_counts& counts);

} // namespace sections
