#pragma once

#include <cstddef>
#include <cstdint>

#include "veloria/veloria.h"
#include "veloria/veloria_c.h"

namespace veloria_c {

/// Settings as the library takes them.
struct analysis {
    veloria::features_type features;
    veloria::modeling_type modeling;
    double window_seconds, step_seconds;
    std::uint64_t max_memory; ///< bytes, 0 for what is free
};

/// What a host hands over is checked by these; all throw std::logic_error with the words of the library where it has
/// any.
/// @{

void require(bool condition, const char* text);

int checked_count(std::size_t path_count);

/// @param given null for the defaults
analysis checked_settings(const veloria_settings* given);

veloria_samples checked_samples(const veloria_samples* given);

/// @}

} // namespace veloria_c
