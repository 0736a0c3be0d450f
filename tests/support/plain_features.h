#pragma once

#include <algorithm>
#include <numeric>
#include <vector>

#include "features/octave_bands.h"
#include "tavel/tavel_dense_vector.h"

/// Kernels of the features in their plainest form: what the fast ones are tested and measured against.
namespace plain {

/// A selection from each end of the band.
inline veloria::band_extremes measure_band(const float* power, const veloria::octave_band& band,
                                           std::vector<float>& scratch)
{
    scratch.assign(power + band.first_bin, power + band.last_bin + 1);
    const auto valley_end = scratch.begin() + band.edge_count;
    const auto peak_begin = scratch.end() - band.edge_count;
    std::nth_element(scratch.begin(), valley_end, scratch.end());
    std::nth_element(valley_end, peak_begin, scratch.end());
    const auto count = static_cast<float>(band.edge_count);
    return {std::accumulate(peak_begin, scratch.end(), 0.0f) / count,
            std::accumulate(scratch.begin(), valley_end, 0.0f) / count};
}

/// The median of each window, sorted anew.
inline tavel::Matrix<double> median_of_rows(const tavel::Matrix<double>& matrix, int length)
{
    tavel::Matrix<double> medians(matrix.rows, matrix.columns);
    std::vector<double> window;
    for (int r = 0; r < matrix.rows; ++r) {
        for (int t = 0; t < matrix.columns; ++t) {
            window.clear();
            for (int c = t - length / 2; c < t - length / 2 + length; ++c)
                window.push_back(c >= 0 && c < matrix.columns ? matrix(r, c) : 0.0);
            std::sort(window.begin(), window.end());
            medians(r, t) = (window[(window.size() - 1) / 2] + window[window.size() / 2]) * 0.5;
        }
    }
    return medians;
}

} // namespace plain
