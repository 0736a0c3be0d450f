#pragma once

#include <vector>

#include "sections/parameters.h"
#include "sections/square.h"

namespace sections {

/// The equal passes of a run.
struct passes {
    int count;
    double length; ///< of each, in moments; the last has what remains
};

/// Into how many equal passes a run of one letter falls: as many as its stripe says that the part begins anew. A bar
/// or two that are played again and again within a part make stripes as well; so the passes must be more alike than
/// anything within one, and be long, or as long as the part is where it stands alone.
/// @param alone   lengths, in moments, of the other runs of this letter
/// @return a single pass where that can't be decided
passes find_passes(const square& similarity, range run, const std::vector<int>& alone, const parameters& chosen,
                   const moment_counts& counts, double step);

} // namespace sections
