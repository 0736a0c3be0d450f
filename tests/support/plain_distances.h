#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "road/progress.h"
#include "tavel/tavel_dense_vector.h"

/// The distance stage and its bytes step by step: a pass per step, a bisection per cell. What the kernels are compared
/// with, bit by bit, and measured against.
namespace plain {

using veloria::progress_record;
using veloria::report_progress;

// The cells (i, j) below the diagonal, by columns.
template <class STEP>
void for_each_pair(int n, STEP step)
{
    for (int j = 0; j < n - 1; ++j)
        for (int i = j + 1; i < n; ++i)
            step(i, j);
}

// The strict lower parts of the columns, copied out and back.
template <class STEP>
void for_each_column(tavel::Matrix<double>& m, STEP step)
{
    for (int j = 0; j < m.columns - 1; ++j) {
        tavel::Vector<double> column(m.rows - 1 - j);
        std::copy_n(m.column_data(j) + j + 1, column.size, column.begin());
        step(column, j);
        std::copy_n(column.begin(), column.size, m.column_data(j) + j + 1);
    }
}

inline void measure_pairs(const tavel::Matrix<double>& stream, tavel::Matrix<double>& distance,
                          const progress_record& progress)
{
    const progress_record triangle =
        progress.counting(static_cast<double>(std::int64_t{stream.rows - 1} * stream.rows / 2));
    double pairs = 0.0;
    for (int i = 1; i < stream.rows; ++i) {
        for (int j = 0; j < i; ++j) {
            double sum = 0.0;
            for (int k = 0; k < stream.columns; ++k)
                sum += (stream(i, k) - stream(j, k)) * (stream(i, k) - stream(j, k));
            distance(i, j) = std::sqrt(sum);
        }
        report_progress(triangle, pairs += i);
    }
}

inline double largest_below_diagonal(const tavel::Matrix<double>& m)
{
    double largest = 0.0;
    for_each_pair(m.rows, [&](int i, int j) { largest = m(i, j) > largest ? m(i, j) : largest; });
    return largest;
}

inline void normalize_lower_triangle(tavel::Matrix<double>& m, double low)
{
    const double scale = 1.0 / (largest_below_diagonal(m) - low);
    for_each_pair(m.rows, [&](int i, int j) { m(i, j) = (m(i, j) - low) * scale; });
}

// Adds the data to the bins with these centers: a value half way between two centers to the lower bin, a NaN to none.
inline void hist(const tavel::Vector<double>& data, const tavel::Vector<double>& centers, tavel::Vector<double>& counts)
{
    tavel::Vector<double> edges(centers.size - 1);
    for (int k = 0; k < edges.size; ++k)
        edges[k] = centers[k] + (centers[k + 1] - centers[k]) / 2.0;
    for (const double value : data)
        if (value == value)
            counts[static_cast<int>(std::lower_bound(edges.begin(), edges.end(), value) - edges.begin())] += 1.0;
}

// Linear interpolation of the points (x, y), x ascending; beyond the ends it keeps the end values.
inline void interp1q(const tavel::Vector<double>& x, const tavel::Vector<double>& y, const tavel::Vector<double>& xi,
                     tavel::Vector<double>& yi)
{
    for (int i = 0; i < xi.size; ++i) {
        const double query = xi[i];
        const int hi = static_cast<int>(std::upper_bound(x.begin(), x.end(), query) - x.begin()), lo = hi - 1;
        if (!(query < x[x.size - 1]))
            yi[i] = y[x.size - 1];
        else if (!(query > x[0]))
            yi[i] = y[0];
        else
            yi[i] = ((query - x[lo]) * y[hi] + (x[hi] - query) * y[lo]) / (x[hi] - x[lo]);
    }
}

inline void equalize(tavel::Matrix<double>& distance, const progress_record& progress)
{
    const int n = distance.rows;
    const double largest = largest_below_diagonal(distance);
    tavel::Vector<double> centers(51), counts(51);
    for (int k = 0; k <= 50; ++k)
        centers[k] = k * (largest / 50.0);
    const progress_record square = progress.counting(static_cast<double>(n) * n);
    double cells = 0.0;
    for_each_column(distance, [&](tavel::Vector<double>& column, int j) {
        plain::hist(column, centers, counts);
        report_progress(square, cells += n - j);
    });
    counts[0] += static_cast<double>(std::int64_t{n - 1} * n / 2 + n);
    for (int k = 1; k <= 50; ++k)
        counts[k] += counts[k - 1];
    report_progress(square, cells += n / 2);
    for_each_column(distance, [&](tavel::Vector<double>& column, int j) {
        plain::interp1q(centers, counts, column, column);
        report_progress(square, cells += n - j);
    });
    normalize_lower_triangle(distance, counts[0]);
    report_progress(square, cells + n / 2);
}

/// For two frames or more.
inline void compute_frame_distances(const tavel::Vector<tavel::Matrix<double>>& streams,
                                    tavel::Matrix<double>& distance, const progress_record& progress)
{
    const int n = streams[0].rows;
    int columns = 0;
    for (const auto& stream : streams)
        columns += stream.columns;
    const double unit = 1.0 / (streams.size * 28.4 + columns);
    double from = 0.0;
    for (const auto& stream : streams) {
        distance.resize(n, n);
        plain::measure_pairs(stream, distance, progress.piece(from, stream.columns * unit));
        normalize_lower_triangle(distance, 0.0);
        from += stream.columns * unit;
        equalize(distance, progress.piece(from, unit * 28.4));
        for_each_pair(n, [&](int i, int j) { distance(i - j - 1, n - 1 - j) += distance(i, j); });
        from += unit * 28.4;
    }
    for_each_pair(n, [&](int i, int j) { distance(i, j) = std::exchange(distance(i - j - 1, n - 1 - j), 0.0); });
}

inline void quantize(const tavel::Matrix<double>& distance, tavel::Matrix<unsigned char>& similarity)
{
    const int n = distance.rows;
    const std::span cells(distance.data, static_cast<std::size_t>(n) * static_cast<std::size_t>(n));
    double low = cells[0];
    double high = cells[0];
    for (const double x : cells) {
        low = x < low ? x : low;
        high = x > high ? x : high;
    }
    similarity.resize(n, n);
    std::fill_n(similarity.data, cells.size(), static_cast<unsigned char>(255));
    for_each_pair(n, [&](int j, int i) {
        const double level = std::round(255.0 * (1.0 - (distance(j, i) - low) * (1.0 / (high - low))));
        similarity(j, i) = similarity(i, j) = static_cast<unsigned char>(level >= 0.0 ? level : 0.0);
    });
}

} // namespace plain
