#include "sections/edges.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "sections/letters.h"

namespace sections {

namespace {

// Mean likeness of a moment to all that has a letter, but for what is near it.
double mean_to_letter(const square& similarity, int moment, const std::vector<range>& sections,
                      const std::vector<int>& letters, int letter, int near)
{
    const unsigned char* const row = similarity.row(moment);
    std::int64_t sum = 0, count = 0;
    for (std::size_t s = 0; s < sections.size(); ++s) {
        if (letters[s] != letter)
            continue;
        for (int j = sections[s].begin; j < sections[s].end; ++j)
            if (j <= moment - near || j >= moment + near) {
                sum += row[j];
                ++count;
            }
    }
    return count == 0 ? 0.0 : static_cast<double>(sum) / static_cast<double>(full_scale * count);
}

// Adds, for each moment of a stretch, how far it is above or below the middle between stripe and surroundings, in the
// mean of all other passes of a section's part.
void add_stripes(const square& similarity, const std::vector<range>& sections, const std::vector<int>& letters,
                 std::size_t section, range stretch, double weight, std::vector<double>& sums)
{
    constexpr double least_stripe = 0.7;
    const auto length = static_cast<std::size_t>(stretch.length());
    std::vector<double> heights(length, 0.0);
    std::vector<int> passes(length, 0);
    for (std::size_t other = 0; other < sections.size(); ++other) {
        if (other == section || letters[other] != letters[section])
            continue;
        const fit fitting = fit_sections(similarity, sections[section], sections[other]);
        if (fitting.stripe < least_stripe)
            continue;
        for (std::size_t k = 0; k < length; ++k) {
            const int i = stretch.begin + static_cast<int>(k), j = i + fitting.lag;
            if (j < 0 || j >= similarity.size)
                continue;
            heights[k] +=
                similarity.row(i)[j] / static_cast<double>(full_scale) - (fitting.stripe + fitting.mean) / 2.0;
            ++passes[k];
        }
    }
    for (std::size_t k = 0; k < length; ++k)
        if (passes[k] > 0)
            sums[k] += weight * heights[k] / passes[k];
}

// How alike the moments before a cut are to those behind it, their windows side by side.
double mean_across(const square& similarity, int cut, int overlap)
{
    std::int64_t sum = 0, count = 0;
    for (int i = std::max(0, cut - overlap); i < std::min(cut, similarity.size - overlap); ++i) {
        sum += similarity.row(i)[i + overlap];
        ++count;
    }
    return count == 0 ? 1.0 : static_cast<double>(sum) / static_cast<double>(full_scale * count);
}

// The cut of a stretch that has the most of what speaks for the first letter before it and for the second behind it,
// and of the jump at it, an entry for each place; between two moments by a parabola.
double best_cut(const std::vector<double>& favor, const std::vector<double>& jumps)
{
    std::vector<double> gain(jumps.size());
    double before = 0.0;
    for (std::size_t k = 0; k < gain.size(); ++k) {
        gain[k] = before + jumps[k];
        before += k < favor.size() ? favor[k] : 0.0;
    }
    const auto best = static_cast<std::size_t>(std::ranges::max_element(gain) - gain.begin());
    double cut = static_cast<double>(best);
    if (best > 0 && best < favor.size()) {
        const double rise = gain[best] - gain[best - 1], fall = gain[best] - gain[best + 1]; // neither is below 0
        if (rise + fall > 0.0)
            cut += 0.5 * (rise - fall) / (rise + fall);
    }
    return cut;
}

// Takes from likenesses along a stretch a share of the middle between their levels at its two ends: a letter that is
// alike to all, or a part that begins softly, moves no cut.
void level(std::vector<double>& likeness, double share)
{
    const std::size_t third = std::max<std::size_t>(1, likeness.size() / 3);
    double sum = 0.0;
    for (std::size_t k = 0; k < third; ++k)
        sum += likeness[k] + likeness[likeness.size() - 1 - k];
    const double middle = sum / static_cast<double>(2 * third);
    for (double& value : likeness)
        value -= share * middle;
}

// How alike each moment of a stretch is to a letter, leveled.
std::vector<double> likeness_along(const square& similarity, range stretch, const std::vector<range>& sections,
                                   const std::vector<int>& letters, int letter, int near, double leveling)
{
    std::vector<double> likeness;
    for (int i = stretch.begin; i < stretch.end; ++i)
        likeness.push_back(mean_to_letter(similarity, i, sections, letters, letter, near));
    level(likeness, leveling);
    return likeness;
}

} // namespace

std::vector<double> place_cuts(const square& similarity, const std::vector<range>& sections,
                               const std::vector<int>& letters, const parameters& chosen, const moment_counts& counts)
{
    std::vector<double> edges{0.0};
    for (std::size_t s = 1; s < sections.size(); ++s) {
        const int cut = sections[s].begin;
        const range stretch{std::max(sections[s - 1].begin + counts.shortest, cut - counts.reach),
                            std::min(sections[s].end - counts.shortest, cut + counts.reach)};
        if (stretch.length() <= 0) {
            edges.push_back(cut);
            continue;
        }
        const auto likeness_to = [&](int letter) {
            return likeness_along(similarity, stretch, sections, letters, letter, counts.overlap + 1, chosen.leveling);
        };
        std::vector<double> favor = likeness_to(letters[s - 1]);
        std::ranges::transform(favor, likeness_to(letters[s]), favor.begin(), std::minus<>());
        add_stripes(similarity, sections, letters, s - 1, stretch, chosen.stripe_pull, favor);
        add_stripes(similarity, sections, letters, s, stretch, -chosen.stripe_pull, favor);
        std::vector<double> jumps;
        for (int place = stretch.begin; place <= stretch.end; ++place)
            jumps.push_back(chosen.jump * (1.0 - mean_across(similarity, place, counts.overlap)));
        edges.push_back(stretch.begin + best_cut(favor, jumps));
    }
    if (!sections.empty())
        edges.push_back(similarity.size);
    return edges;
}

} // namespace sections
