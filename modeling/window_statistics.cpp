#include "modeling/window_statistics.h"

#include <algorithm>
#include <numeric>

#include "modeling/frame_grid.h"

namespace veloria {

namespace {

// (sum of squares - sum^2 / n) / (n - 1), at least 0, times (n - 1) / n: the variance that divides by n, rounded as
// the way over n - 1 rounds it.
double variance(const double* values, double sum, int count)
{
    const double n = count;
    const double squares = std::inner_product(values, values + count, values, 0.0);
    const double estimate = (squares - sum * sum / n) / std::max(n - 1.0, 1.0);
    return (estimate > 0.0 ? estimate : 0.0) * ((n - 1.0) / n);
}

} // namespace

void model_window_statistics(const tavel::Matrix<double>& stream, int modeling_frames,
                             const tavel::Vector<int>& frame_centers, bool with_variance,
                             tavel::Matrix<double>& modeled, const progress_record& progress)
{
    const int features = stream.columns;
    modeled.resize(frame_centers.size, with_variance ? 2 * features : features);
    if (modeled.rows == 0)
        return;

    const progress_record rows = progress.counting(modeled.rows);
    for (int row = 0; row < modeled.rows; ++row) {
        const frame_window window = window_around(frame_centers[row], modeling_frames, stream.rows);
        for (int feature = 0; feature < features; ++feature) {
            const double* values = stream.column_data(feature) + window.first;
            const double sum = std::accumulate(values, values + window.count, 0.0);
            modeled(row, feature) = sum / window.count;
            if (with_variance)
                modeled(row, features + feature) = variance(values, sum, window.count);
        }
        report_progress(rows, row + 1);
    }
}

} // namespace veloria
