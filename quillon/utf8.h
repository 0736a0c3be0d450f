#pragma once

#include <cstddef>
#include <string_view>

namespace Quillon {

/// Bytes of the UTF-8 character that the text begins with, 1 to 4; 0 if it begins with none (RFC 3629).
std::size_t utf8_character_bytes(std::string_view text);

} // namespace Quillon
