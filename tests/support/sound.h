#pragma once

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <string>
#include <vector>

/// Writes a 16-bit sound whose chord changes every second, with another loudness in each channel.
inline void write_sound(const std::string& path, int rate_hz, int channels, int frames,
                        int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16)
{
    SF_INFO info{};
    info.samplerate = rate_hz;
    info.channels = channels;
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << path;
    constexpr double roots_hz[] = {220.0, 261.63, 329.63, 196.0};
    std::vector<double> samples;
    for (int i = 0; i < frames; ++i) {
        const double root = roots_hz[i / rate_hz % 4] * 2.0 * 3.141592653589793 * i / rate_hz;
        const double value = 0.3 * std::sin(root) + 0.2 * std::sin(1.5 * root) + 0.1 * std::sin(5.0 * root + 0.5);
        for (int c = 0; c < channels; ++c)
            samples.push_back(value / (c + 1));
    }
    ASSERT_EQ(sf_writef_double(file, samples.data(), frames), frames);
    sf_close(file);
}
