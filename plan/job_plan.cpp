#include "plan/job_plan.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <numeric>
#include <vector>

#include "audio/resampler.h"
#include "features/framing.h"
#include "features/mel_cepstrum.h"
#include "features/octave_bands.h"
#include "modeling/frame_grid.h"
#include "modeling/time_grid.h"
#include "road/settings.h"
#include "tavel/slice.h"

namespace plan {

namespace {

constexpr int analysis_rate_hz = static_cast<int>(veloria::analysis_rate);
constexpr double cell_bytes = sizeof(double);

double samples_of(const sound_shape& sound)
{
    const int divisor = std::gcd(sound.rate_hz, analysis_rate_hz);
    const double up = analysis_rate_hz / divisor;
    return std::ceil(up * static_cast<double>(sound.frames) / (sound.rate_hz / divisor));
}

tavel::Slice<int> frames_of(double samples, const veloria::framing& layout)
{
    constexpr double most = std::numeric_limits<int>::max(); // longer sounds are refused
    return {layout.half(), static_cast<int>(std::min(samples, most)) - 1 - layout.half(), layout.hop};
}

std::int64_t moments_of(const tavel::Slice<int>& frames, double duration, double step)
{
    // A finer grid takes too long for a look. It has a center at nearly every frame.
    constexpr double finest_grid = 1.0e7;
    if (duration / step > finest_grid)
        return frames.count;
    const double first_time = (frames.start + 1.0) / analysis_rate_hz;
    const double frame_rate = static_cast<double>(analysis_rate_hz) / frames.step;
    return veloria::place_frame_centers(veloria::time_grid(duration, step), first_time, frame_rate, frames.count).size;
}

// Columns of the feature streams.
std::vector<double> feature_columns(veloria::features_type features)
{
    constexpr double pitch_classes = 12.0;
    std::vector<double> columns;
    if (features != veloria::harmo)
        columns = {veloria::cepstrum_size, 2.0 * veloria::octave_band_count};
    if (features != veloria::timbre)
        columns.push_back(pitch_classes);
    return columns;
}

// Columns of a modeled stream: averages, those and variances, those and three bands, pairs of leader and follower.
double modeled_columns(double columns, veloria::modeling_type modeling)
{
    const std::array<double, 4> widths{columns, 2.0 * columns, 4.0 * columns, columns * columns};
    return widths[static_cast<std::size_t>(modeling)];
}

// Three blocks of each file stay until the sound is loaded. A block is ten of the load's requests long, up to the next
// power of two.
double reader_bytes(const sound_shape& sound)
{
    const double request = std::min(static_cast<double>(sound.frames), 1.0 * corvane::Resampler::block_size);
    double block = 512.0;
    while (block < 10.0 * request)
        block *= 2.0;
    return 3.0 * block * std::accumulate(sound.channels.begin(), sound.channels.end(), 0.0) * cell_bytes;
}

double memory_of(const sound_shape& sound, double samples, double frames, double moments,
                 veloria::features_type features, veloria::modeling_type modeling, double step)
{
    constexpr double program_bytes = 1.3e7;
    double feature_cells = 0.0, modeled_cells = 0.0;
    for (const double columns : feature_columns(features)) {
        feature_cells += columns * frames;
        modeled_cells += modeled_columns(columns, modeling) * moments;
    }
    const double most_channels = *std::max_element(sound.channels.begin(), sound.channels.end());
    const double load = most_channels * corvane::Resampler::block_size * cell_bytes;
    const double grid = sound.seconds() / step;
    const double extraction = (samples + grid + feature_cells) * cell_bytes;
    const double modeled = (grid + feature_cells + modeled_cells) * cell_bytes;
    const double distances = moments * moments * (cell_bytes + 1.0); // and what becomes of them, in bytes
    return program_bytes +
           std::max({samples * cell_bytes + reader_bytes(sound) + load, extraction, modeled, distances});
}

std::int64_t to_bytes(double bytes)
{
    constexpr double most = 9.0e18;
    return static_cast<std::int64_t>(std::min(bytes, most));
}

} // namespace

job_plan plan_job(const sound_shape& sound, veloria::features_type features, veloria::modeling_type modeling,
                  double step_seconds)
{
    const double samples = samples_of(sound);
    const auto layout = veloria::framing_of(static_cast<veloria::feature_selection>(features));
    const tavel::Slice<int> frames = frames_of(samples, layout);
    const std::int64_t moments = moments_of(frames, sound.seconds(), step_seconds);

    const double n = static_cast<double>(moments);
    // Each moment has 64 bytes of headers and its n bytes, padded to a multiple of 8.
    constexpr double head_bytes = 1024.0;
    const double file = head_bytes + n * (64.0 + 8.0 * std::ceil(n / 8.0));
    return {sound.seconds(), moments,
            to_bytes(memory_of(sound, samples, frames.count, n, features, modeling, step_seconds)), to_bytes(file)};
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

} // namespace plan
