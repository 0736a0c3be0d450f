#include "marquen/job_plan.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>
#include <stdexcept>

namespace marquen {

namespace {

constexpr int analysis_rate_hz = 11025;

// How the frames of the analysis lie on the sound, in samples.
struct framing {
    int window, hop;

    int half() const { return (window - 1) / 2; }
    std::int64_t count(double samples) const
    {
        const double room = samples - 1 - 2 * half();
        return room < 0 ? 0 : static_cast<std::int64_t>(room / hop) + 1;
    }
};

framing framing_of(veloria::features_type features)
{
    return features == veloria::timbre ? framing{441, 147} : framing{882, 294};
}

double samples_of(const sound_shape& sound)
{
    const int divisor = std::gcd(sound.rate_hz, analysis_rate_hz);
    const double up = analysis_rate_hz / divisor;
    return std::ceil(up * static_cast<double>(sound.frames) / (sound.rate_hz / divisor));
}

// The number of window centres, one each step; none stands closer than one step to an end of the sound.
double grid_count(double duration, double step)
{
    if (!(duration > step))
        return 0.0;
    const double tolerance = 1.0 + (duration - step) * std::numeric_limits<double>::epsilon();
    return std::trunc((duration - step - step) * tolerance / step) + 1.0;
}

// Each centre stands for the frame next to it; centres that share a frame share a row, and the rows end with the
// frames. The recurrence is the analysis' own: where a centre lies between two frames its rounding decides.
std::int64_t count_rows(double step, std::int64_t centres, const framing& frames, std::int64_t frame_count)
{
    const double frame_rate = static_cast<double>(analysis_rate_hz) / frames.hop;
    const double first_time = (frames.half() + 1.0) / analysis_rate_hz;
    const double last_centre = step + step * static_cast<double>(centres - 1);
    double centre = step;
    double previous = -1.0;
    std::int64_t rows = 0;
    for (std::int64_t k = 0; k < centres; ++k) {
        if (k > 0)
            centre += (last_centre - centre) / static_cast<double>(centres - k);
        const double frame = std::max(0.0, std::round((centre - first_time) * frame_rate));
        if (frame <= previous)
            continue;
        if (frame >= static_cast<double>(frame_count - 1))
            return rows + (frame == static_cast<double>(frame_count - 1) ? 1 : 0);
        previous = frame;
        ++rows;
    }
    return rows;
}

std::int64_t to_bytes(double bytes)
{
    constexpr double most = 9.0e18;
    return static_cast<std::int64_t>(std::min(bytes, most));
}

} // namespace

job_plan plan_job(const sound_shape& sound, const options& chosen)
{
    // Walking a finer grid takes too long for a look. It has a centre at nearly every frame.
    constexpr double finest_grid = 1.0e8;
    const framing frames = framing_of(chosen.features);
    const double samples = samples_of(sound);
    const double centres = grid_count(sound.seconds(), chosen.modeling_step);
    const std::int64_t frame_count = frames.count(samples);
    const std::int64_t rows =
        centres > finest_grid
            ? frame_count
            : count_rows(chosen.modeling_step, static_cast<std::int64_t>(centres), frames, frame_count);

    // Distances and their sum over the streams, 8 bytes a cell each, and the bytes of the picture.
    const double n = static_cast<double>(rows);
    const double memory = 8.0 * n * n * 2.0 + n * n + 8.0 * samples + 8.0 * centres;
    // Each row has 64 bytes of headers and its n bytes, padded to a multiple of 8.
    constexpr double head_bytes = 1024.0;
    const double file = head_bytes + n * (64.0 + 8.0 * std::ceil(n / 8.0));
    return {sound.seconds(), rows, to_bytes(memory), to_bytes(file)};
}

void check_memory(const job_plan& plan, const options& chosen)
{
    if (plan.memory_bytes <= chosen.max_memory)
        return;
    throw std::runtime_error("the job (n = " + std::to_string(plan.rows) + ") needs about " +
                             readable_size(plan.memory_bytes) + " of memory, of which " +
                             readable_size(chosen.max_memory) +
                             " may be used: take a longer --window_grid_hop or a shorter sound, or raise --max_memory");
}

std::string readable_size(std::int64_t bytes)
{
    static constexpr const char* units[] = {"bytes", "kB", "MB", "GB", "TB", "PB", "EB"};
    double size = static_cast<double>(bytes);
    int unit = 0;
    for (; size >= 1000.0; ++unit)
        size /= 1000.0;
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", size, units[unit]);
    return text;
}

} // namespace marquen
