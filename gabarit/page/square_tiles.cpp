#include "gabarit/page/square_tiles.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include <zlib.h>

#include "gabarit/page/base64.h"

namespace gabarit {

namespace {

std::string deflated(const std::vector<unsigned char>& bytes)
{
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::string packed(size, '\0');
    if (compress2(reinterpret_cast<Bytef*>(packed.data()), &size, bytes.data(), static_cast<uLong>(bytes.size()),
                  Z_DEFAULT_COMPRESSION) != Z_OK)
        throw std::runtime_error("the square can't be deflated");
    packed.resize(size);
    return packed;
}

} // namespace

int tile_count(const byte_square& square)
{
    return (square.side + tile_side - 1) / tile_side;
}

std::string pack_tile(const byte_square& square, int i, int j)
{
    const auto side = static_cast<std::size_t>(square.side);
    const std::size_t left = static_cast<std::size_t>(i) * tile_side, right = std::min(left + tile_side, side);
    const std::size_t low = static_cast<std::size_t>(j) * tile_side, high = std::min(low + tile_side, side);
    std::vector<unsigned char> differences;
    differences.reserve((right - left) * (high - low));
    const std::vector<unsigned char> nothing(side);
    const unsigned char* before = nothing.data();
    for (std::size_t column = left; column < right; ++column) {
        const unsigned char* const cells = square.cells.data() + column * side;
        int last_rise = 0;
        for (std::size_t row = low; row < high; ++row) {
            const int rise = cells[row] - before[row];
            differences.push_back(static_cast<unsigned char>(rise - last_rise));
            last_rise = rise;
        }
        before = cells;
    }
    return base64(deflated(differences));
}

byte_square pooled(const byte_square& square, int factor)
{
    const auto side = static_cast<std::size_t>(square.side), step = static_cast<std::size_t>(factor);
    const std::size_t smaller = (side + step - 1) / step;
    byte_square result{static_cast<int>(smaller), std::vector<unsigned char>(smaller * smaller)};
    for (std::size_t i = 0; i < smaller; ++i)
        for (std::size_t j = 0; j < smaller; ++j) {
            std::uint64_t sum = 0, count = 0, brightest = 0;
            for (std::size_t column = i * step; column < std::min((i + 1) * step, side); ++column)
                for (std::size_t row = j * step; row < std::min((j + 1) * step, side); ++row, ++count) {
                    const std::uint64_t level = square.cells[column * side + row];
                    sum += level;
                    brightest = std::max(brightest, level);
                }
            result.cells[i * smaller + j] = static_cast<unsigned char>((sum + count * brightest) / (2 * count));
        }
    return result;
}

} // namespace gabarit
