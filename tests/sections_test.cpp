#include "sections/find_sections.h"

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sections/cuts.h"
#include "sections/stripes.h"
#include "tests/support/song_square.h"

using sections::section;

namespace {

constexpr sections::time_axis half_seconds{0.5, 0.5, 1.0};

std::string form_of(const std::vector<section>& found)
{
    std::string form;
    for (const section& each : found)
        form += each.label;
    return form;
}

std::vector<double> starts_of(const std::vector<section>& found)
{
    std::vector<double> starts;
    for (const section& each : found)
        starts.push_back(each.start_seconds);
    return starts;
}

struct form_case {
    const char* form;
    std::vector<int> lengths; // in moments of half a second
    const char* found;
};

TEST(Sections, FindTheFormOfASong)
{
    const form_case cases[] = {
        {"ABAB", {30, 40, 30, 40}, "ABAB"},
        {"AABA", {24, 24, 30, 24}, "AABA"}, // the last A is as long as a pass
        {"AAB", {30, 30, 40}, "AAB"},       // passes of 15 s begin anew
        {"ABCDE", {20, 33, 27, 45, 16}, "ABCDE"},
        {"AAAAAAAA", {30, 30, 30, 30, 30, 30, 30, 30}, "AAAAAAAA"},
        {"ABACA", {9, 20, 9, 50, 9}, "ABACA"},
        {"ABABABABABAB", std::vector<int>(12, 20), "AAAAAA"}, // six rounds of one part, not of two
        {"AAB", {12, 12, 40}, "AB"},                          // a loop of 6 s, or a part twice: nothing tells
    };
    for (const form_case& c : cases) {
        SCOPED_TRACE(c.form);
        const made_square square = song(c.form, c.lengths);
        const std::vector<section> found = sections::find_sections(square.view(), half_seconds);
        EXPECT_EQ(form_of(found), c.found);
        if (found.size() != c.lengths.size())
            continue;
        double start = 0.0;
        for (std::size_t k = 0; k < found.size(); ++k) {
            EXPECT_NEAR(found[k].start_seconds, start, 0.5) << "section " << k;
            start += 0.5 * c.lengths[k];
        }
    }
}

TEST(Sections, FollowOneAnotherFromTheStartToTheEnd)
{
    const made_square square = song("ABACAB", {20, 31, 20, 44, 20, 31});
    const std::vector<section> found = sections::find_sections(square.view(), {0.49, 0.5, 1.0});
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found.front().start_seconds, 0.0);
    EXPECT_DOUBLE_EQ(found.back().end_seconds, 0.49 + 0.5 * (square.n - 0.5));
    for (std::size_t k = 1; k < found.size(); ++k)
        EXPECT_EQ(found[k].start_seconds, found[k - 1].end_seconds);
}

TEST(Sections, AreThereAtAnyStep)
{
    // The same song in steps of 0.25 s and of 1 s.
    for (const double step : {0.25, 1.0}) {
        SCOPED_TRACE(step);
        const auto length = [&](double seconds) { return static_cast<int>(seconds / step); };
        const made_square square = song("ABA", {length(24), length(16), length(24)});
        const std::vector<section> found = sections::find_sections(square.view(), {step, step, 1.0});
        EXPECT_EQ(form_of(found), "ABA");
        EXPECT_THAT(starts_of(found), testing::Pointwise(testing::DoubleNear(step), {0.0, 24.0, 40.0}));
    }
}

TEST(Sections, AreOneWhereNothingChanges)
{
    std::mt19937 random(3);
    const auto near = [](int i, int j) { return j - i == 1; }; // windows that overlap are alike whatever sounds
    for (const int n : {1, 2, 3, 7, 8, 9, 20, 400}) {
        SCOPED_TRACE(n);
        const made_square silence = made_square(n).fill([](int, int) { return 0; });
        const made_square still = made_square(n).fill([](int, int) { return 255; });
        const made_square noise =
            made_square(n).fill([&](int i, int j) { return near(i, j) ? 220 : static_cast<int>(random() % 256); });
        const made_square ripple = made_square(n).fill([](int i, int j) { return (j - i) % 20 == 0 ? 250 : 120; });
        for (const made_square* square : {&silence, &still, &noise, &ripple})
            EXPECT_EQ(form_of(sections::find_sections(square->view(), half_seconds)), "A");
    }
    EXPECT_TRUE(sections::find_sections(made_square(0).view(), half_seconds).empty());
}

