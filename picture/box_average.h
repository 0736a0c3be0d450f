#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace picture {

/// Brings a square of n by n bytes to another size: a pixel is the mean of the cells under it, each by its area.
/// The cells come column by column, so only the result is held.
class box_average {
public:
    /// @param cells   n
    /// @param pixels  side of the result
    box_average(int cells, int pixels);

    /// @param column  the n cells of the next column
    void add_column(const unsigned char* column);

    /// Hands over pixels by pixels bytes, column after column; whole after n columns.
    std::vector<unsigned char> take_result() { return std::move(result_); }

private:
    void finish_column();

    std::uint64_t cells_, pixels_;
    std::uint64_t position_ = 0;         // left edge of the next column; the square is cells * pixels wide
    std::vector<std::uint64_t> reduced_; // one column of cells, reduced to pixels
    std::vector<std::uint64_t> sums_;    // of the pixels' column that is being filled
    std::vector<unsigned char> result_;
};

} // namespace picture
