#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "tests/support/au_header.h"

/// A sound that comes through a pipe: the worker of its job stands still in its first read until the rest is fed.
class PipedSound {
public:
    /// @param frame_count less than a pipe holds, which is 64 KiB
    explicit PipedSound(int frame_count = 30000) : frames(frame_count)
    {
        EXPECT_EQ(pipe(ends), 0);
        send(au_header(static_cast<std::uint32_t>(2 * frames), 3, 11025, 1));
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
        send(data);
        close(ends[1]);
    }

private:
    void send(const std::string& bytes) const
    {
        EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    int frames;
    int ends[2] = {-1, -1};
};
