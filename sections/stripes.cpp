#include "sections/stripes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace sections {

namespace {

// Sums of `smoothing` entries of every diagonal, a lag an element, for a window that slides down the square. What lies
// beyond the square is darker than anything in it.
class sliding_diagonals {
public:
    sliding_diagonals(const square& similarity, int smoothing, int aside)
        : cells(similarity), width(smoothing), margin(aside),
          storage(static_cast<std::size_t>(similarity.size + 2 * aside + 2), -1)
    {
        int* const sums = changing();
        std::fill(sums, sums + lags(), 0);
        for (int i = 0; i < smoothing; ++i) {
            const unsigned char* const row = similarity.row(i) + i;
            for (int lag = 0; lag < lags(); ++lag)
                sums[lag] += row[lag];
        }
    }

    // Lags at which the window lies inside the square.
    int lags() const { return cells.size - width - first + 1; }

    // From -aside - 1 to size + aside.
    const int* by_lag() const { return storage.data() + margin + 1; }

    void advance()
    {
        const unsigned char* const leaves = cells.row(first) + first;
        const unsigned char* const enters = cells.row(first + width) + first + width;
        int* const sums = changing();
        ++first;
        for (int lag = 0; lag < lags(); ++lag)
            sums[lag] += enters[lag] - leaves[lag];
        sums[lags()] = -1;
    }

private:
    int* changing() { return storage.data() + margin + 1; }

    const square& cells;
    int width, margin;
    int first = 0;
    std::vector<int> storage;
};

// Which lags stand out: no darker than their neighbors, and brighter than those `aside` before and behind.
void mark_summits(const int* sums, int lags, int aside, int contrast, int brightness, unsigned char* marks)
{
    for (int lag = 0; lag < lags; ++lag) {
        const int here = sums[lag];
        const int beside = std::max(sums[lag - aside], sums[lag + aside]);
        const int summit = std::max(sums[lag - 1], sums[lag + 1]);
        marks[lag] = static_cast<unsigned char>((here >= beside + contrast) & (here >= summit) & (here >= brightness));
    }
}

} // namespace

std::vector<stripe> find_stripes(const square& similarity, const parameters& chosen, const moment_counts& counts)
{
    std::vector<stripe> found;
    const int n = similarity.size, smoothing = counts.smoothing, half = smoothing / 2;
    if (n <= smoothing)
        return found;
    sliding_diagonals diagonals(similarity, smoothing, counts.aside);
    const int contrast = static_cast<int>(chosen.stripe_contrast * full_scale * smoothing);
    const int brightness = static_cast<int>(chosen.stripe_likeness * full_scale * smoothing);
    std::vector<unsigned char> marks(static_cast<std::size_t>(n), 0);
    std::vector<int> lengths(static_cast<std::size_t>(n), 0);
    // A mark stands in the middle of its window; at the ends of the sound a passage goes on to the very end.
    const auto end_run = [&](int lag, int end) {
        const int begin = end - lengths[static_cast<std::size_t>(lag)];
        if (end - begin >= counts.shortest_stripe) {
            const int last = end + smoothing - 1 + lag;
            found.push_back({{begin == 0 ? 0 : begin + half, last == n ? n - lag : end + half}, lag});
        }
        lengths[static_cast<std::size_t>(lag)] = 0;
    };
    for (int first = 0; first + smoothing <= n; ++first) {
        const int lags = n - smoothing - first + 1;
        mark_summits(diagonals.by_lag(), lags, counts.aside, contrast, brightness, marks.data());
        for (int lag = counts.smoothing; lag < lags; ++lag) {
            if (marks[static_cast<std::size_t>(lag)])
                ++lengths[static_cast<std::size_t>(lag)];
            else if (lengths[static_cast<std::size_t>(lag)] > 0)
                end_run(lag, first);
        }
        if (lags - 1 >= counts.smoothing)
            end_run(lags - 1, first + 1); // its window leaves the square
        if (lags > 1)
            diagonals.advance();
    }
    return found;
}

common_stripes::common_stripes(int n, int longest, const std::vector<stripe>& stripes)
    : row_length(longest + 2), counts(static_cast<std::size_t>(n) * static_cast<std::size_t>(longest + 2), 0)
{
    // Each passage counts for all pairs within it: +1 from distance 0 on, -1 from its end on, summed up below.
    for (const stripe& s : stripes)
        for (const int offset : {0, s.lag})
            for (int i = s.passage.begin; i < s.passage.end; ++i) {
                int* const row = counts.data() + static_cast<std::ptrdiff_t>(i + offset) * row_length;
                ++row[0];
                --row[std::min(s.passage.end - i, row_length - 1)];
            }
    for (int i = 0; i < n; ++i) {
        int* const row = counts.data() + static_cast<std::ptrdiff_t>(i) * row_length;
        for (int distance = 1; distance < row_length; ++distance)
            row[distance] += row[distance - 1];
    }
}

int common_stripes::count(int i, int distance) const
{
    return counts[static_cast<std::size_t>(i) * static_cast<std::size_t>(row_length) +
                  static_cast<std::size_t>(distance)];
}

int common_stripes::share(int i, int distance) const
{
    const std::int64_t both = count(i, distance);
    const std::int64_t either = count(i, 0) + count(i + distance, 0) - both;
    return static_cast<int>(65536 * (both + 1) / (either + 1));
}

} // namespace sections
