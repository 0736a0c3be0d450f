#pragma once

#include <string>

#include "gabarit/form.h"
#include "picture/whole_file.h"

namespace gabarit {

/// Whether the path ends in .txt, .lab, .jams or .csv.
bool is_form_path(const std::string& path);

/// Writes the sections for another program, as the ending says; times in seconds with three decimals:
///   .txt   labels of Audacity: start TAB end TAB label
///   .lab   start end label, as MIREX and mir_eval read it
///   .jams  one annotation in the namespace segment_open, JAMS 0.3
///          (E. J. Humphrey et al., Proc. ISMIR 2014)
///   .csv   regions of Sonic Visualiser: time, value, duration, label; the value counts the letters from 1
/// @throws std::runtime_error, std::system_error as a whole_file does
void write_form(const form& found, const std::string& path, picture::existing treatment);

} // namespace gabarit
