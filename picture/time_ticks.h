#pragma once

#include <string>
#include <vector>

namespace picture {

/// Minutes and seconds, with hours from the first on, rounded to so many decimals.
std::string time_text(double seconds, int decimals);

struct time_tick {
    double seconds;
    std::string label; ///< minutes and seconds, with hours if the axis reaches one; empty for a tick between two
};

/// Ticks at round times of an axis, in ascending order.
/// @param begin, end  seconds
/// @param most        labels that have room, 2 or more
/// @return none if the times are no ordinary ones: equal, or beyond 1e9 seconds
std::vector<time_tick> time_ticks(double begin, double end, int most);

} // namespace picture
