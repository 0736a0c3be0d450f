#include "similarity/frame_distances.h"

#include <array>
#include <cstdint>
#include <numeric>

#include "similarity/equalization.h"
#include "similarity/pair_distances.h"

namespace veloria {

namespace {

// Estimated cost of equalizing a pair of moments. Measuring it costs 1 for each column.
constexpr double equalization_cost = 28.4;

struct value_range {
    double lowest;  // the smallest value that the mapping can give
    double largest; // the largest value that is there
};

// F(k): how many cells of the whole square have a distance in the bins 0 to k. The n cells of the diagonal and the
// n (n - 1) / 2 above it count as distances of 0.
std::array<double, bin_count> cumulative_counts(const distance_histogram& histogram, std::int64_t n)
{
    std::array<double, bin_count> counts = histogram.counts();
    counts[0] += static_cast<double>((n - 1) * n / 2 + n);
    std::partial_sum(counts.begin(), counts.end(), counts.begin());
    return counts;
}

// Replaces each distance d of the strict lower triangle by F(d), the number of cells that are at most as far apart.
// Reports n - j cells for column j, once when it is counted and once when it is mapped, and n / 2 after each of the
// two.
value_range equalize(tavel::Matrix<double>& distance, double largest_distance, const progress_record& progress)
{
    const int n = distance.columns;
    const progress_record cells = progress.counting(static_cast<double>(n) * n);
    std::int64_t cells_done = 0;
    const auto report_column = [&](int j) { report_progress(cells, static_cast<double>(cells_done += n - j)); };

    const distance_bins bins(largest_distance);
    distance_histogram histogram;
    for (int j = 0; j < n - 1; ++j) {
        histogram.add(distance.column_data(j) + j + 1, n - 1 - j, bins);
        report_column(j);
    }
    const std::array<double, bin_count> cumulative = cumulative_counts(histogram, n);
    cells_done += n / 2;
    report_progress(cells, static_cast<double>(cells_done));

    distance_mapping mapping(bins, cumulative);
    for (int j = 0; j < n - 1; ++j) {
        mapping.map(distance.column_data(j) + j + 1, n - 1 - j);
        report_column(j);
    }
    report_progress(cells, static_cast<double>(cells_done + n / 2));
    return {cumulative[0], mapping.largest()};
}

// sums += (values - lowest) * scale
void add_normalized(const double* values, int count, double lowest, double scale, double* __restrict sums)
{
    for (int r = 0; r < count; ++r)
        sums[r] += (values[r] - lowest) * scale;
}

// values = sums + (values - lowest) * scale; sums = 0
void take_normalized_sums(double* __restrict values, int count, double lowest, double scale, double* __restrict sums)
{
    for (int r = 0; r < count; ++r) {
        values[r] = sums[r] + (values[r] - lowest) * scale;
        sums[r] = 0.0;
    }
}

// Scales the values of the lower triangle to 0.0 to 1.0 and adds them to the sum over the streams, which lies in the
// upper triangle of the same matrix: the sum of column j stands at the top of column n - 1 - j, which has as many cells
// above the diagonal as column j has below it. With the last stream the sum moves to the lower triangle.
void add_to_folded_sum(tavel::Matrix<double>& distance, const value_range& range, bool last_stream)
{
    const int n = distance.columns;
    const double scale = 1.0 / (range.largest - range.lowest);
    for (int j = 0; j < n - 1; ++j) {
        const int count = n - 1 - j;
        double* const values = distance.column_data(j) + j + 1;
        double* const sums = distance.column_data(count);
        if (last_stream)
            take_normalized_sums(values, count, range.lowest, scale, sums);
        else
            add_normalized(values, count, range.lowest, scale, sums);
    }
}

} // namespace

void compute_frame_distances(const tavel::Vector<tavel::Matrix<double>>& streams, tavel::Matrix<double>& distance,
                             const progress_record& progress)
{
    const int n = streams[0].rows;
    if (n < 2) {
        const int size = n == 1 && streams[0].columns > 0 ? 1 : 0;
        distance.resize(size, size);
        report_progress(progress, 1.0);
        return;
    }

    int columns = 0;
    for (const tavel::Matrix<double>& stream : streams)
        columns += stream.columns;
    const double unit = 1.0 / (streams.size * equalization_cost + columns);
    const double equalization_share = unit * equalization_cost;
    double from = 0.0;
    distance.resize(n, n);
    for (int s = 0; s < streams.size; ++s) {
        const double distance_share = streams[s].columns * unit;
        const double largest_distance = measure_pairs(streams[s], distance, progress.piece(from, distance_share));
        from += distance_share;
        const value_range range = equalize(distance, largest_distance, progress.piece(from, equalization_share));
        from += equalization_share;
        add_to_folded_sum(distance, range, s == streams.size - 1);
    }
}

} // namespace veloria
