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

// A helix around the gray diagonal of the color cube: its brightness rises evenly.
std::uint32_t cubehelix(double level)
{
    constexpr double start = 0.5, rotations = -1.5, hue = 1.0;
    const double angle = 2.0 * std::numbers::pi * (start / 3.0 + 1.0 + rotations * level);
    const double amplitude = hue * level * (1.0 - level) / 2.0;
    const double c = amplitude * std::cos(angle);
    const double s = amplitude * std::sin(angle);
    return pack(level - 0.14861 * c + 1.78277 * s, level - 0.29227 * c - 0.90649 * s, level + 1.97294 * c);
}

// Every fifth color of matplotlib.colormaps[NAME], whose maps are linear enough between: no channel errs by more than
// 1. Both were designed by N. Smith and S. van der Walt to rise evenly in lightness, for the color-blind too.
constexpr int table_step = 5;
using table = std::array<std::uint32_t, 255 / table_step + 1>;
constexpr table magma{0x000004, 0x02020b, 0x050416, 0x090720, 0x0e0b2b, 0x140e36, 0x1a1042, 0x21114e, 0x29115a,
                      0x311165, 0x390f6e, 0x420f75, 0x4a1079, 0x52137c, 0x5a167e, 0x621980, 0x6a1c81, 0x721f81,
                      0x792282, 0x812581, 0x892881, 0x912b81, 0x992d80, 0xa1307e, 0xaa337d, 0xb2357b, 0xba3878,
                      0xc23b75, 0xca3e72, 0xd2426f, 0xd9466b, 0xe04c67, 0xe75263, 0xec5860, 0xf1605d, 0xf4695c,
                      0xf7725c, 0xf97b5d, 0xfb8560, 0xfc8e64, 0xfd9869, 0xfea16e, 0xfeaa74, 0xfeb47b, 0xfebd82,
                      0xfec68a, 0xfecf92, 0xfed89a, 0xfde2a3, 0xfdebac, 0xfcf4b6, 0xfcfdbf};
constexpr table viridis{0x440154, 0x46085c, 0x471063, 0x481769, 0x481d6f, 0x482475, 0x472a7a, 0x46307e, 0x453781,
                        0x433d84, 0x414287, 0x3f4889, 0x3d4e8a, 0x3a538b, 0x38598c, 0x355e8d, 0x33638d, 0x31688e,
                        0x2e6d8e, 0x2c718e, 0x2a768e, 0x297b8e, 0x27808e, 0x25848e, 0x23898e, 0x218e8d, 0x20928c,
                        0x1f978b, 0x1e9c89, 0x1fa188, 0x21a585, 0x24aa83, 0x28ae80, 0x2eb37c, 0x35b779, 0x3dbc74,
                        0x46c06f, 0x50c46a, 0x5ac864, 0x65cb5e, 0x70cf57, 0x7cd250, 0x89d548, 0x95d840, 0xa2da37,
                        0xb0dd2f, 0xbddf26, 0xcae11f, 0xd8e219, 0xe5e419, 0xf1e51d, 0xfde725};

std::uint32_t interpolated(const table& colors, double level)
{
    const double place = level * (255 / table_step);
    const std::size_t below = std::min(static_cast<std::size_t>(place), colors.size() - 2);
    const double part = place - static_cast<double>(below);
    const auto channel = [&](int shift) {
        return std::lerp(colors[below] >> shift & 0xff, colors[below + 1] >> shift & 0xff, part) / 255.0;
    };
    return pack(channel(16), channel(8), channel(0));
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
        case color_map::magma:
            colors[i] = interpolated(magma, level);
            break;
        case color_map::viridis:
            colors[i] = interpolated(viridis, level);
            break;
        }
    }
    return colors;
}

} // namespace picture
