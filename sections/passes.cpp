#include "sections/passes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace sections {

namespace {

// Mean likeness of moments of a run by their distance; 0 where too few are so far apart to tell.
std::vector<double> means_by_lag(const square& similarity, range run, int fewest)
{
    const int length = run.length();
    std::vector<std::int64_t> sums(static_cast<std::size_t>(length), 0);
    for (int i = run.begin; i < run.end; ++i) {
        const unsigned char* const row = similarity.row(i) + i;
        for (int lag = 0; lag < run.end - i; ++lag)
            sums[static_cast<std::size_t>(lag)] += row[lag];
    }
    std::vector<double> means(sums.size(), 0.0);
    for (int lag = 0; lag + fewest < length; ++lag)
        means[static_cast<std::size_t>(lag)] =
            static_cast<double>(sums[static_cast<std::size_t>(lag)]) / (double{full_scale} * (length - lag));
    return means;
}

double largest(const std::vector<double>& values, int begin, int end)
{
    double most = 0.0;
    for (int i = begin; i < end; ++i)
        most = std::max(most, values[static_cast<std::size_t>(i)]);
    return most;
}

// Where a parabola through a summit and its neighbors is highest.
double summit(const std::vector<double>& values, int place)
{
    const auto p = static_cast<std::size_t>(place);
    if (place < 1 || p + 1 >= values.size())
        return place;
    const double rise = values[p] - values[p - 1], fall = values[p] - values[p + 1];
    return rise < 0.0 || fall < 0.0 || rise + fall <= 0.0 ? place : place + 0.5 * (rise - fall) / (rise + fall);
}

} // namespace

passes find_passes(const square& similarity, range run, const std::vector<int>& alone, const parameters& chosen,
                   const moment_counts& counts, double step)
{
    constexpr double tolerance = 0.06;    // by which the length of a pass may differ
    constexpr double within = 0.85;       // of a pass: what is farther apart is a pass apart, more or less
    constexpr double rest_likeness = 0.8; // where the part stands alone elsewhere
    const int length = run.length();
    const passes undecided{1, static_cast<double>(length)};
    if (length < 2 * counts.shortest)
        return undecided;
    const std::vector<double> means = means_by_lag(similarity, run, counts.shortest_stripe / 2);
    for (int count = 2; length / count >= counts.shortest; ++count) {
        const double expected = static_cast<double>(length) / count;
        const int slack = std::max(1, static_cast<int>(tolerance * expected));
        const int center = static_cast<int>(std::lround(expected));
        const int last = std::min(length, center + slack + 1);
        int lag = center - slack;
        for (int other = lag; other < last; ++other)
            if (means[static_cast<std::size_t>(other)] > means[static_cast<std::size_t>(lag)])
                lag = other;
        const double alike = means[static_cast<std::size_t>(lag)];
        const double inner = largest(means, counts.shortest_stripe, static_cast<int>(within * lag));
        const bool stands_alone =
            std::ranges::any_of(alone, [&](int other) { return std::abs(other - expected) <= 2.0 * slack + 1.0; });
        const bool is_long = lag * step >= chosen.shortest_pass;
        if (is_long && alike >= chosen.pass_likeness && alike >= inner + chosen.pass_contrast)
            return {count, summit(means, lag)};
        if (stands_alone && alike >= rest_likeness && alike >= inner)
            return {count, summit(means, lag)};
    }
    return undecided;
}

} // namespace sections
