#include <algorithm>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quillon/name_value_table.h"
#include "quillon/sdif_frame.h"
#include "quillon/type_declarations.h"
#include "similarity/command_string.h"
#include "similarity/write_gabarit.h"
#include "tests/support/files.h"
#include "tests/support/locale.h"

namespace {

using namespace std::string_literals;

template <class T>
std::string big_endian(T value)
{
    std::string bytes(reinterpret_cast<const char*>(&value), sizeof value);
    return {bytes.rbegin(), bytes.rend()};
}

std::string matrix(const std::string& signature, int type, int rows, int columns, std::string data)
{
    data.resize((data.size() + 7) / 8 * 8);
    return signature + big_endian(type) + big_endian(rows) + big_endian(columns) + data;
}

std::string frame(const std::string& signature, double time, int stream, int matrix_count, const std::string& matrices)
{
    return signature + big_endian(static_cast<int>(matrices.size()) + 16) + big_endian(time) + big_endian(stream) +
           big_endian(matrix_count) + matrices;
}

std::string header_frame(const std::string& signature, int stream, const std::string& text)
{
    const int rows = static_cast<int>(text.size());
    return frame(signature, std::numeric_limits<double>::lowest(), stream, 1, matrix(signature, 0x301, rows, 1, text));
}

TEST(SdifMatrix, RefusesWhatIsNotThereAndHoldsCellsToTheirType)
{
    Quillon::SDIFMatrix cells;
    EXPECT_THROW(cells.Init(1, 1u << 31, 1, Quillon::DataType::uint8), std::out_of_range);
    cells.Init(1, 2, 3, Quillon::DataType::int16);
    const std::int16_t column[] = {-2, 0x1234};
    EXPECT_THROW(cells.Set(2, 0, 1), Quillon::SDIFArrayPosition);
    EXPECT_THROW(cells.FillColumn(3, column), Quillon::SDIFArrayPosition);
    EXPECT_THROW(cells.FillColumn(0, "ab"), Quillon::TypeError);
    cells.FillColumn(1, column);
    cells.Set(0, 0, 1e300);
    cells.Set(1, 0, -1e300);
    cells.Set(0, 2, std::numeric_limits<double>::quiet_NaN());
    std::string encoded(cells.encoded_bytes(), '?');
    cells.encode(reinterpret_cast<unsigned char*>(encoded.data()));
    EXPECT_EQ(encoded, matrix("\0\0\0\1"s, 0x102, 2, 3, "\x7f\xff\xff\xfe\0\0\x80\0\x12\x34\0\0"s));
}

struct cell_case {
    int type;
    double value;
    std::string bytes;
};

TEST(SdifMatrix, StoresEachTypeInItsOwnRange)
{
    const cell_case cases[] = {
        {0x004, -0.5, "\xbf\0\0\0"s},
        {0x008, -0.5, "\xbf\xe0\0\0\0\0\0\0"s},
        {0x101, -1e9, "\x80"s},
        {0x104, 3e9, "\x7f\xff\xff\xff"s},
        {0x108, -2.0, "\xff\xff\xff\xff\xff\xff\xff\xfe"s},
        {0x201, 256.0, "\xff"s},
        {0x202, 258.0, "\1\2"s},
        {0x204, 1e300, "\xff\xff\xff\xff"s},
        {0x208, 1e300, "\xff\xff\xff\xff\xff\xff\xff\xff"s},
        {0x301, 65.0, "A"s},
        {0x401, -1.0, "\0"s},
    };
    for (const cell_case& c : cases) {
        SCOPED_TRACE(c.type);
        Quillon::SDIFMatrix cells;
        cells.Init(1, 1, 1, static_cast<Quillon::DataType>(c.type));
        cells.Set(0, 0, c.value);
        std::string encoded(cells.encoded_bytes(), '?');
        cells.encode(reinterpret_cast<unsigned char*>(encoded.data()));
        EXPECT_EQ(encoded, matrix("\0\0\0\1"s, c.type, 1, 1, c.bytes));
    }
}

TEST(TypeDeclarations, RefuseNamesInTheOrderOfTheTests)
{
    const auto expect_refused = [](std::uint32_t signature, const char* name, const std::string& text) {
        Quillon::FrameType type(1);
        type.AddMatrixType(Quillon::MatrixType(1), "known");
        EXPECT_THAT([&] { type.AddMatrixType(Quillon::MatrixType(signature), name); },
                    testing::ThrowsMessage<Quillon::TypeError>("Error in FrameType::AddMatrixType::" + text));
    };
    for (const char* name : {"a b", "a;", ",a", "a{b", "}"}) {
        EXPECT_THAT([&] { Quillon::MatrixType(1).AddColumn(name); },
                    testing::ThrowsMessage<Quillon::TypeError>(
                        "Error in MatrixType::AddColumn:: invalid character in column_name"));
        expect_refused(2, name, " invalid character in matrix_name");
        expect_refused(1, name, " matrix type exists.");
    }
    for (const char* empty : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_THAT([&] { Quillon::MatrixType(1).AddColumn(empty); },
                    testing::ThrowsMessage<Quillon::TypeError>("Error in MatrixType::AddColumn:: empty column"));
        expect_refused(1, empty, " empty column");
        expect_refused(0, empty, "uninitialized matrix ");
    }
}

const std::pair<std::string, std::string> stored_values[] = {
    {"", ""},
    {" a, b: \"c\" \\ / ", " a, b: \"c\" \\ / "},
    {"a\tb\nc\rd\0e\x1f\x7f"s, "a_b_c_d_e__"},
    {"{a;b}", "_a_b_"},
    {"\u00e9 \u20ac \U0001f3b5 \U0010ffff", "\u00e9 \u20ac \U0001f3b5 \U0010ffff"},
    {"\xe9t\xc3", "_t_"},                                      // another encoding, a cut end
    {"\xc0\xaf \xe0\x80\xaf \xf0\x80\x80\xaf", "__ ___ ____"}, // longer than need be
    {"\xed\xa0\x80 \xf4\x90\x80\x80 \xe2\x82;", "___ ____ ___"},
};

TEST(NameValueTable, StoresWhatItsTextCanHold)
{
    for (const auto& [value, stored] : stored_values) {
        Quillon::SDIFNameValueTable table;
        table.AddNameValue("Name", value);
        EXPECT_EQ(table.text(), "{\nName\t" + stored + ";\n}");
        for (const std::string& name : {"Name"s, ""s, "a b"s, "a\t"s, "a,b"s, "{"s, "\xff"s})
            EXPECT_THROW(table.AddNameValue(name, ""), Quillon::TypeError) << name;
    }
}

TEST(CommandString, RepeatsTheAnalysisWhateverTheLocale)
{
    using veloria::feature_selection, veloria::modeling_kind;
    const foreign_locale host;
    const std::string start = "marquen --input a b.wav --similarity o.sdif --features_type ";
    const std::string end = " --window_centering grid --window_grid_hop ";
    EXPECT_EQ(veloria::build_command_string("a b.wav", "o.sdif", {}),
              start + "mixed --features_modeling mean --features_modeling_length 1" + end + "0.5");
    EXPECT_EQ(veloria::build_command_string("a b.wav", "o.sdif",
                                            {feature_selection::timbre, modeling_kind::meanvar, 12.345678, 1e-7}),
              start + "timbre --features_modeling meanvar --features_modeling_length 12.3457" + end + "1e-07");
    EXPECT_EQ(veloria::build_command_string("a b.wav", "o.sdif",
                                            {feature_selection::harmo, modeling_kind::fft, 10000.0, 1234567.0}),
              start + "harmo --features_modeling fft --features_modeling_length 10000" + end + "1.23457e+06");
    EXPECT_NE(
        veloria::build_command_string("", "", {feature_selection::harmo, modeling_kind::mph, 1.0, 1.0}).find(" mph "),
        std::string::npos);
}

struct gabarit_case {
    int n, channels;
    double rate_hz;
    const char* rate_text;
    int fft_size;
};
constexpr gabarit_case gabarit_cases[] = {{0, 1, 44100.0, "44100", 0},
                                          {1, 2, 48000.5, "48000.5", 0},
                                          {2, 1, 11025.0, "11025", 2},
                                          {9, 3, 2822400.0, "2.8224e+06", 16}};

// Frame i stands at 0.5 + i / 8 seconds and holds 255 - 16 i - r for all r.
void write_case(const gabarit_case& c, const std::string& path)
{
    tavel::Matrix<unsigned char> similarity(c.n, c.n);
    tavel::Vector<double> times(c.n);
    for (int i = 0; i < c.n * c.n; ++i)
        similarity.data[i] = static_cast<unsigned char>(255 - 16 * (i / c.n) - i % c.n);
    std::generate_n(times.begin(), c.n, [time = 0.375]() mutable { return time += 0.125; });
    veloria::write_gabarit(similarity, times, "in.wav", "marquen ;", c.rate_hz, c.channels, path);
}

std::string expected_gabarit(const gabarit_case& c)
{
    const std::string table = "{\nSampleRate\t"s + c.rate_text +
                              ";\nGabaritMode\t0;\nCommand\tmarquen _;\nSoundfile\tin.wav;\nNumChannels\t" +
                              std::to_string(c.channels) + ";\nVersion\t1.8.2;\nCreator\tmarquen;\n}";
    const std::string types = "{\n1MTD\tIGBG\t{gabmode, samplerate, nchannels, fftsize, numframes}\n"
                              "1MTD\tXS2C\t{stream_id, channel}\n1MTD\tIGBF\t{windowsize, framesize}\n"
                              "1MTD\t1GB0\t{logampl}\n1FTD\tIGBG\n{\nIGBG\tgabaritinfo;\nXS2C\tstream2channel_map;\n}\n"
                              "1FTD\t1GB0\n{\nIGBF\tframeinfo;\n1GB0\tfftdata;\n}\n}";
    std::string info;
    for (const double value : {0.0, c.rate_hz, 1.0 * c.channels, 1.0 * c.fft_size, 1.0 * c.n})
        info += big_endian(static_cast<float>(value));
    std::string channel_map = big_endian(c.channels - 1) + big_endian(c.channels - 1);
    channel_map.resize(static_cast<std::size_t>(c.channels) * 8);
    std::string bytes = "SDIF\0\0\0\x8\0\0\0\x3\0\0\0\x1"s + header_frame("1NVT", -3, table) +
                        header_frame("1TYP", -2, types) +
                        frame("IGBG", -1.0, c.channels, 2,
                              matrix("IGBG", 0x4, 1, 5, info) + matrix("XS2C", 0x104, c.channels, 2, channel_map));
    for (int i = 0; i < c.n; ++i) {
        std::string column;
        for (int r = 0; r < c.n; ++r)
            column += static_cast<char>(255 - 16 * i - r);
        bytes += frame("1GB0", 0.5 + i / 8.0, 0, 2,
                       matrix("IGBF", 0x204, 1, 2, big_endian(c.fft_size) + big_endian(c.fft_size)) +
                           matrix("1GB0", 0x201, c.n, 1, column));
    }
    return bytes;
}

TEST(WriteGabarit, WritesEveryByteInItsPlace)
{
    const foreign_locale host;
    const test_folder folder;
    for (const gabarit_case& c : gabarit_cases) {
        SCOPED_TRACE(c.n);
        const std::string path = folder.path("out.sdif");
        std::ofstream(path) << std::string(10000, 'x'); // what was there before goes
        write_case(c, path);
        EXPECT_EQ(contents(path), expected_gabarit(c));
    }
}

TEST(WriteGabarit, TellsWhichFileFailedAndWhy)
{
    const auto expect_failure = [](const std::string& path, const std::string& text) {
        EXPECT_THAT([&] { write_case(gabarit_cases[3], path); }, testing::ThrowsMessage<std::runtime_error>(text));
    };
    const std::string folder = testing::TempDir();
    expect_failure(folder, "Error opening file '" + folder + "' for writing");
    expect_failure(folder + "none/a", "Error opening file '" + folder + "none/a' for writing");
    expect_failure("/dev/full", "error writing file '/dev/full': No space left on device");
}

} // namespace
