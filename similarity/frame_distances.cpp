#include "similarity/frame_distances.h"

#include <array>
#include <cstdint>
#include <numeric>

#include "similarity/equalisation.h"
#include "similarity/pair_distances.h"

namespace veloria {

namespace {

// What equalising a pair costs, in units of what a column adds to measuring it.
constexpr double equalisation_cost = 28.4;

// Values of the strict lower triangle: the lowest that there can be and the largest that there is.
struct value_range {
    double lowest, largest;
};

// The distances' histogram over the whole square, whose diagonal and upper triangle count as distances of 0, summed
// up: how many cells are at most as far apart as each bin.
std::array<double, bin_count> cumulative_counts(const distance_histogram& histogram, std::int64_t n)
{
    std::array<double, bin_count> counts = histogram.counts();
    counts[0] += static_cast<double>((n - 1) * n / 2 + n);
    std::partial_sum(counts.begin(), counts.end(), counts.begin());
    return counts;
}

// Replaces each distance of the strict lower triangle by its place in their distribution, in cells. Counts columns
// from the diagonal down, and half a column between counting and mapping and behind them.
value_range equalise(tavel::Matrix<double>& distance, double largest_distance, const progress_record& progress)
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

// Adds values to sums after scaling them to a lowest of 0.0.
void add_normalized(const double* values, int count, double lowest, double scale, double* __restrict sums)
{
    for (int r = 0; r < count; ++r)
        sums[r] += (values[r] - lowest) * scale;
}

// The same with the sums handed over: they replace the values and leave zeros behind.
void take_normalized_sums(double* __restrict values, int count, double lowest, double scale, double* __restrict sums)
{
    for (int r = 0; r < count; ++r) {
        values[r] = sums[r] + (values[r] - lowest) * scale;
        sums[r] = 0.0;
    }
}

// Adds the lower triangle, normalized to 0.0 to 1.0, to the running sum in the upper one. There column j of the lower
// triangle has its sum at the top of column n - 1 - j, which is as long: one matrix serves both. The last stream
// brings the sum back down.
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
    const double unit = 1.0 / (streams.size * equalisation_cost + columns);
    const double equalisation_share = unit * equalisation_cost;
    double from = 0.0;
    distance.resize(n, n);
    for (int s = 0; s < streams.size; ++s) {
        const double distance_share = streams[s].columns * unit;
        const double largest_distance = measure_pairs(streams[s], distance, progress.piece(from, distance_share));
        from += distance_share;
        const value_range range = equalise(distance, largest_distance, progress.piece(from, equalisation_share));
        from += equalisation_share;
        add_to_folded_sum(distance, range, s == streams.size - 1);
    }
}

} // namespace veloria
