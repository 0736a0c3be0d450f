#include "sections/cuts.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace sections {

namespace {

// Likenesses have this scale here: sums stay exact.
constexpr std::int64_t unit = 65536;

// Ordered pairs of moments of a section of that length that are at least `overlap` apart.
std::int64_t pairs_apart(std::int64_t length, std::int64_t overlap)
{
    const std::int64_t rest = std::max<std::int64_t>(0, length - overlap);
    return rest * (rest + 1);
}

std::int64_t sum_of(const unsigned char* values, int count)
{
    std::int64_t sum = 0;
    for (int i = 0; i < count; ++i)
        sum += values[i];
    return sum;
}

// Sum over the ordered pairs of a section that are at least `overlap` apart.
std::int64_t sum_within(const square& similarity, range section, int overlap)
{
    std::int64_t sum = 0;
    for (int i = section.begin + overlap; i < section.end; ++i)
        sum += 2 * sum_of(similarity.row(i) + section.begin, i - overlap + 1 - section.begin);
    return sum;
}

// Sum over the pairs of a moment in one section and one in the next that are at least `overlap` apart.
std::int64_t sum_across(const square& similarity, range section, range next, int overlap)
{
    std::int64_t sum = 0;
    for (int i = next.begin; i < next.end; ++i)
        sum += sum_of(similarity.row(i) + section.begin, std::min(section.end, i - overlap + 1) - section.begin);
    return sum;
}

} // namespace

std::vector<range> cut_blocks(const square& similarity, const common_stripes& stripes, const parameters& chosen,
                              const moment_counts& counts)
{
    const int n = similarity.size;
    const auto share = static_cast<std::int64_t>(chosen.stripe_share * unit);
    const auto cost = static_cast<std::int64_t>(counts.cut_cost * unit);
    constexpr std::int64_t worst = std::numeric_limits<std::int64_t>::min() / 2;
    std::vector<std::int64_t> best(static_cast<std::size_t>(n) + 1, worst); // of the first so many moments
    std::vector<int> last_cut(best.size(), 0);
    std::vector<std::int64_t> block(best.size(), 0); // sum of the block from each begin to the present end
    best[0] = 0;
    for (int end = 1; end <= n; ++end) {
        const int i = end - 1; // the moment that joins all blocks
        const unsigned char* const row = similarity.row(i);
        std::int64_t joined = 0;
        for (int begin = i; begin >= std::max(0, end - counts.longest); --begin) {
            const auto b = static_cast<std::size_t>(begin);
            const int distance = i - begin, length = distance + 1;
            if (distance >= counts.overlap)
                joined += unit * row[begin] / full_scale + share * stripes.share(begin, distance) / unit;
            block[b] += 2 * joined;
            // Only a sound that is too short for any other may be one short section.
            if (best[b] == worst || (length < counts.shortest && !(begin == 0 && end == n)))
                continue;
            const std::int64_t pairs = std::max<std::int64_t>(1, pairs_apart(length, counts.overlap));
            const std::int64_t value = best[b] + length * block[b] / pairs - cost;
            if (value > best[static_cast<std::size_t>(end)]) {
                best[static_cast<std::size_t>(end)] = value;
                last_cut[static_cast<std::size_t>(end)] = begin;
            }
        }
    }
    std::vector<range> sections;
    for (int end = n; end > 0; end = sections.back().begin)
        sections.push_back({last_cut[static_cast<std::size_t>(end)], end});
    std::ranges::reverse(sections);
    return sections;
}

double mean_within(const square& similarity, range section, int overlap)
{
    const std::int64_t pairs = pairs_apart(section.length(), overlap);
    if (pairs == 0)
        return 1.0;
    return static_cast<double>(sum_within(similarity, section, overlap)) / static_cast<double>(full_scale * pairs);
}

std::vector<range> join_blocks(const square& similarity, const std::vector<range>& sections, const parameters& chosen,
                               const moment_counts& counts)
{
    struct block {
        range section;
        std::int64_t sum; // within it, of pairs of moments apart
    };
    const auto mean = [&](const block& each) {
        const auto pairs = static_cast<double>(pairs_apart(each.section.length(), counts.overlap));
        return static_cast<double>(each.sum) / (full_scale * std::max(1.0, pairs));
    };
    std::vector<block> blocks;
    for (const range& section : sections) {
        block last{section, sum_within(similarity, section, counts.overlap)};
        while (!blocks.empty()) {
            const block& before = blocks.back();
            const std::int64_t across = sum_across(similarity, before.section, last.section, counts.overlap);
            const double pairs = static_cast<double>(before.section.length()) * last.section.length();
            const double between = static_cast<double>(across) / (full_scale * pairs);
            if ((mean(before) + mean(last)) / 2.0 - between >= chosen.least_contrast)
                break;
            last = {{before.section.begin, last.section.end}, before.sum + last.sum + 2 * across};
            blocks.pop_back();
        }
        blocks.push_back(last);
    }
    std::vector<range> joined;
    for (const block& each : blocks)
        joined.push_back(each.section);
    return joined;
}

} // namespace sections
