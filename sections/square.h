#pragma once

#include <cstddef>
#include <span>

/// Finds the parts of a sound in its gabarit: where each begins, and which come again.
namespace sections {

/// The bytes of a gabarit, row after row: symmetric, 255 where two moments are the same.
struct square {
    std::span<const unsigned char> bytes; ///< size by size
    int size;                             ///< n

    const unsigned char* row(int i) const
    {
        return bytes.data() + static_cast<std::size_t>(i) * static_cast<std::size_t>(size);
    }
};

constexpr int full_scale = 255; ///< the byte of two equal moments

/// Moments from `begin` up to, but not with, `end`.
struct range {
    int begin, end;

    int length() const { return end - begin; }
};

} // namespace sections
