#include "modeling/time_grid.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "tavel/error.h"
#include "tavel/saturate.h"

namespace veloria {

std::vector<double> time_grid(double duration, double step)
{
    if (step == 0.0)
        throw tavel::error("Slice<INDEX>:: creating slice with offset 0 is not supported\n");
    if (!(duration > step))
        return {};
    if (!(duration > 2.0 * step))
        return {step};

    const double end = duration - step;
    const double tolerance = 1.0 + std::fmax(std::fabs(step), std::fabs(end)) * std::numeric_limits<double>::epsilon();
    const double intervals = std::trunc((end - step) * tolerance / step);
    const double last = step + step * intervals;
    const auto count = tavel::saturate_cast<std::uint64_t>(intervals + 1.0);
    std::vector<double> grid;
    grid.reserve(count);
    double center = step;
    grid.push_back(center);
    for (std::uint64_t k = 1; k < count; ++k) {
        center += (last - center) / static_cast<double>(count - k);
        grid.push_back(center);
    }
    return grid;
}

} // namespace veloria
