#pragma once

#include <functional>
#include <string>

#include "gabarit/reader.h"

namespace gabarit {

/// Goes through the whole file. A gabarit must be symmetric, with 255 on the diagonal.
/// @return n
/// @throws Quillon::FormatError where it is no whole gabarit; std::runtime_error if the file can't be opened
int verify(const std::string& path);

/// The same for a reader from which no column was read, handing over each column on the way. Whether the square is
/// symmetric is known behind the last one.
void verify(reader& gabarit, const std::function<void(const column&)>& take);

} // namespace gabarit
