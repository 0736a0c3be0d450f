#include "sections/find_sections.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "sections/cuts.h"
#include "sections/edges.h"
#include "sections/letters.h"
#include "sections/passes.h"
#include "sections/stripes.h"

namespace sections {

namespace {

// Bytes are places in a distribution: of a held tone they show what rounding leaves, as if that were music. But
// moments whose windows overlap are alike in all that sounds.
bool is_ripple(const square& similarity, const time_axis& times, const parameters& chosen)
{
    const int n = similarity.size;
    if (times.step_seconds >= times.window_seconds || n < 2)
        return false;
    std::int64_t neighbors = 0, all = 0;
    for (int i = 0; i < n; ++i) {
        const unsigned char* const row = similarity.row(i);
        std::int64_t sum = 0;
        for (int j = 0; j < n; ++j)
            sum += row[j];
        all += sum - full_scale;
        neighbors += i + 1 < n ? row[i + 1] : 0;
    }
    const double count = n;
    const double excess =
        static_cast<double>(neighbors) / (count - 1.0) - static_cast<double>(all) / (count * (count - 1.0));
    return excess < chosen.ripple * full_scale;
}

// A, B, ... Z, AA, AB, ...
std::string letter_name(int letter)
{
    std::string name;
    for (; letter >= 0; letter = letter / 26 - 1)
        name.insert(name.begin(), static_cast<char>('A' + letter % 26));
    return name;
}

std::vector<range> cut(const square& similarity, const parameters& chosen, const moment_counts& counts)
{
    const common_stripes stripes(similarity.size, counts.longest, find_stripes(similarity, chosen, counts));
    return join_blocks(similarity, cut_blocks(similarity, stripes, chosen, counts), chosen, counts);
}

// Lengths of the other runs of a run's letter.
std::vector<int> other_lengths(const std::vector<range>& runs, const std::vector<int>& letters, std::size_t run)
{
    std::vector<int> lengths;
    for (std::size_t other = 0; other < runs.size(); ++other)
        if (other != run && letters[other] == letters[run])
            lengths.push_back(runs[other].length());
    return lengths;
}

} // namespace

std::vector<section> find_sections(const square& similarity, const time_axis& times, const parameters& chosen)
{
    const int n = similarity.size;
    if (n == 0)
        return {};
    const double step = times.step_seconds;
    const double end_seconds = times.first_seconds + (n - 0.5) * step;
    if (is_ripple(similarity, times, chosen))
        return {{0.0, end_seconds, letter_name(0)}};

    const moment_counts counts = count_moments(chosen, n, step, times.window_seconds);
    std::vector<range> runs = cut(similarity, chosen, counts);
    std::vector<int> letters = name_sections(similarity, runs, counts);
    join_rounds(letters);
    join_equal_neighbors(runs, letters);
    const std::vector<double> edges = place_cuts(similarity, runs, letters, chosen, counts);

    std::vector<section> found;
    const auto seconds = [&](double edge) { return times.first_seconds + (edge - 0.5) * step - chosen.ringing; };
    for (std::size_t r = 0; r < runs.size(); ++r) {
        const std::string label = letter_name(letters[r]);
        const passes equal = find_passes(similarity, runs[r], other_lengths(runs, letters, r), chosen, counts, step);
        for (int p = 0; p < equal.count; ++p) {
            const double begin = edges[r] + p * equal.length;
            found.push_back(
                {seconds(begin), seconds(p + 1 < equal.count ? begin + equal.length : edges[r + 1]), label});
        }
    }
    found.front().start_seconds = 0.0;
    found.back().end_seconds = end_seconds;
    return found;
}

} // namespace sections
