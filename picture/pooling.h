#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace picture {

/// Brings a square of n by n bytes to another size. A pixel is the mean of the cells under it, each by its area. Where
/// there are more cells than pixels, it is mean + (most - mean)^2 / 510, `most` being the largest of the cells whose
/// center lies in the pixel: a single white cell on black comes to half the brightness, however many cells share its
/// pixel, and a lively texture is hardly lighter than its mean. The cells come column by column, so that only the
/// result is held.
class pooling {
public:
    /// @param cells   n, up to 2^24
    /// @param pixels  side of the result
    pooling(int cells, int pixels);

    /// @param column  the n cells of the next column
    void add_column(const unsigned char* column);

    /// Hands over pixels by pixels bytes, column after column; whole after n columns.
    std::vector<unsigned char> take_result() { return std::move(result); }

private:
    void add_to_sums(std::uint64_t width);
    void finish_column();

    std::uint64_t cells, pixels;
    std::uint64_t position = 0;           // left edge of the next column; the square is cells * pixels wide
    std::vector<std::uint64_t> reduced;   // sums of one column of cells
    std::vector<std::uint64_t> sums;      // of the pixels' column that is being filled
    std::vector<unsigned char> brightest; // in the same column
    std::vector<unsigned char> result;
};

} // namespace picture
