// The main line: the shares of the bar, the grid of window centers, the numeric environment, cancels.
#include "veloria/analysis_driver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "audio/make_reader.h"
#include "modeling/time_grid.h"
#include "tavel/error.h"
#include "tests/support/files.h"
#include "tests/support/progress.h"
#include "tests/support/sound.h"
#include "veloria/numeric_environment.h"

namespace {

using veloria::feature_selection, veloria::modeling_kind;

constexpr double infinity = std::numeric_limits<double>::infinity();

struct grid_case {
    double duration, step;
    std::vector<double> centers;
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
        EXPECT_EQ(veloria::time_grid(c.duration, c.step), c.centers);
    }
    // (1.1 - 0.1) / 0.1 is a little below 10; the tolerance makes it 10
    EXPECT_EQ(veloria::time_grid(1.2, 0.1).size(), 11U);
}

TEST(TimeGrid, ClosesInOnItsLastCenter)
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
    std::vector<double> frame_times;
    bool canceled;
    tavel::Matrix<unsigned char> similarity;
};

driver_result run_driver(const std::string& sound, feature_selection features, modeling_kind modeling,
                         std::size_t refused_report = never)
{
    const char* path = sound.c_str();
    report_log reports(refused_report);
    tavel::Vector<double> frame_times;
    driver_result result{};
    try {
        veloria::analysis_driver(corvane::make_reader(1, &path), {features, modeling, 0.3, 0.2}, result.similarity,
                                 frame_times, reports.sink);
    } catch (const corvane::cancel_exception&) {
        result.canceled = true;
    }
    result.positions = reports.positions;
    result.frame_times.assign(frame_times.begin(), frame_times.end());
    return result;
}

TEST(AnalysisDriver, StopsAtWhicheverReportIsRefused)
{
    const test_folder folder;
    const std::string sound = folder.path("sound.wav");
    write_sound(sound, 22050, 2, 22050);
    for (const auto features : {feature_selection::timbre, feature_selection::harmo, feature_selection::mixed})
        for (const auto modeling :
             {modeling_kind::mean, modeling_kind::meanvar, modeling_kind::fft, modeling_kind::mph}) {
            SCOPED_TRACE(testing::Message() << int(features) << ' ' << int(modeling));
            const driver_result whole = run_driver(sound, features, modeling);
            ASSERT_FALSE(whole.canceled);
            EXPECT_EQ(whole.similarity.rows, 4);
            for (std::size_t k = 0; k < whole.positions.size(); ++k) {
                const driver_result part = run_driver(sound, features, modeling, k);
                ASSERT_TRUE(part.canceled) << "report " << k;
                ASSERT_EQ(part.positions.size(), k + 1);
                ASSERT_EQ(part.similarity.rows, 0);
            }
        }
}

// Where the stages of a job end on the bar, worked out by hand from the costs of each: 0.9 s, 3 rows.
// The last report lies behind 0.99 by what the distances of 3 rows count too much: a third of an equalization.
struct bar_case {
    int rate_hz;
    feature_selection features;
    modeling_kind modeling;
    double load, extraction, model, reduction, last;
};
constexpr bar_case bar_cases[] = {
    {11025, feature_selection::harmo, modeling_kind::mean, 0.221436865266719, 0.907891147593549, 0.909037083371304,
     0.988754354867323, 0.990291883842970},
    {22050, feature_selection::timbre, modeling_kind::mean, 0.333733165738912, 0.940520739809661, 0.941883641587359,
     0.989288920811636, 0.990082292783005},
    {22050, feature_selection::timbre, modeling_kind::mph, 0.188630971175966, 0.531596373314087, 0.542314042130904,
     0.989598087419369, 0.990010288730205},
    {22050, feature_selection::harmo, modeling_kind::meanvar, 0.577253100394244, 0.916170640398441, 0.917228391107970,
     0.989385028657250, 0.990111101692965},
    {22050, feature_selection::harmo, modeling_kind::mph, 0.367656342040249, 0.583515179222971, 0.588528674796248,
     0.989608320658338, 0.990021507527655},
    {22050, feature_selection::mixed, modeling_kind::fft, 0.243867818622377, 0.784256734887871, 0.801239149387817,
     0.989220592909232, 0.990031639738962},
    {22050, feature_selection::mixed, modeling_kind::mph, 0.147249736787433, 0.473541767168678, 0.479732949283604,
     0.989529386494643, 0.990008216785659},
};

TEST(AnalysisDriver, GivesEachStageItsPieceOfTheBar)
{
    const test_folder folder;
    const std::string sound = folder.path("sound.wav");
    for (const bar_case& c : bar_cases) {
        SCOPED_TRACE(testing::Message() << c.rate_hz << ' ' << int(c.features) << ' ' << int(c.modeling));
        write_sound(sound, c.rate_hz, 2, (9 * c.rate_hz + 5) / 10);
        const std::vector<double> positions = run_driver(sound, c.features, c.modeling).positions;
        constexpr double rounding = 1e-12;
        for (const double end : {c.load, c.extraction, c.model, c.reduction})
            EXPECT_THAT(positions, testing::Contains(testing::DoubleNear(end, rounding)));
        EXPECT_NEAR(positions.back(), c.last, rounding);
        const auto distances = std::find_if(positions.begin(), positions.end(),
                                            [&](double position) { return position > c.reduction + rounding; });
        EXPECT_TRUE(std::is_sorted(positions.begin(), distances));
    }
}

TEST(AnalysisDriver, IsDeafToTheRoundingOfItsHost)
{
    const test_folder folder;
    const std::string sound = folder.path("sound.wav");
    write_sound(sound, 22050, 2, 22050);
    const driver_result nearest = run_driver(sound, feature_selection::harmo, modeling_kind::mean);
    std::fesetround(FE_UPWARD);
    const driver_result upward = run_driver(sound, feature_selection::harmo, modeling_kind::mean);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(upward.positions, nearest.positions);
    EXPECT_EQ(upward.frame_times, nearest.frame_times);
}

TEST(AnalysisDriver, SizesThePictureByTheLengthOfTheSound)
{
    const test_folder folder;
    const std::string sound = folder.path("sound.wav");
    struct length_case {
        int frames, n;
    };
    // the first center, 0.2 s, is frame 6, which ends with the sample 2644; another needs more than 0.6 s
    constexpr length_case cases[] = {{0, 0},    {1, 0},    {880, 0},  {2644, 0},   {2645, 1},
                                     {4410, 1}, {6615, 1}, {6616, 2}, {110250, 49}};
    for (const length_case& c : cases) {
        SCOPED_TRACE(c.frames);
        write_sound(sound, 11025, 1, c.frames);
        const driver_result result = run_driver(sound, feature_selection::harmo, modeling_kind::mean);
        ASSERT_EQ(result.similarity.rows, c.n);
        ASSERT_EQ(result.similarity.columns, c.n);
        EXPECT_EQ(result.frame_times.size(), static_cast<std::size_t>(c.n));
        for (int i = 0; i < c.n && c.n <= 2; ++i)
            for (int j = 0; j < c.n; ++j)
                EXPECT_EQ(result.similarity(i, j), i == j ? 255 : 0);
    }
}

} // namespace
