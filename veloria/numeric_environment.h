#pragma once

#include <cstdint>

namespace veloria {

/// For its lifetime the thread rounds to nearest, an extended-precision unit works with 53-bit significands, and
/// the vector unit flushes denormal results to zero (both on x86-64 alone); denormal inputs are left as the host has
/// them. What was there before comes back at the end.
class numeric_environment {
public:
    numeric_environment();
    numeric_environment(const numeric_environment&) = delete;
    numeric_environment& operator=(const numeric_environment&) = delete;
    ~numeric_environment();

private:
    std::uint32_t vector_fields;   // rounding and flush-to-zero of the vector unit
    std::uint16_t extended_fields; // rounding and precision of the extended-precision unit
};

} // namespace veloria
