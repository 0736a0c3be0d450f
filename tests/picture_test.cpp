#include <cmath>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "picture/color_table.h"
#include "picture/page.h"
#include "picture/pooling.h"
#include "picture/time_ticks.h"
#include "tests/support/files.h"
#include "tests/support/png.h"

namespace {

using namespace picture;
using testing::HasSubstr;

using cell_function = unsigned char (*)(int column, int row);

std::vector<unsigned char> pooled(int cells, int pixels, cell_function cell)
{
    pooling pool(cells, pixels);
    std::vector<unsigned char> column(static_cast<std::size_t>(cells));
    for (int c = 0; c < cells; ++c) {
        for (int r = 0; r < cells; ++r)
            column[static_cast<std::size_t>(r)] = cell(c, r);
        pool.add_column(column.data());
    }
    return pool.take_result();
}

// The plain form: the overlaps of each pixel with all cells, and the cells whose centers lie in it.
std::vector<unsigned char> pooled_plainly(int cells, int pixels, cell_function cell)
{
    const auto overlap = [&](int pixel, int i) {
        return std::max(0, std::min((pixel + 1) * cells, (i + 1) * pixels) - std::max(pixel * cells, i * pixels));
    };
    const auto is_home = [&](int pixel, int i) { return (2 * i + 1) * pixels / (2 * cells) == pixel; };
    std::vector<unsigned char> values;
    for (int x = 0; x < pixels; ++x)
        for (int y = 0; y < pixels; ++y) {
            int sum = 0, most = 0;
            for (int c = 0; c < cells; ++c)
                for (int r = 0; r < cells; ++r) {
                    sum += overlap(x, c) * overlap(y, r) * cell(c, r);
                    most = std::max(most, is_home(x, c) && is_home(y, r) ? cell(c, r) : 0);
                }
            const double mean = static_cast<double>(sum) / (cells * cells);
            const double raised = cells > pixels ? mean + (most - mean) * (most - mean) / 510.0 : mean;
            values.push_back(static_cast<unsigned char>(std::lround(raised)));
        }
    return values;
}

TEST(Pooling, WeighsCellsByTheirAreaAndRaisesTheBrightest)
{
    const auto cell = [](int column, int row) { return static_cast<unsigned char>(37 * column + 11 * row); };
    for (const int cells : {1, 2, 3, 7, 30})
        for (const int pixels : {1, 2, 5, 30, 44}) {
            SCOPED_TRACE(std::to_string(cells) + " to " + std::to_string(pixels));
            EXPECT_EQ(pooled(cells, pixels, cell), pooled_plainly(cells, pixels, cell));
        }
}

// From 4105 cells on, a sum of white passes 2^32.
TEST(Pooling, KeepsALoneBrightCellVisibleAndWhiteWhite)
{
    const auto lone = [](int column, int row) { return static_cast<unsigned char>(column == 3 && row == 5 ? 255 : 0); };
    for (const int pixels : {1, 3, 50})
        EXPECT_THAT(pooled(200, pixels, lone), testing::Contains(testing::Ge(127)).Times(1)) << pixels;
    const auto white = [](int, int) { return static_cast<unsigned char>(255); };
    for (const int pixels : {1, 2})
        EXPECT_THAT(pooled(4105, pixels, white), testing::Each(255));
}

TEST(TimeTicks, AreRoundAndFewAtAnyLength)
{
    for (double span = 0.03; span < 1e6; span *= 1.37) {
        SCOPED_TRACE(span);
        int labels = 0;
        for (const time_tick& tick : time_ticks(0.25, 0.25 + span, 8)) {
            double read = 0.0; // the label read as a time
            std::istringstream label(tick.label);
            for (std::string part; std::getline(label, part, ':');)
                read = 60.0 * read + std::stod(part);
            EXPECT_TRUE(tick.label.empty() || std::abs(read - tick.seconds) <= 1e-12 * read) << tick.label;
            labels += !tick.label.empty();
        }
        EXPECT_TRUE(labels >= 2 && labels <= 9) << labels;
    }
    EXPECT_EQ(time_ticks(0.0, 60.0, 6).back().label, "1:00");
    EXPECT_EQ(time_ticks(1e-12, 60.0 - 1e-12, 6).front().label, "0:00"); // sums of steps err so
    EXPECT_EQ(time_ticks(0.0, 3600.0, 6).back().label, "1:00:00");
    EXPECT_EQ(time_ticks(-0.1, 0.0, 2).front().label, "-0:00.10");
    for (const double end : {0.0, std::nan(""), 1e300})
        EXPECT_TRUE(time_ticks(0.0, end, 6).empty());
}

double brightness(std::uint32_t color)
{
    return 0.30 * (color >> 16) + 0.59 * (color >> 8 & 0xff) + 0.11 * (color & 0xff);
}

TEST(ColorTable, RisesInBrightness)
{
    EXPECT_EQ(color_table(color_map::cubehelix)[128], 0xa1794au);
    EXPECT_EQ(color_table(color_map::magma)[255], 0xfcfdbfu);
    EXPECT_EQ(color_table(color_map::viridis)[125], 0x218e8du);
    for (std::size_t i = 0; i < 256; ++i) {
        // Each level of the helix is rounded by up to a half.
        EXPECT_NEAR(brightness(color_table(color_map::cubehelix)[i]), static_cast<double>(i), 0.501) << i;
        EXPECT_EQ(color_table(color_map::gray)[i], 0x010101u * i);
        EXPECT_EQ(color_table(color_map::inverted)[i], 0x010101u * (255 - i));
        for (const color_map map : {color_map::magma, color_map::viridis})
            EXPECT_GE(brightness(color_table(map)[i]), brightness(color_table(map)[i - (i > 0)]) - 0.5) << i;
    }
}

const unsigned char* even_gray(int)
{
    static const std::vector<unsigned char> row(1000, 64);
    return row.data();
}

labels ten_seconds()
{
    return {.title = "title", .subtitle = "subtitle", .end_seconds = 10.0, .axis_end = 10.0};
}

// What is darker than half within a box, from its first dark column and line to its last.
std::vector<std::string> ink_in(const png& page, const box& place)
{
    std::vector<std::string> lines;
    std::size_t left = std::string::npos, right = 0;
    for (int y = static_cast<int>(place.y); y < place.bottom(); ++y) {
        std::string line;
        for (int x = static_cast<int>(place.x); x < place.right(); ++x)
            line += (page.at(x, y) & 0xff) < 128 ? '#' : '.';
        if (line.find('#') == line.npos)
            continue;
        left = std::min(left, line.find('#'));
        right = std::max(right, line.rfind('#'));
        lines.push_back(line);
    }
    for (std::string& line : lines)
        line = line.substr(left, right + 1 - left);
    return lines;
}

TEST(Page, LabelsBothAxesFromTheSameCorner)
{
    const test_folder folder;
    for (const auto origin : {picture_options::origin::bottom, picture_options::origin::top}) {
        const picture_options options{.begins_at = origin};
        const labels around = ten_seconds();
        const page_layout layout = lay_out(1000, around, options);
        draw({1, static_cast<int>(layout.square.width), even_gray}, around, folder.path("p.png"), options,
             existing::replace);
        const png page(folder.path("p.png"));
        std::vector<std::vector<std::string>> drawn;
        for (const time_tick& tick : time_ticks(0.0, 10.0, 9)) {
            if (tick.label.empty())
                continue;
            SCOPED_TRACE(tick.label);
            const double em = layout.em, x = x_of(tick.seconds, layout, around), along = x - layout.plot.x;
            const double y = layout.from_top ? layout.plot.y + along : layout.plot.bottom() - along;
            const auto below = ink_in(page, {x - 2.0 * em, layout.plot.bottom() + 0.7 * em, 4.0 * em, 1.2 * em});
            const auto beside = ink_in(page, {layout.plot.x - 4.0 * em, y - 0.8 * em, 3.4 * em, 1.6 * em});
            EXPECT_GT(below.size(), 5u);
            EXPECT_EQ(beside, below);
            EXPECT_THAT(drawn, testing::Not(testing::Contains(below))); // each label is another
            drawn.push_back(below);
        }
        EXPECT_EQ(drawn.size(), 6u);
    }
}

TEST(Page, HoldsTheSquareWhereItsTimesAre)
{
    labels around = ten_seconds();
    around.begin_seconds = 2.5;
    around.end_seconds = 5.0;
    for (const int size : {300, 1000, 4321}) {
        const page_layout layout = lay_out(size, around, {});
        EXPECT_NEAR(layout.square.x, x_of(2.5, layout, around), 0.51);
        EXPECT_NEAR(layout.square.right(), x_of(5.0, layout, around), 1.01);
        EXPECT_NEAR(layout.plot.bottom() - layout.square.bottom(), layout.square.x - layout.plot.x, 0.01);
        EXPECT_GE(layout.em, 9.0);
    }
    EXPECT_THROW(square_pixels(5, around, "p.png", {.pixels = 299}), std::invalid_argument);
}

TEST(Png, HasAByteAPixelAndSaysWhatItShows)
{
    const test_folder folder;
    const struct {
        color_map colors;
        bool plain;
        char type;
        std::uint32_t shown; // for the level 64
    } cases[] = {{color_map::gray, true, 0, 0x404040},
                 {color_map::inverted, false, 0, 0xbfbfbf},
                 {color_map::viridis, true, 3, color_table(color_map::viridis)[64]},
                 {color_map::viridis, false, 3, color_table(color_map::viridis)[64]}};
    for (const auto& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.colors));
        labels around = ten_seconds();
        around.title = c.plain ? "title" : "日本語 🎉";
        const std::string path = folder.path("p.png");
        const picture_options options{.colors = c.colors, .plain = c.plain};
        const int side = square_pixels(100, around, path, options);
        draw({100, side, even_gray}, around, path, options, existing::replace);
        const std::string bytes = contents(path);
        EXPECT_EQ(bytes.substr(24, 2), std::string({8, c.type}));
        EXPECT_THAT(bytes, HasSubstr("tEXtSoftware"));
        EXPECT_THAT(bytes, HasSubstr(c.plain ? std::string("tEXtTitle\0title", 15) : around.title));
        EXPECT_THAT(bytes, HasSubstr(std::string("pHYs\0\0\x0e\xc4\0\0\x0e\xc4\1", 13)));
        const png drawn(path);
        EXPECT_EQ(drawn.at(drawn.width / 2, drawn.height / 2), c.shown);
        EXPECT_EQ(drawn.at(0, 0), c.plain ? c.shown : 0xffffffu);
    }
}

// More text than fits, and than could be laid out in a reasonable time.
TEST(Page, TakesAnyTitle)
{
    const test_folder folder;
    labels around = ten_seconds();
    for (const std::string& title :
         {std::string(), std::string(30000000, 'x'), std::string("línea\nline"), std::string("بصوت 🎹")}) {
        around.title = around.remark = title;
        draw({}, around, folder.path("p.svg"), {}, existing::replace);
    }
}

} // namespace
