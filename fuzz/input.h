#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "tests/support/au_header.h"

/// Ends the process, for the fuzzer to see, where a law doesn't hold.
#define EXPECT_LAW(condition)           \
    ((condition) ? static_cast<void>(0) \
                 : (std::fprintf(stderr, "%s:%d: broken: %s\n", __FILE__, __LINE__, #condition), std::abort()))

/// The bytes of one run, taken from the front.
class fuzz_input {
public:
    fuzz_input(const std::uint8_t* data, std::size_t size) : bytes(data, size) {}

    /// The next value, zeros where the bytes end.
    template <class T>
    T take()
    {
        T value{};
        const std::size_t count = std::min(bytes.size(), sizeof value);
        std::copy_n(bytes.begin(), count, reinterpret_cast<std::uint8_t*>(&value));
        bytes = bytes.subspan(count);
        return value;
    }

    std::span<const std::uint8_t> rest() const { return bytes; }

private:
    std::span<const std::uint8_t> bytes;
};

/// A file in memory with a path, the same one for all runs: it stays open to the end of the process.
class memory_file {
public:
    memory_file() : descriptor(memfd_create("fuzz", MFD_CLOEXEC)), name("/proc/self/fd/" + std::to_string(descriptor))
    {}

    const std::string& path() const { return name; }

    void fill(std::span<const std::uint8_t> bytes, const std::string& header = {}) const
    {
        EXPECT_LAW(ftruncate(descriptor, 0) == 0);
        EXPECT_LAW(pwrite(descriptor, header.data(), header.size(), 0) == std::ssize(header));
        EXPECT_LAW(pwrite(descriptor, bytes.data(), bytes.size(), std::ssize(header)) == std::ssize(bytes));
    }

private:
    int descriptor;
    std::string name;
};

/// The path of most of a second of sound.
inline const char* brief_sound()
{
    static const memory_file sound;
    static const bool filled = [] {
        std::uint8_t samples[8000];
        for (std::size_t i = 0; i < sizeof samples; ++i)
            samples[i] = static_cast<std::uint8_t>(i * i / 100);
        sound.fill(samples, au_header(sizeof samples, 2, 11025, 1));
        return true;
    }();
    return filled ? sound.path().c_str() : nullptr;
}

/// What libFuzzer calls, or the replay of kept inputs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
