#include "sections/parameters.h"

#include <algorithm>
#include <cmath>

namespace sections {

moment_counts count_moments(const parameters& chosen, int n, double step, double window)
{
    constexpr double most = 1e6; // as moments: also where the step is next to nothing
    const auto moments = [&](double seconds, int least) {
        return std::max(least, static_cast<int>(std::lround(std::min(seconds / step, most))));
    };
    moment_counts counts{};
    counts.shortest = moments(chosen.shortest, 2);
    counts.longest = std::max(counts.shortest, moments(chosen.longest, 2));
    counts.overlap = moments(window, 1);
    counts.smoothing = moments(chosen.smoothing, 2);
    counts.aside = moments(chosen.aside, 1);
    counts.shortest_stripe = moments(chosen.shortest_stripe, 2);
    counts.reach = moments(chosen.reach, 1);
    counts.cut_cost = std::min(std::max(chosen.cut_share * n, chosen.least_cut_cost / step), chosen.cut_cost / step);
    return counts;
}

} // namespace sections
