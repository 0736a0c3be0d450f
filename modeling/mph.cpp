#include "modeling/mph.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

#include "modeling/frame_grid.h"

namespace veloria {

namespace {

constexpr int probe_count = 4;
constexpr double probe_weights[probe_count] = {25.0, 18.0, 14.0, 10.0};

// Share of the rank table in the work of a stream; the rows take the rest.
constexpr double rank_share = 0.18;

// The numbers of the largest features of each frame, largest first: a column per frame.
tavel::Matrix<int> rank_features(const tavel::Matrix<double>& stream, const progress_record& progress)
{
    tavel::Matrix<int> ranks(probe_count, stream.rows);
    std::vector<int> features(static_cast<std::size_t>(stream.columns));
    std::iota(features.begin(), features.end(), 0);
    const progress_record frames = progress.counting(stream.rows);
    for (int frame = 0; frame < stream.rows; ++frame) {
        const auto leads = [&](int a, int b) {
            const double value_a = stream(frame, a);
            const double value_b = stream(frame, b);
            if (value_a > value_b || value_b > value_a)
                return value_a > value_b;
            if (std::isnan(value_a) != std::isnan(value_b))
                return std::isnan(value_b); // a NaN comes last
            return a < b;
        };
        int* best = ranks.column_data(frame);
        std::partial_sort_copy(features.begin(), features.end(), best, best + probe_count, leads);
        report_progress(frames, frame + 1);
    }
    return ranks;
}

// All sums are whole numbers, so that they are exact in any order.
void add_transitions(const int* from, const int* to, int features, double* histogram)
{
    for (int i = 0; i < probe_count; ++i)
        for (int j = 0; j < probe_count; ++j)
            histogram[from[i] * features + to[j]] += probe_weights[i] + probe_weights[j];
}

} // namespace

void model_mph(const tavel::Matrix<double>& stream, int modeling_frames, const tavel::Vector<int>& frame_centers,
               tavel::Matrix<double>& modeled, const progress_record& progress)
{
    const int features = stream.columns;
    modeled.resize(frame_centers.size, features * features);
    if (modeled.rows == 0)
        return;

    const tavel::Matrix<int> ranks = rank_features(stream, progress.piece(0.0, rank_share));
    const progress_record rows = progress.piece(rank_share, 1.0 - rank_share).counting(modeled.rows);
    tavel::Vector<double> histogram(modeled.columns);
    for (int row = 0; row < modeled.rows; ++row) {
        const frame_window window = window_around(frame_centers[row], modeling_frames, stream.rows);
        std::fill(histogram.begin(), histogram.end(), 0.0);
        for (int frame = window.first; frame + 1 < window.first + window.count; ++frame)
            add_transitions(ranks.column_data(frame), ranks.column_data(frame + 1), features, histogram.data);
        for (int cell = 0; cell < histogram.size; ++cell)
            modeled(row, cell) = histogram[cell];
        report_progress(rows, row + 1);
    }
}

} // namespace veloria