TEST(Sections, TakeMoreLettersThanThereAre)
{
    std::string form;
    for (int part = 0; part < 30; ++part)
        form += static_cast<char>('0' + part);
    const made_square square = song(form, std::vector<int>(30, 20));
    const std::vector<section> found = sections::find_sections(square.view(), half_seconds);
    ASSERT_EQ(found.size(), 30U);
    EXPECT_EQ(found[25].label, "Z");
    EXPECT_EQ(found[26].label, "AA");
    EXPECT_EQ(found[29].label, "AD");
}

// The best of all ways to cut, by trying each.
double value_of(const sections::square& square, const std::vector<sections::range>& ranges, double cost, int overlap)
{
    double value = 0.0;
    for (const sections::range& each : ranges)
        value += each.length() * sections::mean_within(square, each, overlap) - cost;
    return value;
}

double best_value(const sections::square& square, int begin, const sections::moment_counts& counts)
{
    if (begin == square.size)
        return 0.0;
    double best = -1e9;
    for (int end = begin + counts.shortest; end <= std::min(square.size, begin + counts.longest); ++end)
        best = std::max(best, value_of(square, {{begin, end}}, counts.cut_cost, counts.overlap) +
                                  best_value(square, end, counts));
    return best;
}

TEST(Cuts, AreTheBestOfAll)
{
    sections::parameters chosen;
    chosen.stripe_share = 0.0;
    sections::moment_counts counts = sections::count_moments(chosen, 20, 0.5, 1.0);
    counts.shortest = 3;
    counts.longest = 9;
    for (unsigned seed = 0; seed < 5; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const made_square square = made_square(20).fill([&](int, int) { return random() % 256; });
        const sections::common_stripes none(square.n, counts.longest, {});
        const std::vector<sections::range> cut = sections::cut_blocks(square.view(), none, chosen, counts);
        // Sums are cut off at 1 / 65536 of a moment, some hundred times.
        EXPECT_NEAR(value_of(square.view(), cut, counts.cut_cost, counts.overlap), best_value(square.view(), 0, counts),
                    0.01);
    }
}

TEST(Cuts, CostLessInAShortSound)
{
    const sections::parameters chosen;
    for (const double step : {0.25, 0.5}) {
        const auto seconds = [&](double sound) {
            return step * sections::count_moments(chosen, static_cast<int>(sound / step), step, 1.0).cut_cost;
        };
        EXPECT_DOUBLE_EQ(seconds(10.0), chosen.least_cut_cost);
        EXPECT_DOUBLE_EQ(seconds(60.0), 60.0 * chosen.cut_share);
        EXPECT_DOUBLE_EQ(seconds(3600.0), chosen.cut_cost);
    }
}

TEST(Stripes, LieWhereAPassageComesAgain)
{
    const sections::parameters chosen;
    const made_square square = song("ABCBD", {20, 30, 25, 30, 20});
    const sections::moment_counts counts = sections::count_moments(chosen, square.n, 0.5, 1.0);
    const std::vector<sections::stripe> found = sections::find_stripes(square.view(), chosen, counts);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].lag, 55);
    EXPECT_NEAR(found[0].passage.begin, 20, counts.smoothing / 2);
    EXPECT_NEAR(found[0].passage.end, 50, counts.smoothing / 2);
}

TEST(Stripes, AreSharedByTheMomentsWithin)
{
    const sections::common_stripes stripes(20, 6, {{{2, 8}, 10}, {{5, 7}, 4}});
    constexpr int whole = 65536;
    EXPECT_EQ(stripes.share(0, 1), whole); // both on none
    EXPECT_EQ(stripes.share(2, 2), whole); // both on the first alone
    EXPECT_EQ(stripes.share(4, 1), 2 * whole / 3);
    EXPECT_EQ(stripes.share(1, 1), whole / 2); // one of them on none
    EXPECT_EQ(stripes.share(12, 5), whole);    // the same where the passage comes again
    EXPECT_EQ(stripes.share(12, 6), whole / 2);
}

} // namespace
