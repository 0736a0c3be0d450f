#include "similarity/pair_distances.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "tavel/clones.h"

namespace veloria {

namespace {

// So many rows are measured at once: their coordinates stay in the first-level cache while one moment after the other
// is compared with them, and the distances of each moment fill whole cache lines.
constexpr int block_rows = 64;

// Distances of the moment `pivot` to `count` consecutive rows. Each sum grows in the order of the columns, as in a loop
// over pairs. largest_squares has a running maximum for each place in the block, which a NaN never replaces.
TAVEL_CLONES
void measure_rows(const double* stream, std::ptrdiff_t leading, int columns, int pivot, int first_row, int count,
                  double* __restrict distances, double* __restrict largest_squares)
{
    for (int b = 0; b < count; ++b)
        distances[b] = 0.0;
    for (int k = 0; k < columns; ++k) {
        const double* column = stream + k * leading;
        const double* rows = column + first_row;
        const double coordinate = column[pivot];
        for (int b = 0; b < count; ++b) {
            const double difference = rows[b] - coordinate;
            distances[b] += difference * difference;
        }
    }
    for (int b = 0; b < count; ++b) {
        largest_squares[b] = distances[b] > largest_squares[b] ? distances[b] : largest_squares[b];
        distances[b] = std::sqrt(distances[b]);
    }
}

} // namespace

double measure_pairs(const tavel::Matrix<double>& stream, tavel::Matrix<double>& distance,
                     const progress_record& progress)
{
    const int n = stream.rows;
    std::array<double, block_rows> largest_squares{};
    const progress_record pairs = progress.counting(static_cast<double>(std::int64_t{n} * (n - 1) / 2));
    std::int64_t pairs_done = 0;
    for (int first = 0; first < n; first += block_rows) {
        const int end = first + std::min(block_rows, n - first);
        for (int j = 0; j < end - 1; ++j) {
            const int row = std::max(first, j + 1);
            measure_rows(stream.data, *stream.leading, stream.columns, j, row, end - row, distance.column_data(j) + row,
                         largest_squares.data());
        }
        for (int i = std::max(first, 1); i < end; ++i) {
            pairs_done += i;
            report_progress(pairs, static_cast<double>(pairs_done));
        }
    }
    // The root is monotone and correctly rounded: the largest root is the root of the largest.
    return std::sqrt(*std::max_element(largest_squares.begin(), largest_squares.end()));
}

} // namespace veloria
