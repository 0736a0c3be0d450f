#include "modeling/frame_grid.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "tavel/saturate.h"

namespace veloria {

namespace {

int round_to_int(double x)
{
    return tavel::saturate_cast<int>(std::round(x));
}

} // namespace

int modeling_window_frames(double seconds, double frame_rate)
{
    const int frames = std::max(round_to_int(seconds * frame_rate), 0);
    return frames % 2 == 0 ? frames - 1 : frames;
}

frame_window window_around(int center, int modeling_frames, int frames)
{
    const std::int64_t half = modeling_frames >> 1; // -1 of a window without frames stays -1
    const std::int64_t first = std::max<std::int64_t>(center - half, 0);
    const std::int64_t last = std::min<std::int64_t>(center + half, frames - 1);
    return {static_cast<int>(first), static_cast<int>(std::max<std::int64_t>(last - first + 1, 0))};
}

tavel::Vector<int> place_frame_centers(const std::vector<double>& grid, double t0, double frame_rate, int frames)
{
    tavel::Vector<int> centers;
    centers.reserve(static_cast<int>(std::min<std::size_t>(grid.size(), static_cast<std::size_t>(frames))));
    const int last = frames - 1;
    int previous = -1;
    for (const double time : grid) {
        const int center = std::max(round_to_int((time - t0) * frame_rate), 0);
        if (center <= previous)
            continue;
        if (center <= last)
            centers.push_back(center);
        if (center >= last)
            break;
        previous = center;
    }
    return centers;
}

tavel::Vector<double> times_of_frames(const tavel::Vector<int>& frame_centers, const tavel::Slice<int>& frame_slice,
                                      double sr)
{
    tavel::Vector<double> times(frame_centers.size);
    for (int i = 0; i < times.size; ++i)
        times[i] = (frame_slice.start + 1 + frame_slice.step * frame_centers[i]) * (1.0 / sr);
    return times;
}

} // namespace veloria
