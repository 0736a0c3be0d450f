#pragma once

#include <string>

namespace gabarit {

/// Goes through the whole file. A gabarit must be symmetric, with 255 on the diagonal.
/// @return n
/// @throws Quillon::FormatError where it is no whole gabarit; std::runtime_error if the file can't be opened
int verify(const std::string& path);

} // namespace gabarit
