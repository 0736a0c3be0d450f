#pragma once

#include <string>

namespace veloria {

/// The command line of marquen that repeats an analysis. Paths stand as they are, numbers with up to six digits,
/// whatever the locale.
/// @param features a features_type, 0 to 2
/// @param modeling a modeling_type, 0 to 3
/// @param modeling_window seconds
/// @param modeling_step   seconds
/// @throws std::out_of_range for a selection that has no name
std::string build_command_string(const std::string& input_path, const std::string& output_path, int features,
                                 int modeling, double modeling_window, double modeling_step);

} // namespace veloria
