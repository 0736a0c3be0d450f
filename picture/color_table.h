#pragma once

#include <array>
#include <cstdint>

#include "picture/picture.h"

namespace picture {

/// Color of each byte, as 0xRRGGBB.
/// Cubehelix: D. A. Green, "A colour scheme for the display of astronomical intensity images", Bull. Astr. Soc. India
/// 39, 2011, with the parameters that it shows first: start 0.5, rotations -1.5, hue 1, gamma 1.
std::array<std::uint32_t, 256> color_table(color_map map);

} // namespace picture
