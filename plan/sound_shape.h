#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace plan {

/// What the headers of a sound's files announce.
struct sound_shape {
    int rate_hz;
    std::int64_t frames;
    std::vector<int> channels; ///< of each file

    double seconds() const { return static_cast<double>(frames) / rate_hz; }
};

/// Looks at the files of one sound before a job loads them.
/// @return the shape of the first, which all others must have; nothing if a file can be read only once, as a pipe
/// @throws std::runtime_error what hinders the job, with the file's name and what to do: a file that doesn't open,
///         a length that is unknown or beyond what can be analyzed, files that don't fit together
std::optional<sound_shape> look_at_input(const std::vector<std::string>& paths);

} // namespace plan
