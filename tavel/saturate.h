#pragma once

#include <concepts>
#include <limits>

namespace tavel {

/// The value as an integer, its fraction cut off. What lies beyond the integer's range becomes the nearest end of it,
/// a NaN becomes 0.
template <std::integral INT>
constexpr INT saturate_cast(double value)
{
    constexpr INT least = std::numeric_limits<INT>::min(), greatest = std::numeric_limits<INT>::max();
    constexpr double low = static_cast<double>(least);
    if constexpr (std::numeric_limits<INT>::digits <= std::numeric_limits<double>::digits) {
        // Both ends are exact, and a value that is bounded before it is converted leaves a loop without branches.
        constexpr double high = greatest;
        const double above = value > low ? value : low;
        const double bounded = above < high ? above : high;
        return static_cast<INT>(value == value ? bounded : 0.0);
    } else {
        constexpr double beyond = 2.0 * static_cast<double>(greatest / 2 + 1);
        if (value >= beyond)
            return greatest;
        if (value > low)
            return static_cast<INT>(value);
        return value <= low ? least : INT{0};
    }
}

} // namespace tavel
