#include "marquen/digest.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <vector>

#include <nettle/base16.h>
#include <nettle/sha2.h>

namespace marquen {

std::string sha256_of(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::vector<char> bytes(1U << 20);
    sha256_ctx state;
    sha256_init(&state);
    while (file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())) || file.gcount() > 0)
        sha256_update(&state, static_cast<std::size_t>(file.gcount()),
                      reinterpret_cast<const std::uint8_t*>(bytes.data()));
    if (!file.eof() || file.bad())
        return {};
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
    sha256_digest(&state, digest.size(), digest.data());
    std::string digits(BASE16_ENCODE_LENGTH(digest.size()), '\0');
    base16_encode_update(digits.data(), digest.size(), digest.data());
    return digits;
}

} // namespace marquen
