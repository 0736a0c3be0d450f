#include "similarity/quantize.h"

#include <algorithm>
#include <array>

namespace veloria {

namespace {

// Bytes are mirrored square by square, so that both sides of the diagonal are written while they are in the cache.
constexpr int tile = 64;

struct value_range {
    double smallest, largest;
};

// Keeps running extremes for each place in a block. A NaN replaces neither.
void widen(const double* values, int count, double* __restrict smallest, double* __restrict largest)
{
    for (int i = 0; i < count; ++i) {
        smallest[i] = values[i] < smallest[i] ? values[i] : smallest[i];
        largest[i] = values[i] > largest[i] ? values[i] : largest[i];
    }
}

// Over all cells: those on and above the diagonal are 0, with which both extremes begin.
value_range find_range(const tavel::Matrix<double>& distance)
{
    std::array<double, tile> smallest{}, largest{};
    for (int j = 0; j < distance.columns; ++j)
        for (int i = j + 1; i < distance.rows; i += tile)
            widen(distance.column_data(j) + i, std::min(tile, distance.rows - i), smallest.data(), largest.data());
    return {*std::min_element(smallest.begin(), smallest.end()), *std::max_element(largest.begin(), largest.end())};
}

// level = 255 (1 - (x - smallest) / range), rounded. It lies between 0 and 255, or is a NaN, or is minus infinity if
// the range is so small that its inverse overflows; the last two give 0.
void quantize_column(const double* distances, int count, double smallest, double scale, unsigned char* __restrict bytes)
{
    constexpr double no_fraction = 0x1p52;
    for (int i = 0; i < count; ++i) {
        const double level = 255.0 * (1.0 - (distances[i] - smallest) * scale);
        const double held = level > 0.0 ? level : 0.0;
        const double even = (held + no_fraction) - no_fraction;         // rounded, halves to the even neighbor
        const double rounded = even + (held - even >= 0.5 ? 1.0 : 0.0); // halves go up
        bytes[i] = static_cast<unsigned char>(static_cast<int>(rounded));
    }
}

// Rows first_row to end_row - 1 below the diagonal of columns first_column to end_column - 1, and their mirror image.
void quantize_tile(const tavel::Matrix<double>& distance, const value_range& range, int first_column, int end_column,
                   int first_row, int end_row, tavel::Matrix<unsigned char>& similarity)
{
    const double scale = 1.0 / (range.largest - range.smallest);
    for (int j = first_column; j < end_column; ++j) {
        const int row = std::max(first_row, j + 1);
        quantize_column(distance.column_data(j) + row, end_row - row, range.smallest, scale,
                        similarity.column_data(j) + row);
    }
    const unsigned char* const cells = similarity.data;
    const std::ptrdiff_t leading = *similarity.leading;
    for (int i = first_row; i < end_row; ++i) {
        unsigned char* const mirrored = similarity.column_data(i);
        for (int j = first_column; j < std::min(end_column, i); ++j)
            mirrored[j] = cells[j * leading + i];
    }
}

} // namespace

void quantize_distances(const tavel::Matrix<double>& distance, tavel::Matrix<unsigned char>& similarity, int n)
{
    similarity.resize(n, n);
    const value_range range = find_range(distance);
    const int measured = std::min(n, distance.rows);
    for (int column = 0; column < measured; column += tile)
        for (int row = column; row < measured; row += tile)
            quantize_tile(distance, range, column, std::min(column + tile, measured), row,
                          std::min(row + tile, measured), similarity);
    for (int i = 0; i < n; ++i)
        similarity(i, i) = 255;
}

} // namespace veloria
