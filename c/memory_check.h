#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>

#include "c/arguments.h"
#include "plan/sound_shape.h"

namespace veloria_c {

/// A sound, and what holding a copy of it takes.
struct known_sound {
    plan::sound_shape shape;
    std::uint64_t copy_bytes;
};

/// A job that would take more than it may.
struct too_large : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What the files announce.
/// @throws std::runtime_error why that is unknown; std::invalid_argument
known_sound look(int path_count, const char* const* paths);

/// The same where the library is to say what is wrong with the files: then nothing is known.
std::optional<known_sound> try_to_look(int path_count, const char* const* paths);

known_sound shape_of(const veloria_samples& samples);

/// Bytes that a job takes at its peak, with its result in memory.
std::uint64_t memory_of(const known_sound& sound, const analysis& chosen);

/// @param sound nothing is checked where nothing is known
/// @throws too_large
void check_memory(const std::optional<known_sound>& sound, const analysis& chosen);

} // namespace veloria_c
