#pragma once

#include <string>
#include <vector>

#include "sections/find_sections.h"

namespace gabarit {

/// Reads sections from a file, their labels made showable: Audacity labels and .lab files, "START END LABEL" a line
/// with tabs or blanks between; or, where the path ends in .json, an object whose "sections" have "start", "end" and
/// "label".
/// @throws std::runtime_error if it can't be read, or holds something else; the text names the line
std::vector<sections::section> read_section_labels(const std::string& path);

} // namespace gabarit
