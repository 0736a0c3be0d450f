#include "audio/load_sound.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <new>
#include <span>
#include <stdexcept>
#include <vector>

#include "audio/resampler.h"
#include "audio/sum_channels.h"
#include "tavel/error.h"
#include "tavel/saturate.h"

namespace corvane {

using tavel::Vector;
using veloria::progress_record;

namespace {

constexpr std::uint32_t block_size = Resampler::block_size;
constexpr std::uint32_t unknown_length = 0xffffffff; // a reader's -1
constexpr std::uint32_t longest_sound = 0x80000000;  // frames that a reader's positions reach

// Reads a sound block by block as mono. A mono sound is read straight into its destination.
class mono_source {
public:
    mono_source(AbstractReader& source, int channel_count)
        : reader(source), channels(channel_count),
          interleaved(channels == 1 ? 0 : static_cast<std::size_t>(channels) * block_size)
    {}

    void read(std::uint32_t position, std::uint32_t count, double* samples)
    {
        const int start = static_cast<int>(position), frames = static_cast<int>(count);
        if (channels == 1) {
            reader.read(samples, start, frames);
            return;
        }
        reader.read(interleaved.data(), start, frames);
        sum_channels(interleaved.data(), channels, frames, samples);
        const double divisor = channels;
        for (int i = 0; i < frames; ++i)
            samples[i] /= divisor;
    }

private:
    AbstractReader& reader;
    int channels;
    std::vector<double> interleaved;
};

int checked_length(double length)
{
    if (length > std::numeric_limits<int>::max())
        throw std::length_error("the sound is too long");
    return static_cast<int>(length);
}

int load_unchanged(mono_source& source, std::uint32_t frames, Vector<double>& output, const progress_record& progress)
{
    output.resize(checked_length(frames));
    for (std::uint32_t position = 0; position < frames;) {
        const std::uint32_t block = std::min(frames - position, block_size);
        source.read(position, block, output.data + position);
        position += block;
        report_progress(progress, position);
    }
    return output.size;
}

// Runs the block in the input area into the front of `room`; returns the room behind its samples.
std::span<double> run_block(Resampler& resampler, std::uint32_t block, std::span<double> room)
{
    const int n = static_cast<int>(block);
    const auto count = static_cast<std::size_t>(resampler.output_count(n));
    if (count == 0)
        throw tavel::error("min/max_elem called for empty expression \n");
    resampler.run(n, room);
    return room.subspan(count);
}

std::span<double> run_all_blocks(mono_source& source, std::uint32_t frames, Resampler& resampler,
                                 std::span<double> room, const progress_record& progress)
{
    for (std::uint32_t position = 0; position < frames;) {
        const std::uint32_t block = std::min(frames - position, block_size);
        source.read(position, block, resampler.input_area());
        room = run_block(resampler, block, room);
        position += block;
        report_progress(progress, position);
    }
    return room;
}

// A sound so short that the resampler would drop all of its output as filter delay is run as one full block: the rest
// of the new input area is zero.
std::span<double> run_short_sound(mono_source& source, std::uint32_t frames, Resampler& resampler,
                                  std::span<double> room, const progress_record& progress)
{
    source.read(0, frames, resampler.input_area());
    room = run_block(resampler, block_size, room);
    report_progress(progress, frames);
    return room;
}

// Returns the length of the sound; `output` may hold more.
int load_resampled(mono_source& source, std::uint32_t frames, Resampler& resampler, Vector<double>& output,
                   const progress_record& progress)
{
    const filter_sizes& filter = resampler.sizes();
    const auto length_of = [&filter](double n) {
        return checked_length(std::ceil(static_cast<double>(filter.up) * n / static_cast<double>(filter.down)));
    };
    const int length = length_of(frames);
    const bool is_short = length <= filter.latency;
    if (is_short && frames > block_size)
        throw tavel::error("The resampling ratio is too low for this frame size: increase the frame size");
    output.resize(is_short ? length_of(block_size) : length);
    const auto run = is_short ? run_short_sound : run_all_blocks;
    resampler.flush(run(source, frames, resampler, {output.begin(), output.end()}, progress));
    return length;
}

double largest_magnitude(const Vector<double>& samples)
{
    double largest = 0.0;
    for (const double sample : samples)
        largest = std::max(largest, std::abs(sample));
    return largest;
}

void adjust_level(double peak, bool clip, bool normalize, Vector<double>& samples)
{
    if (clip && peak > 1.0) {
        for (double& sample : samples)
            sample = std::clamp(sample, -1.0, 1.0);
    } else if (normalize && peak > 0.0 && peak != 1.0) {
        const double gain = 1.0 / peak;
        for (double& sample : samples)
            sample *= gain;
    }
}

void load(AbstractReader& reader, double target_rate, bool clip, bool normalize, Vector<double>& output,
          const progress_record& progress)
{
    const int rate = reader.sample_rate();
    const int channels = reader.channels();
    const auto frames = static_cast<std::uint32_t>(reader.frames());
    if (frames == unknown_length)
        throw std::runtime_error("the length of the sound is unknown");
    if (frames > longest_sound)
        throw std::length_error("the sound is too long");
    if (frames == 0) {
        output.resize(0);
        report_progress(progress, 1.0);
        return;
    }
    mono_source source(reader, channels);
    int length;
    if (target_rate == rate) {
        length = load_unchanged(source, frames, output, progress.counting(frames));
    } else {
        Resampler resampler(tavel::saturate_cast<int>(target_rate), rate);
        length = load_resampled(source, frames, resampler, output, progress.counting(frames));
    }
    // Only the flags ask for the peak. It is that of all samples made, also of a short sound's surplus.
    const double peak = clip || normalize ? largest_magnitude(output) : 0.0;
    output.resize(length);
    adjust_level(peak, clip, normalize, output);
}

} // namespace

void load_sound(AbstractReader& reader, double target_rate, bool clip, bool normalize, Vector<double>& output,
                const progress_record& progress)
try {
    load(reader, target_rate, clip, normalize, output, progress);
} catch (const std::bad_alloc& failure) {
    // At once, without destructors of statics: other jobs of the process still run.
    std::fprintf(stderr, "Out of memory. Details\n%s\n", failure.what());
    std::_Exit(EXIT_FAILURE);
}

} // namespace corvane
