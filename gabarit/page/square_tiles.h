#pragma once

#include <string>
#include <vector>

namespace gabarit {

/// A symmetric square of bytes.
struct byte_square {
    int side = 0;
    std::vector<unsigned char> cells; ///< side by side, column after column
};

/// Cells along a side of a tile.
constexpr int tile_side = 512;

/// Tiles along a side of a square.
int tile_count(const byte_square& square);

/// One tile of a square, deflated (RFC 1950), in base64: column after column, each cell as the difference
/// a(i, j) - a(i - 1, j) - a(i, j - 1) + a(i - 1, j - 1) modulo 256, where a is 0 outside the tile. Neighbors are alike
/// along both axes, so that most differences are small.
/// @param i, j  place of the tile among the columns and the rows
std::string pack_tile(const byte_square& square, int i, int j);

/// A smaller square: each cell stands for `factor` by `factor` cells and is midway between their mean and their
/// maximum, so that a thin bright stripe in dark surroundings stays visible.
byte_square pooled(const byte_square& square, int factor);

} // namespace gabarit
