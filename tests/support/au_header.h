#pragma once

#include <cstdint>
#include <string>

/// What stands in front of the samples of an AU file.
/// @param data_bytes  0xffffffff where the length isn't known
/// @param encoding    1 and 27 for 8 bits with a companding law, 2 to 5 for 8 to 32 bits, 6 and 7 for floats and
/// doubles
inline std::string au_header(std::uint32_t data_bytes, std::uint32_t encoding, std::uint32_t rate_hz,
                             std::uint32_t channels)
{
    std::string bytes = ".snd";
    for (const std::uint32_t word : {24U, data_bytes, encoding, rate_hz, channels})
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<char>(word >> shift));
    return bytes;
}
