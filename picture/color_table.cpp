#include "picture/color_table.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace picture {

namespace {

std::uint32_t pack(double red, double green, double blue)
{
    const auto byte = [](double level) {
        return static_cast<std::uint32_t>(std::lround(255.0 * std::clamp(level, 0.0, 1.0)));
    };
    return byte(red) << 16 | byte(green) << 8 | byte(blue);
}

// A helix around the gray diagonal of the colour cube: its brightness rises evenly.
std::uint32_t cubehelix(double level)
{
    constexpr double start = 0.5, rotations = -1.5, hue = 1.0;
    const double angle = 2.0 * std::numbers::pi * (start / 3.0 + 1.0 + rotations * level);
    const double amplitude = hue * level * (1.0 - level) / 2.0;
    const double c = amplitude * std::cos(angle);
    const double s = amplitude * std::sin(angle);
    return pack(level - 0.14861 * c + 1.78277 * s, level - 0.29227 * c - 0.90649 * s, level + 1.97294 * c);
}

} // namespace

std::array<std::uint32_t, 256> color_table(color_map map)
{
    std::array<std::uint32_t, 256> colors{};
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const double level = static_cast<double>(i) / 255.0;
        switch (map) {
        case color_map::gray:
            colors[i] = pack(level, level, level);
            break;
        case color_map::inverted:
            colors[i] = pack(1.0 - level, 1.0 - level, 1.0 - level);
            break;
        case color_map::cubehelix:
            colors[i] = cubehelix(level);
            break;
        }
    }
    return colors;
}

} // namespace picture
