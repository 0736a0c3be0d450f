#pragma once

#include <cstdint>
#include <optional>

namespace marquen {

/// The bytes of sound in a file: how many its header announces, and how many there are.
struct data_bytes {
    std::uint64_t announced, present;
};

/// Looks at the header of a WAV, AIFF, AU or CAF file.
/// @param file  descriptor of a file that can be seeked; its position stays
/// @return nothing for another format, or if the file ends before its sound begins
std::optional<data_bytes> look_at_header(int file);

/// Writes the true number of bytes into the header of a copy of a stream, where libsndfile would read a header written
/// before the length was known as that of an empty or damaged file.
void mend_header(int file);

} // namespace marquen
