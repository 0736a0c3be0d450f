// The main line: the shares of the bar, the grid of window centres, the numeric environment, cancels.
#include "veloria/analysis_driver.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "audio/make_reader.h"
#include "tavel/error.h"
#include "tests/support/files.h"
#include "tests/support/progress.h"
#include "tests/support/sound.h"
#include "veloria/numeric_environment.h"
#include "veloria/stage_weights.h"
#include "veloria/time_grid.h"
#include "veloria/veloria.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(StageWeights, ChargeTheLoadForItsFilter)
{
    EXPECT_EQ(veloria::load_weight(11025), 10.0);
    EXPECT_DOUBLE_EQ(veloria::load_weight(44100), 40.0 + 81 * 0.8);
    EXPECT_DOUBLE_EQ(veloria::load_weight(48000), 48000 * 10.0 / 11025 + 12801 * 0.8);
    for (const int rate : {-1, 0, 1, 11027, std::numeric_limits<int>::max()})
        veloria::load_weight(rate); // whatever a reader says, an end is reached
}

TEST(StageWeights, ChargeTheAnalysisByKindAndStep)
{
    // base + width * a * factor * window / 4, and the reduction; once at the usual step and once at half of it
    EXPECT_DOUBLE_EQ(veloria::estimate_analysis_weight(veloria::mixed, veloria::mean, 1.0, 0.5),
                     117.0 + 37 * 0.023 * 0.25 + 0.12 * 37);
    EXPECT_DOUBLE_EQ(veloria::estimate_analysis_weight(veloria::timbre, veloria::mph, 2.0, 0.25),
                     96.0 + 25 * 2.0 * (2.0 * 0.32) * 0.5 + 0.16 * 2.0 * 313);
    EXPECT_DOUBLE_EQ(veloria::distance_weight(veloria::timbre, 0.25, 44100 * 60, 44100), 2.0 * 1.5 * 2.0);
}

struct grid_case {
    double duration, step;
    std::vector<double> centres;
};

TEST(TimeGrid, StandsOneStepFromBothEnds)
{
    const grid_case cases[] = {
        {0.5, 0.5, {}},         {0.75, 0.5, {0.5}},       {1.0, 0.5, {0.5}},
        {1.5, 0.5, {0.5, 1.0}}, {2.9, 1.0, {1.0}},        {3.0, 1.0, {1.0, 2.0}},
        {10.0, infinity, {}},   {10.0, std::nan(""), {}}, {infinity, infinity, {}},
    };
    for (const grid_case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.duration << " by " << c.step);
        EXPECT_EQ(veloria::time_grid(c.duration, c.step), c.centres);
    }
}

TEST(TimeGrid, ClosesInOnItsLastCentre)
{
    const std::vector<double> grid = veloria::time_grid(100.0, 0.1);
    ASSERT_EQ(grid.size(), 999U);
    EXPECT_EQ(grid.back(), 0.1 + 0.1 * 998);
    int off_the_products = 0;
    for (std::size_t k = 1; k < grid.size(); ++k) {
        EXPECT_EQ(grid[k], grid[k - 1] + (grid.back() - grid[k - 1]) / static_cast<double>(grid.size() - k));
        off_the_products += grid[k] != 0.1 + 0.1 * static_cast<double>(k);
    }
    EXPECT_GT(off_the_products, 0);
}

TEST(TimeGrid, RefusesWhatMemoryCannotHold)
{
    EXPECT_THROW(veloria::time_grid(1.0, 1e-300), std::length_error);
    EXPECT_THROW(veloria::time_grid(1.0, 0.0), tavel::error);
}

// At run time, whatever the compiler knows of the operands.
double quotient(double numerator, double denominator)
{
    volatile double unknown_numerator = numerator, unknown_denominator = denominator;
    return unknown_numerator / unknown_denominator;
}

TEST(NumericEnvironment, IsTheSameForEveryHostAndGivesBackWhatItFound)
{
    const double nearest = quotient(1.0, 3.0);
    const double denormal = std::numeric_limits<double>::min() / 4.0;
    for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::fesetround(mode);
        double inside = 0.0, flushed = 1.0;
        try {
            const veloria::numeric_environment environment;
            inside = quotient(1.0, 3.0);
            flushed = quotient(std::numeric_limits<double>::min(), 4.0);
            throw 0;
        } catch (int) {}
        const int after = std::fegetround();
        const double unflushed = quotient(std::numeric_limits<double>::min(), 4.0);
        std::fesetround(FE_TONEAREST);
        EXPECT_EQ(inside, nearest);
        EXPECT_EQ(flushed, 0.0);
        EXPECT_EQ(after, mode);
        EXPECT_EQ(unflushed, denormal);
    }
}

constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

struct driver_result {
    std::vector<double> positions;
    bool canceled;
    tavel::Matrix<unsigned char> similarity;
};

driver_result run_driver(const std::string& sound, int features, int modeling, std::size_t refused_report = never)
{
    const char* path = sound.c_str();
    const auto reader = corvane::make_reader(1, &path);
    report_log reports(refused_report);
    tavel::Vector<double> frame_times;
    driver_result result{};
    try {
        veloria::analysis_driver(*reader, features, modeling, 0.3, 0.2, result.similarity, frame_times, reports.sink);
    } catch (const corvane::cancel_exception&) {
        result.canceled = true;
    }
    result.positions = reports.positions;
    return result;
}

TEST(AnalysisDriver, StopsAtWhicheverReportIsRefused)
{
    const test_folder folder;
    const std::string sound = folder.path("sound.wav");
    write_sound(sound, 22050, 2, 22050);
    for (const int features : {veloria::timbre, veloria::harmo, veloria::mixed})
        for (const int modeling : {veloria::mean, veloria::meanvar, veloria::fft, veloria::mph}) {
            SCOPED_TRACE(testing::Message() << features << ' ' << modeling);
            const driver_result whole = run_driver(sound, features, modeling);
            ASSERT_FALSE(whole.canceled);
            EXPECT_EQ(whole.similarity.rows, 4);
            // the distances of n rows report up to 2 / n more than their share
            EXPECT_NEAR(whole.positions.back(), 0.99, 0.99 * 2 / 4);
            for (std::size_t k = 0; k < whole.positions.size(); ++k) {
                const driver_result part = run_driver(sound, features, modeling, k);
                ASSERT_TRUE(part.canceled) << "report " << k;
                ASSERT_EQ(part.positions.size(), k + 1);
                ASSERT_EQ(part.similarity.rows, 0);
            }
        }
}

TEST(AnalysisDriver, SizesThePictureByTheLengthOfTheSound)
{
    const test_folder folder;
    const std::string sound = folder.path("sound.wav");
    struct length_case {
        int frames, n;
    };
    // the first centre, 0.2 s, is frame 6, which ends with the sample 2644; another needs more than 0.6 s
    constexpr length_case cases[] = {{0, 0}, {1, 0}, {880, 0}, {2644, 0}, {2645, 1}, {4410, 1}, {6615, 1}, {6616, 2}};
    for (const length_case& c : cases) {
        SCOPED_TRACE(c.frames);
        write_sound(sound, 11025, 1, c.frames);
        const driver_result result = run_driver(sound, veloria::harmo, veloria::mean);
        ASSERT_EQ(result.similarity.rows, c.n);
        ASSERT_EQ(result.similarity.columns, c.n);
        for (int i = 0; i < c.n; ++i)
            for (int j = 0; j < c.n; ++j)
                EXPECT_EQ(result.similarity(i, j), i == j ? 255 : 0);
    }
}

} // namespace
