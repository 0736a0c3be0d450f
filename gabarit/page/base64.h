#pragma once

#include <string>
#include <string_view>

namespace gabarit {

/// Bytes as base64 with padding, in one line.
std::string base64(std::string_view bytes);

} // namespace gabarit
