#pragma once

#include <cstdint>
#include <string>

#include "veloria/veloria_c.h"

namespace veloria_c {

/// A file without a name, in memory. It goes with the last descriptor on it, ours or that of whoever opened path().
class memory_file {
public:
    /// @throws std::system_error "error creating a memory file"
    memory_file();
    memory_file(const memory_file&) = delete;
    memory_file& operator=(const memory_file&) = delete;
    ~memory_file();

    /// Opens the same file again, in this process, as long as this object lives.
    std::string path() const;

    int descriptor() const { return file; }

private:
    int file;
};

/// Size of a sample.
std::uint64_t sample_bytes(const veloria_samples& samples);

/// Fills an empty file with a sound, such that reading it gives the samples exactly.
/// @param samples checked
/// @throws std::bad_alloc if the system has no room for them
void store(const veloria_samples& samples, const memory_file& file);

} // namespace veloria_c
