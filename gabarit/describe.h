#pragma once

#include <string>

namespace gabarit {

/// What a gabarit says of itself, a line "name: value" each or one JSON object: table, information frame, size, times
/// and settings.
/// @throws Quillon::FormatError, std::runtime_error as a reader does
std::string describe(const std::string& path, bool as_json);

} // namespace gabarit
