#include "sections/letters.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "sections/cuts.h"

namespace sections {

namespace {

// A stripe must cover so much of the shorter section: cuts are a moment or two off, and a part may end early.
constexpr double least_cover = 0.7;

// Two passes of a part that differ by more than this in tempo aren't taken for one.
constexpr double most_stretch = 4.0 / 3.0;

// The brightest mean of the lines from one corner of the rectangle to the other, the ends a moment to and fro.
double brightest_stretched(const square& similarity, range first, range second)
{
    const int longer = std::max(first.length(), second.length());
    const int shorter = std::min(first.length(), second.length());
    if (shorter < 2 || longer > most_stretch * shorter)
        return 0.0;
    double brightest = 0.0;
    for (const int begin_shift : {-1, 0, 1})
        for (const int end_shift : {-1, 0, 1}) {
            const std::int64_t from = begin_shift, to = second.length() - 1 + end_shift;
            std::int64_t sum = 0, count = 0;
            for (std::int64_t k = 0; k < longer; ++k) {
                const std::int64_t steps = longer - 1, half = steps / 2;
                const std::int64_t i = (k * (first.length() - 1) + half) / steps;
                const std::int64_t j = (from * steps + k * (to - from) + steps + half) / steps - 1; // no halves below 0
                if (j < 0 || j >= second.length())
                    continue;
                sum += similarity.row(first.begin + static_cast<int>(i))[second.begin + j];
                ++count;
            }
            brightest = std::max(brightest, static_cast<double>(sum) / static_cast<double>(full_scale * count));
        }
    return brightest;
}

// What speaks for one letter (above 0) or two. The weights separate equal from other parts of composed songs.
double affinity(const fit& fitting, double inside_first, double inside_second)
{
    const double darker = std::min(inside_first, inside_second), brighter = std::max(inside_first, inside_second);
    return std::max(fitting.stripe, fitting.stretched) + 0.2 * fitting.mean - 0.29 * darker - 0.12 * brighter - 0.507;
}

// Joins the two groups that fit best in the mean of all pairs until none fit any more.
// Average linkage: R. R. Sokal, C. D. Michener, Univ. Kansas Sci. Bull. 38, 1958.
class grouping {
public:
    explicit grouping(const std::vector<range>& sections)
        : count(sections.size()), sums(count * count, 0.0), sizes(count), group(count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            group[i] = i;
            sizes[i] = sections[i].length();
        }
    }

    void set(std::size_t i, std::size_t j, double affinity) { sum(i, j) = sum(j, i) = affinity * sizes[i] * sizes[j]; }

    void join_while_fitting()
    {
        for (;;) {
            double best = 0.0;
            std::size_t into = 0, from = 0;
            for (std::size_t i = 0; i < count; ++i)
                for (std::size_t j = i + 1; sizes[i] > 0.0 && j < count; ++j)
                    if (sizes[j] > 0.0 && sum(i, j) > best * sizes[i] * sizes[j]) {
                        best = sum(i, j) / (sizes[i] * sizes[j]);
                        into = i;
                        from = j;
                    }
            if (best <= 0.0)
                return;
            join(into, from);
        }
    }

    // The first member of each one's group.
    const std::vector<std::size_t>& groups() const { return group; }

private:
    double& sum(std::size_t i, std::size_t j) { return sums[i * count + j]; }

    void join(std::size_t into, std::size_t from)
    {
        for (std::size_t k = 0; k < count; ++k)
            if (k != into && k != from) {
                sum(into, k) += sum(from, k);
                sum(k, into) = sum(into, k);
            }
        sizes[into] += sizes[from];
        sizes[from] = 0.0; // gone
        std::ranges::replace(group, from, into);
    }

    std::size_t count;
    std::vector<double> sums;  // of the affinities of all pairs of moments between two groups
    std::vector<double> sizes; // moments; 0 for a group that has gone into another
    std::vector<std::size_t> group;
};

} // namespace

fit fit_sections(const square& similarity, range first, range second)
{
    const int rows = first.length(), columns = second.length();
    std::vector<int> sums(static_cast<std::size_t>(rows + columns), 0); // by place of the diagonal from bottom left on
    for (int i = 0; i < rows; ++i) {
        const unsigned char* const row = similarity.row(first.begin + i) + second.begin;
        int* const diagonals = sums.data() + rows - 1 - i;
        for (int j = 0; j < columns; ++j)
            diagonals[j] += row[j];
    }
    const int least = std::max(1, static_cast<int>(least_cover * std::min(rows, columns)));
    fit found{0.0, 0.0, second.begin - first.begin, brightest_stretched(similarity, first, second)};
    std::int64_t total = 0;
    for (int d = 0; d < rows + columns - 1; ++d) {
        const int offset = d - (rows - 1);
        const int length = std::min(rows, columns - offset) - std::max(0, -offset);
        const int sum = sums[static_cast<std::size_t>(d)];
        total += sum;
        if (length < least)
            continue;
        const double mean = static_cast<double>(sum) / (full_scale * length);
        if (mean > found.stripe) {
            found.stripe = mean;
            found.lag = second.begin - first.begin + offset;
        }
    }
    found.mean = static_cast<double>(total) / (static_cast<double>(full_scale) * rows * columns);
    return found;
}

std::vector<int> name_sections(const square& similarity, const std::vector<range>& sections,
                               const moment_counts& counts)
{
    const std::size_t count = sections.size();
    std::vector<double> inside(count);
    std::ranges::transform(sections, inside.begin(),
                           [&](range section) { return mean_within(similarity, section, counts.overlap); });
    grouping groups(sections);
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t j = i + 1; j < count; ++j)
            groups.set(i, j, affinity(fit_sections(similarity, sections[i], sections[j]), inside[i], inside[j]));
    groups.join_while_fitting();

    std::vector<int> letters(count);
    int next = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t first = groups.groups()[i];
        letters[i] = first == i ? next++ : letters[first];
    }
    return letters;
}

void join_rounds(std::vector<int>& letters)
{
    constexpr std::size_t fewest_rounds = 6;
    for (std::size_t round = 2; round * fewest_rounds <= letters.size(); ++round)
        if (std::equal(letters.begin() + static_cast<std::ptrdiff_t>(round), letters.end(), letters.begin())) {
            std::ranges::fill(letters, 0);
            return;
        }
}

void join_equal_neighbors(std::vector<range>& sections, std::vector<int>& letters)
{
    std::size_t kept = 0;
    for (std::size_t i = 0; i < sections.size(); ++i) {
        if (kept > 0 && letters[kept - 1] == letters[i]) {
            sections[kept - 1].end = sections[i].end;
            continue;
        }
        sections[kept] = sections[i];
        letters[kept++] = letters[i];
    }
    sections.resize(kept);
    letters.resize(kept);
}

} // namespace sections
