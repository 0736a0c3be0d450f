#pragma once

#include <string>

#include "road/settings.h"

namespace veloria {

/// The command line of marquen that repeats an analysis. Paths stand as they are, numbers with up to six digits,
/// whatever the locale.
std::string build_command_string(const std::string& input_path, const std::string& output_path, const settings& chosen);

} // namespace veloria
