#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "gabarit/describe.h"
#include "gabarit/draw_gabarit.h"
#include "gabarit/reader.h"
#include "gabarit/verify.h"
#include "picture/page.h"
#include "similarity/write_gabarit.h"
#include "tests/support/files.h"
#include "tests/support/png.h"

namespace {

using picture::color_map;
using picture::picture_options;
using testing::HasSubstr;
using testing::StartsWith;

const std::string command = "marquen --input a --features_type b.wav --similarity c.sdif --features_type harmo "
                            "--features_modeling fft --features_modeling_length 1.5 --window_centering grid "
                            "--window_grid_hop 0.25";

void write(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

double time_of(int frame)
{
    return 0.25 + 0.25 * frame;
}

// Dark far from the diagonal, but for a bright block where frames 10 to 19 come again as 40 to 49.
unsigned char similarity_of(int a, int b)
{
    if (a == b)
        return 255;
    const int low = std::min(a, b), high = std::max(a, b);
    const bool repeated = low >= 10 && low < 20 && high >= 40 && high < 50;
    return static_cast<unsigned char>(repeated ? 200 : std::max(0, 100 - 10 * (high - low)));
}

void write_gabarit_of(const std::string& path, int n, const std::function<int(int, int)>& value)
{
    tavel::Matrix<unsigned char> similarity(n, n);
    tavel::Vector<double> times(n);
    for (int i = 0; i < n; ++i) {
        times[i] = time_of(i);
        for (int j = 0; j < n; ++j)
            similarity(j, i) = static_cast<unsigned char>(value(i, j));
    }
    veloria::write_gabarit(similarity, times, "/sounds/täglich.wav", command, 44100.0, 2, path);
}

void write_example(const std::string& path, int n)
{
    write_gabarit_of(path, n, similarity_of);
}

// What is wrong with a gabarit, nothing if it is whole.
std::string fault_of(const std::string& path)
{
    try {
        gabarit::verify(path);
    } catch (const Quillon::FormatError& error) {
        EXPECT_LE(error.offset, std::filesystem::file_size(path));
        return error.what();
    }
    return {};
}

TEST(Gabarit, ReadsWhatIsWritten)
{
    const test_folder folder;
    EXPECT_EQ(gabarit::showable("a\tb\xc2\x9b\xe2\x80\xae\xe2\x80\xa8\xff\xe2\x80\xa6é"), "a_b____…é");
    for (const int n : {0, 1, 2, 60}) {
        SCOPED_TRACE(n);
        write_example(folder.path("g.sdif"), n);
        EXPECT_EQ(gabarit::verify(folder.path("g.sdif")), n);
        gabarit::reader reader(folder.path("g.sdif"));
        EXPECT_EQ(reader.size(), n);
        EXPECT_EQ(reader.info().sample_rate_hz, 44100.0);
        EXPECT_EQ(reader.info().channels, 2.0);
        EXPECT_EQ(reader.value("Soundfile"), "/sounds/täglich.wav");
        EXPECT_EQ(reader.value("Command"), command);
        const gabarit::settings s = reader.made_with();
        EXPECT_EQ(s.features + s.modeling + s.modeling_window + s.modeling_step, "harmofft1.50.25");
        gabarit::column column{};
        for (int i = 0; i < n; ++i) {
            ASSERT_TRUE(reader.next_column(column));
            EXPECT_EQ(column.time_seconds, time_of(i));
            for (int j = 0; j < n; ++j)
                ASSERT_EQ(column.similarity[static_cast<std::size_t>(j)], similarity_of(i, j));
        }
        EXPECT_FALSE(reader.next_column(column));
    }
}

template <class NUMBER>
std::string big_endian(NUMBER number)
{
    std::string bytes(sizeof number, '\0');
    Quillon::store_big_endian(number, reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}

TEST(Gabarit, VerifyNamesTheDamage)
{
    const test_folder folder;
    write_example(folder.path("g.sdif"), 3);
    const std::string whole = contents(folder.path("g.sdif"));
    // From the end: a frame has 24 bytes, then 16 and 8, then 16 and 3 with 5 of padding.
    const std::size_t frame = 72, last = whole.size() - frame, info = last - 2 * frame - 96;
    const auto table_size = [&](std::size_t at) { return static_cast<unsigned char>(whole[at]); };
    const std::size_t types = 24U + 256U * table_size(22) + table_size(23);
    const auto with = [&](std::size_t offset, const std::string& bytes) {
        return std::string(whole).replace(offset, bytes.size(), bytes);
    };
    const auto at = [](std::size_t offset, const std::string& text) {
        return "offset " + std::to_string(offset) + ": " + text;
    };
    std::string cycle = whole; // with rows and columns of equal sums
    cycle[last - 2 * frame + 65] = cycle[last - frame + 66] = cycle[last + 64] = 95;
    cycle[last + 64] = 85;
    struct damage {
        std::string bytes, text;
    };
    const damage cases[] = {
        {whole, ""},
        {whole.substr(0, last), at(last, "the file ends after 2 of 3 frames")},
        {whole.substr(0, last + 30), at(last + 4, "a frame has the size 64, but only 22 bytes are left")},
        {whole.substr(0, info + 96), at(info, "the file is cut: 3 frames of 3 values are announced, but only 0 bytes "
                                              "follow")},
        {whole + whole.substr(last), at(last + frame, "there are more frames than the 3 announced")},
        {with(last + 8, "\x3f\xe0"), at(last + 8, "two frames have the same time")},
        {whole + "x", at(whole.size(), "the last 1 bytes are no frame")},
        {whole + "what" + big_endian<std::uint32_t>(16) + big_endian(99.0) + std::string(8, '\0'), ""},
        {whole.substr(0, last + 4) + big_endian<std::uint32_t>(64 + 24) + whole.substr(last + 8, 12) +
             big_endian<std::uint32_t>(3) + whole.substr(last + 24) + whole.substr(last + 48),
         at(last + frame, "a frame has two matrices 1GB0")},
        {std::string(whole).replace(whole.find("GabaritMode"), 11, "NumChannels"),
         at(56, "two entries of the table are named 'NumChannels'")},
        {cycle, at(last - 2 * frame, "not symmetric: the values of frame 0 differ from those of the others for it")},
        {with(last + 64, "\x55"), at(last - 2 * frame, "not symmetric: the values of frame 0 differ from those of the "
                                                       "others for it")},
        {with(last + 66, "\xfe"), at(last, "frame 2 is not like itself: the diagonal has 254 instead of 255")},
        {with(last + 8, "\x3f\xd0"), at(last + 8, "the times of the frames don't ascend")},
        {with(last + 8, "\x7f\xf8"), at(last + 8, "the times of the frames don't ascend")},
        {with(last + 56, std::string("\0\0\0\2", 4)), at(last + 56, "a frame has 2 by 1 values instead of 3 by 1")},
        {with(last + 48, "1GB1"), at(last, "a frame has no similarities")},
        {with(last + 52, std::string("\0\0\1\1", 4)), at(last + 52, "the similarities are no bytes")},
        {with(info + 24 + 16 + 16, "\x7f"), at(info, "the information frame gives no usable number of frames")},
        {with(info + 24 + 16 + 16, "\x40\x80"), at(info, "no gabarit of a sound with itself: the frames don't have as "
                                                         "many values as there are frames")},
        {with(24, "\x3f\xf0"), at(types + 8, "the times of the frames don't ascend")},
        {with(info, "IGBH"), at(last - 2 * frame, "no gabarit: data come before the information frame")},
        {whole.substr(0, info), at(16, "no gabarit: there is no information frame")},
    };
    for (const damage& c : cases) {
        SCOPED_TRACE(c.text);
        write(folder.path("g.sdif"), c.bytes);
        EXPECT_EQ(fault_of(folder.path("g.sdif")), c.text);
    }
}

// A gabarit with another name-value table.
void write_with_table(const std::string& path, const std::string& text)
{
    write_example(path, 1);
    const std::string whole = contents(path), padding((8 - text.size() % 8) % 8, '\0');
    const std::size_t behind = whole.find("1TYP");
    const auto bytes = static_cast<std::uint32_t>(text.size());
    write(path, whole.substr(0, 20) + big_endian(static_cast<std::uint32_t>(16 + 16 + bytes + padding.size())) +
                    whole.substr(24, 24) + big_endian(bytes) + big_endian<std::uint32_t>(1) + text + padding +
                    whole.substr(behind));
}

TEST(Gabarit, TakesManyNamesInTimeAndRefusesTooMany)
{
    const test_folder folder;
    std::string names;
    for (int i = 0; i < 50000; ++i)
        names += "name" + std::to_string(i) + "\tv\n";
    write_with_table(folder.path("g.sdif"), names);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(nlohmann::json::parse(gabarit::describe(folder.path("g.sdif"), true))["table"].size(), 50000u);
    EXPECT_EQ(gabarit::draw(folder.path("g.sdif"), folder.path("g.png"), {}).substr(0, 10), "one moment");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5)); // 16 where each looks at all others
    for (int i = 0; i < 50001; ++i)
        names += std::to_string(i) + "\n";
    write_with_table(folder.path("g.sdif"), names);
    EXPECT_THAT(fault_of(folder.path("g.sdif")), HasSubstr("more than 100000 entries"));
    write_with_table(folder.path("g.sdif"), std::string((16 << 20) + 1, 'x'));
    EXPECT_THAT(fault_of(folder.path("g.sdif")), HasSubstr("more than 16 MB"));
}

TEST(Gabarit, SurvivesEveryCutAndEveryFlippedBit)
{
    const test_folder folder;
    const std::string path = folder.path("g.sdif");
    write_example(path, 2);
    const std::string whole = contents(path);
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    for (std::size_t byte = 0; byte < whole.size(); ++byte) {
        const std::size_t from_end = whole.size() - 1 - byte;
        const bool is_similarity = from_end < 2 * 72 && (from_end % 72 == 6 || from_end % 72 == 7);
        for (int bit = 0; bit < 8; ++bit) {
            file.seekp(static_cast<std::streamoff>(byte)).put(static_cast<char>(whole[byte] ^ 1 << bit)).flush();
            EXPECT_TRUE(!fault_of(path).empty() || !is_similarity) << "byte " << byte << " bit " << bit;
        }
        file.seekp(static_cast<std::streamoff>(byte)).put(whole[byte]).flush();
    }
    EXPECT_EQ(fault_of(path), "");
    for (std::size_t cut = 1; cut <= whole.size(); ++cut) {
        std::filesystem::resize_file(path, whole.size() - cut);
        EXPECT_NE(fault_of(path), "") << cut;
    }
}

TEST(Picture, IsPlainCellByCell)
{
    const test_folder folder;
    const std::string file = folder.path("g.sdif"), out = folder.path("g.png");
    write_example(file, 60);
    for (const auto origin : {picture_options::origin::bottom, picture_options::origin::top}) {
        gabarit::draw(file, out,
                      {.look = {origin, color_map::inverted, 0, true}, .treatment = picture::existing::replace});
        const png drawn(out);
        ASSERT_EQ(drawn.width, 60);
        ASSERT_EQ(drawn.height, 60);
        for (int x = 0; x < 60; ++x)
            for (int y = 0; y < 60; ++y) {
                const int row = origin == picture_options::origin::top ? y : 59 - y;
                ASSERT_EQ(drawn.at(x, y), 0x010101u * (255u - similarity_of(x, row)));
            }
    }
    gabarit::draw(file, out, {.look = {.pixels = 30, .plain = true}, .treatment = picture::existing::replace});
    EXPECT_EQ(png(out).width, 30);
    EXPECT_EQ(png(out).at(5, 29 - 20), 0x010101u * 200);
}

TEST(Picture, ShowsAStretchAndSaysWhyThereIsNothingToSee)
{
    const test_folder folder;
    const std::string file = folder.path("g.sdif"), out = folder.path("g.png");
    write_example(file, 60);
    const auto draw_stretch = [&](double from, double to) {
        return gabarit::draw(
            file, out,
            {.look = {.plain = true}, .treatment = picture::existing::replace, .from_seconds = from, .to_seconds = to});
    };
    EXPECT_EQ(draw_stretch(time_of(40), time_of(52) - 0.01), "");
    const png drawn(out);
    ASSERT_EQ(drawn.width, 12);
    for (int x = 0; x < 12; ++x)
        for (int y = 0; y < 12; ++y)
            ASSERT_EQ(drawn.at(x, 11 - y), 0x010101u * similarity_of(40 + x, 40 + y));
    EXPECT_THAT(draw_stretch(5.0, 5.0), StartsWith("one moment, with nothing to compare: draw a longer stretch"));
    EXPECT_THAT(draw_stretch(5.0, 5.25), StartsWith("two moments"));

    const struct {
        unsigned char others;
        const char* remark;
    } cases[] = {{0, "no two moments are alike"}, {255, "all moments are the same"}, {1, ""}};
    for (const auto& c : cases) {
        write_gabarit_of(file, 5, [&](int a, int b) { return a == b ? 255 : c.others; });
        for (const bool plain : {false, true})
            EXPECT_THAT(gabarit::draw(file, out, {.look = {.plain = plain}, .treatment = picture::existing::replace}),
                        StartsWith(c.remark));
    }
    write_example(file, 0);
    EXPECT_THAT(gabarit::draw(file, out, {.treatment = picture::existing::replace}), StartsWith("no moments"));
}

TEST(Picture, HasTheSizeAskedForAndEachCellInItsPlace)
{
    const test_folder folder;
    const std::string file = folder.path("g.sdif"), out = folder.path("g.png");
    write_example(file, 60);
    for (const int size : {300, 333, 1000}) {
        gabarit::draw(file, out, {.look = {.pixels = size}, .treatment = picture::existing::replace});
        EXPECT_EQ(png(out).width, size);
        EXPECT_EQ(png(out).height, size);
    }
    const png drawn(out);
    // Half a step around the moments; the axes from 0 to a step behind the last one.
    const picture::labels around{.begin_seconds = 0.125, .end_seconds = 15.125, .axis_begin = 0.0, .axis_end = 15.25};
    const picture::box place = picture::lay_out(1000, around, {}).square;
    const auto cell = [&](int column, int row) {
        return drawn.at(static_cast<int>(place.x + (column + 0.5) / 60.0 * place.width),
                        static_cast<int>(place.bottom() - (row + 0.5) / 60.0 * place.height));
    };
    EXPECT_EQ(drawn.at(0, 0), 0xffffffu);
    for (int column = 0; column < 60; ++column)
        for (int row = 0; row < 60; ++row)
            ASSERT_EQ(cell(column, row), 0x010101u * similarity_of(column, row)) << column << ' ' << row;
}

struct ending {
    int status;
    std::string output, error;
};

ending run(const test_folder& in, const std::string& arguments, const std::string& before = "")
{
    const int status =
        std::system((before + GABARIT " " + arguments + " >" + in.path("stdout") + " 2>" + in.path("stderr")).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents(in.path("stdout")), contents(in.path("stderr"))};
}

TEST(Tool, DrawsEveryFormAndAnySize)
{
    const test_folder folder;
    for (const int n : {0, 1, 2, 60}) {
        SCOPED_TRACE(n);
        write_example(folder.path("g.sdif"), n);
        for (const auto& [ending, start] : {std::pair(".png", "\x89PNG"), {".svg", "<?xml"}, {".pdf", "%PDF"}}) {
            const std::string out = folder.path(std::to_string(n) + ending);
            EXPECT_EQ(run(folder, "picture --map cubehelix " + folder.path("g.sdif") + " " + out).status, 0);
            EXPECT_THAT(contents(out), StartsWith(start));
        }
        EXPECT_EQ(run(folder, "picture -f --plain " + folder.path("g.sdif") + " " + folder.path("p.png")).status,
                  n == 0);
    }
}

TEST(Tool, ListsItsVersions)
{
    const test_folder folder;
    EXPECT_THAT(run(folder, "-V").output,
                testing::MatchesRegex("gabarit [0-9.]+\nengine " VELORIA_ENGINE_VERSION
                                      "\nlibsndfile [0-9.]+\nLAPACK [0-9.]+\ncairo .*\npango .*\nlibpng .*\n"));
}

TEST(Tool, TellsWhatAGabaritIs)
{
    const test_folder folder;
    write_example(folder.path("g.sdif"), 60);
    const ending told = run(folder, "info --json " + folder.path("g.sdif"));
    EXPECT_EQ(told.status, 0);
    const auto facts = nlohmann::json::parse(told.output);
    EXPECT_EQ(facts["n"], 60);
    EXPECT_EQ(facts["first_time"], 0.25);
    EXPECT_EQ(facts["last_time"], 15.0);
    EXPECT_EQ(facts["settings"]["features_modeling_length"], 1.5);
    EXPECT_EQ(facts["table"]["Command"], command);
    EXPECT_EQ(facts["info"]["fftsize"], 118);
    const std::string lines = run(folder, "info " + folder.path("g.sdif")).output;
    EXPECT_THAT(lines, HasSubstr("\nstep: 0.25\n"));
    EXPECT_THAT(lines, HasSubstr("\ntable.SampleRate: 44100\n"));
}

TEST(Tool, ExportsNumbersThatReadBack)
{
    const test_folder folder;
    write_example(folder.path("g.sdif"), 3);
    for (const char* const out : {"g.npy", "g.csv"})
        ASSERT_EQ(run(folder, "export " + folder.path("g.sdif") + " " + folder.path(out)).status, 0);
    EXPECT_EQ(contents(folder.path("g.csv")), "#time,0.25,0.5,0.75\n0.25,255,90,80\n0.5,90,255,90\n0.75,80,90,255\n");
    const std::string square = contents(folder.path("g.npy")), times = contents(folder.path("g.times.npy"));
    ASSERT_TRUE(square.size() == 128 + 9 && times.size() == 128 + 24);
    EXPECT_EQ(square.substr(0, 10), std::string("\x93NUMPY\x01\0\x76\0", 10));
    EXPECT_THAT(square, HasSubstr("{'descr': '|u1', 'fortran_order': False, 'shape': (3, 3), }"));
    EXPECT_THAT(times, HasSubstr("{'descr': '<f8', 'fortran_order': False, 'shape': (3,), }"));
    EXPECT_EQ(square.substr(128), "\xff\x5a\x50\x5a\xff\x5a\x50\x5a\xff");
    EXPECT_EQ(times.substr(128 + 8, 8), std::string("\0\0\0\0\0\0\xe0\x3f", 8));
}

TEST(Tool, EndsWithItsStatusAndNoHalfFile)
{
    const test_folder folder;
    const std::string good = folder.path("good.sdif"), cut = folder.path("cut.sdif"), out = folder.path("out");
    write_example(good, 60);
    const std::string whole = contents(good);
    write(cut, whole.substr(0, whole.size() - 1));
    const std::string cut_text = cut + ": offset " + std::to_string(whole.size() - 124) +
                                 ": a frame has the size 120, but only 119 bytes are left";
    struct run_case {
        std::string arguments;
        int status;
        std::string output, error;
        std::string before;
    };
    const std::string own = folder.path("own.times.npy"), old = folder.path("old.times.npy");
    write(own, whole);
    write(old, "old");
    const std::string little_room = "ulimit -f 2; ";
    const run_case cases[] = {
        {"verify " + good, 0, good + ": whole, n = 60\n", "", ""},
        {"verify " + cut + " " + good, 1, cut_text + "\n" + good + ": whole, n = 60\n", "", ""},
        {"info " + cut, 1, "", "gabarit: " + cut_text, ""},
        {"picture " + cut + " " + out + ".png", 1, "", "gabarit: " + cut_text, ""},
        {"export " + cut + " " + out + ".csv", 1, "", "gabarit: " + cut_text, ""},
        {"export " + cut + " " + out + ".npy", 1, "", "gabarit: " + cut_text, ""},
        {"info " + out, 1, "", "gabarit: " + out + ": can't be opened: No such file or directory", ""},
        {"info /dev", 1, "", "gabarit: /dev: is no regular file", ""},
        {"picture " + good + " /nowhere/out.png", 1, "", "'/nowhere/out.png' can't be written: No such file", ""},
        {"picture " + good + " " + out + ".png", 1, "", "can't be written: File too large", little_room},
        {"picture " + good + " " + out + ".pdf", 1, "", "can't be written: File too large", little_room},
        {"export " + good + " " + out + ".csv", 1, "", "can't be written: File too large", little_room},
        {"export -f " + own + " " + folder.path("own.npy"), 1, "", "would be overwritten by '" + own + "'", ""},
        {"export " + good + " " + folder.path("old.npy"), 1, "", old + "' exists (--force replaces it)", ""},
        {"picture " + good + " " + out + ".gif", 2, "", "must end in .png, .svg or .pdf", ""},
        {"export " + good + " " + out + ".txt", 2, "", "must end in .npy or .csv", ""},
        {"picture " + good + " " + out + ".png --map red", 2, "", "red not in", ""},
        {"picture " + good + " " + out + ".png --size 299", 2, "", "a picture with axes has 300 pixels", ""},
        {"picture " + good + " " + out + ".png --from 1:60", 2, "", "is no time", ""},
        {"picture " + good + " " + out + ".png --from 5 --to 0:04", 2, "", "--from: is behind --to", ""},
        {"picture " + good + " " + out + ".png --from 1:00", 1, "", "the first is at 0:00.3, the last at 0:15.0", ""},
        {"verify", 2, "", "FILE is required", ""},
        {"verify '--\x1b[31m'", 2, "", "gabarit: The following argument was not expected: --_[31m (", ""},
        {"", 2, "", "A subcommand is required", ""},
    };
    for (const run_case& c : cases) {
        SCOPED_TRACE(c.arguments);
        const ending end = run(folder, c.arguments, c.before);
        EXPECT_EQ(end.status, c.status);
        EXPECT_THAT(end.output, c.output);
        EXPECT_THAT(end.error, HasSubstr(c.error));
    }
    EXPECT_EQ(std::system((GABARIT " info " + good + " >/dev/full 2>" + folder.path("stderr")).c_str()), 1 << 8);
    EXPECT_THAT(contents(folder.path("stderr")), HasSubstr("the standard output can't be written"));
    for (const auto& entry : std::filesystem::directory_iterator(folder.path("")))
        EXPECT_THAT(entry.path().filename(),
                    testing::AnyOf("good.sdif", "cut.sdif", "own.times.npy", "old.times.npy", "stdout", "stderr"));
    EXPECT_EQ(contents(own) + contents(old), whole + "old");
}

} // namespace
