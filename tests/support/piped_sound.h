#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

/// A sound that comes through a pipe: the worker of its job stands still in its first read until the rest is fed.
class PipedSound {
public:
    /// @param frame_count less than a pipe holds, which is 64 KiB
    explicit PipedSound(int frame_count = 30000) : frames(frame_count)
    {
        EXPECT_EQ(pipe(ends), 0);
        // AU: magic, header size, data size, 16-bit linear, rate, channels, annotation
        const unsigned header[] = {0x2e736e64, 28, static_cast<unsigned>(2 * frames), 3, 11025, 1, 0};
        for (const unsigned word : header)
            for (int shift = 24; shift >= 0; shift -= 8)
                bytes.push_back(static_cast<char>(word >> shift));
        EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    PipedSound(const PipedSound&) = delete;
    PipedSound& operator=(const PipedSound&) = delete;
    ~PipedSound() { close(ends[0]); }

    std::string path() const { return "/dev/fd/" + std::to_string(ends[0]); }

    void feed()
    {
        std::string data;
        for (int i = 0; i < 2 * frames; ++i)
            data.push_back(static_cast<char>(i % 251));
        EXPECT_EQ(write(ends[1], data.data(), data.size()), static_cast<ssize_t>(data.size()));
        close(ends[1]);
    }

private:
    int frames;
    int ends[2] = {-1, -1};
    std::string bytes;
};
