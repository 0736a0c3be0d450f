#pragma once

#include <vector>

#include "sections/parameters.h"
#include "sections/square.h"

namespace sections {

/// How two sections fit on each other.
struct fit {
    double mean;      ///< likeness of all moments of one to all of the other, 0 to 1
    double stripe;    ///< mean of the brightest diagonal of their rectangle that covers most of the shorter one
    int lag;          ///< from a moment on that diagonal to the one that is like it
    double stretched; ///< mean of the brightest line from corner to corner, for a part that comes again faster or
                      ///< slower; 0 where the lengths differ too much for that
};

fit fit_sections(const square& similarity, range first, range second);

/// Names equal parts alike: 0, 1, ... by first appearance. Sections are of one letter if the brightest stripe between
/// them is bright beside what is alike within them; more than two by the mean of all pairs.
std::vector<int> name_sections(const square& similarity, const std::vector<range>& sections,
                               const moment_counts& counts);

/// A row of letters that goes round and round from the start to the end, six times at least, is one part: within a
/// part that fills the whole sound, bars differ as much as parts do elsewhere.
void join_rounds(std::vector<int>& letters);

/// Neighbors of one letter become one.
void join_equal_neighbors(std::vector<range>& sections, std::vector<int>& letters);

} // namespace sections
