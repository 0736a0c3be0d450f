#pragma once

#include <cstdint>

#include "tavel/error.h"
#include "tavel/saturate.h"

namespace tavel {

/// Consecutive indices, both ends included; none where hi is below lo.
struct range {
    int lo, hi;

    int length() const { return hi < lo ? 0 : hi - lo + 1; }
};

/// Stands for every index along a dimension, as the colon does in Matlab.
struct all_indices {};
inline constexpr all_indices all{};

/// Indices start, start + step, ... up to `end`, the last one reached.
template <class INDEX>
struct Slice {
    INDEX start = 0;
    INDEX end = -1;
    bool whole = true; ///< no bounds were given: selects everything
    INDEX step = 1;
    INDEX count = 0;

    Slice() = default;

    /// @param last  bound of the indices; need not be reached
    /// @throws tavel::error "Slice<INDEX>:: creating slice with offset 0 is not supported\n"
    Slice(INDEX first, INDEX last, INDEX offset) : start(first), whole(false), step(offset)
    {
        if (last >= first && offset >= 1) {
            const std::int64_t steps = (static_cast<std::int64_t>(last) - first) / offset;
            count = static_cast<INDEX>(steps + 1);
            end = static_cast<INDEX>(first + steps * offset);
        } else if (offset == 0) {
            throw error("Slice<INDEX>:: creating slice with offset 0 is not supported\n");
        } else {
            end = static_cast<INDEX>(static_cast<std::int64_t>(first) - offset);
        }
    }
};

} // namespace tavel
