#pragma once

#include <string>
#include <vector>

#include "marquen/progress.h"

namespace marquen {

/// The files of a sound as files that can be opened again and seeked, as formats with an index at their end and a look
/// before the job want them: what comes through a pipe is copied to a nameless file in the folder of temporary files,
/// which goes with the process.
class spooled_input {
public:
    /// @param given  "-" is the standard input
    /// @throws failure for a pipe that can't be opened or read, or has no room; interrupted
    spooled_input(const std::vector<std::string>& given, progress& shown);
    spooled_input(const spooled_input&) = delete;
    spooled_input& operator=(const spooled_input&) = delete;
    ~spooled_input();

    /// What the library opens, and the gabarit records: a pipe that has a number, as the standard input and those of a
    /// shell's <(...) do, keeps its name (/dev/stdin, /dev/fd/63); one with a name in a folder becomes /dev/fd/N.
    const std::vector<std::string>& paths() const { return names; }

private:
    std::vector<std::string> names;
    std::vector<int> copies; // descriptors
};

/// A wish to stop that came while a pipe was read.
struct interrupted {};

} // namespace marquen
