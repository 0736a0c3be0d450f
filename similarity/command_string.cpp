#include "similarity/command_string.h"

#include <cstddef>

#include "similarity/plain_number.h"

namespace veloria {

std::string build_command_string(const std::string& input_path, const std::string& output_path, const settings& chosen)
{
    return "marquen --input " + input_path + " --similarity " + output_path + " --features_type " +
           feature_words[static_cast<std::size_t>(chosen.features)] + " --features_modeling " +
           modeling_words[static_cast<std::size_t>(chosen.modeling)] + " --features_modeling_length " +
           plain_number(chosen.window_seconds) + " --window_centering grid --window_grid_hop " +
           plain_number(chosen.step_seconds);
}

} // namespace veloria
