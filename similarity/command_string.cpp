#include "similarity/command_string.h"

#include <array>
#include <cstddef>

#include "similarity/plain_number.h"

namespace veloria {

namespace {

constexpr std::array<const char*, 3> features_names{"timbre", "harmo", "mixed"};
constexpr std::array<const char*, 4> modeling_names{"mean", "meanvar", "fft", "mph"};

} // namespace

std::string build_command_string(const std::string& input_path, const std::string& output_path, int features,
                                 int modeling, double modeling_window, double modeling_step)
{
    return "marquen --input " + input_path + " --similarity " + output_path + " --features_type " +
           features_names.at(static_cast<std::size_t>(features)) + " --features_modeling " +
           modeling_names.at(static_cast<std::size_t>(modeling)) + " --features_modeling_length " +
           plain_number(modeling_window) + " --window_centering grid --window_grid_hop " + plain_number(modeling_step);
}

} // namespace veloria
