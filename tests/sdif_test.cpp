#include <algorithm>
#include <sstream>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quillon/sdif_reader.h"

namespace {

using Quillon::FormatError;
using Quillon::FrameHeader;
using Quillon::MatrixHeader;
using Quillon::SDIFReader;
using testing::ElementsAre;

template <class T>
std::string bytes_of(T value)
{
    std::string bytes(sizeof(T), '\0');
    Quillon::store_big_endian(value, reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}

std::string matrix(const std::string& signature, std::uint32_t type, std::uint32_t rows, std::uint32_t columns,
                   const std::string& data)
{
    return signature + bytes_of(type) + bytes_of(rows) + bytes_of(columns) + data +
           std::string(Quillon::padding_after(data.size()), '\0');
}

std::string frame(const std::string& signature, double time, std::uint32_t stream, std::uint32_t matrices,
                  const std::string& content)
{
    return signature + bytes_of(static_cast<std::uint32_t>(16 + content.size())) + bytes_of(time) + bytes_of(stream) +
           bytes_of(matrices) + content;
}

// A file of 376 bytes, made by hand: a table, three matrix and two frame types, an information frame with a float and
// an integer matrix, a data frame of three bytes and their padding.
constexpr std::string_view example_digits =
    "53444946000000080000000300000001314e565400000038ffeffffffffffffffffffffd00000001314e565400000301000000140000"
    "00017b0a5469746c650974776f20776f7264733b0a7d0000000031545950000000a8ffeffffffffffffffffffffe0000000131545950"
    "0000030100000085000000017b0a314d54440958494e46097b6c6576656c2c20726174657d0a314d544409584d4150097b6669727374"
    "2c207365636f6e647d0a314d5444095856414c097b76616c75657d0a314654440958494e460a7b0a58494e4609696e666f3b0a584d41"
    "50096d61703b0a7d0a31465444095856414c0a7b0a5856414c0976616c7565733b0a7d0a7d00000058494e4600000040bff000000000"
    "0000000000010000000258494e460000000400000001000000023f000000472c4400584d415000000104000000010000000200000001"
    "ffffffff5856414c000000283fe000000000000000000000000000015856414c000002010000000300000001ff80070000000000";

std::string example()
{
    std::string bytes;
    for (std::size_t i = 0; i < example_digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(std::string(example_digits.substr(i, 2)), nullptr, 16));
    return bytes;
}

const std::string opening = example().substr(0, 16);

// All that a file holds, a line a frame or matrix.
std::vector<std::string> read_all(const std::string& bytes)
{
    std::istringstream in(bytes);
    SDIFReader reader(in);
    std::vector<std::string> lines;
    for (FrameHeader header{}; reader.next_frame(header);) {
        std::ostringstream line;
        line << Quillon::signature_text(header.signature) << ' ' << header.time << ' ' << header.stream;
        lines.push_back(line.str());
        for (MatrixHeader part{}; reader.next_matrix(part);) {
            line.str(Quillon::signature_text(part.signature));
            line.seekp(0, std::ios::end);
            line << ' ' << part.rows << 'x' << part.columns << ':';
            if (part.type == Quillon::DataType::text)
                line << ' ' << reader.read_text();
            else
                for (const double number : reader.read_numbers())
                    line << ' ' << number;
            lines.push_back(line.str());
        }
    }
    return lines;
}

// Offset and text of the refusal.
std::string refusal(const std::string& bytes)
{
    try {
        read_all(bytes);
    } catch (const FormatError& error) {
        EXPECT_LE(error.offset, bytes.size());
        return error.what();
    }
    return "none";
}

TEST(SDIFReader, ReadsEveryFrameAndMatrix)
{
    const std::string types = "{\n1MTD\tXINF\t{level, rate}\n1MTD\tXMAP\t{first, second}\n1MTD\tXVAL\t{value}\n"
                              "1FTD\tXINF\n{\nXINF\tinfo;\nXMAP\tmap;\n}\n1FTD\tXVAL\n{\nXVAL\tvalues;\n}\n}";
    EXPECT_THAT(read_all(example()),
                ElementsAre("1NVT -1.79769e+308 4294967293", "1NVT 20x1: {\nTitle\ttwo words;\n}",
                            "1TYP -1.79769e+308 4294967294", "1TYP 133x1: " + types, "XINF -1 1", "XINF 1x2: 0.5 44100",
                            "XMAP 1x2: 1 -1", "XVAL 0.5 0", "XVAL 3x1: 255 128 7"));
}

TEST(SDIFReader, ReadsNumbersOfEveryType)
{
    const std::string minus_two = std::string(7, '\xff') + '\xfe';
    std::string matrices = matrix("REAL", 0x004, 1, 1, bytes_of(-0.25f)) + matrix("REAL", 0x008, 1, 1, bytes_of(1e300));
    for (const std::uint32_t bytes : {1u, 2u, 4u, 8u})
        matrices += matrix("SIGN", 0x100 + bytes, 1, 1, minus_two.substr(8 - bytes)) +
                    matrix("UNSI", 0x200 + bytes, 1, 1, minus_two.substr(8 - bytes));
    EXPECT_THAT(read_all(opening + frame("XVAL", 0.0, 0, 10, matrices)),
                ElementsAre("XVAL 0 0", "REAL 1x1: -0.25", "REAL 1x1: 1e+300", "SIGN 1x1: -2", "UNSI 1x1: 254",
                            "SIGN 1x1: -2", "UNSI 1x1: 65534", "SIGN 1x1: -2", "UNSI 1x1: 4.29497e+09", "SIGN 1x1: -2",
                            "UNSI 1x1: 1.84467e+19"));
}

TEST(SDIFReader, SkipsWhatIsNotAskedFor)
{
    // Frames of another make: no matrices where some are announced, an unknown type, padding that is not zero.
    std::string odd_padding =
        frame("XVAL", 1.0, 0, 2, matrix("ZZZZ", 0x703, 1, 2, "abcdef") + matrix("XVAL", 0x201, 1, 1, "\x09"));
    odd_padding.back() = '!';
    std::istringstream in(opening + frame("ZZZZ", 0.0, 7, 99, std::string(16, 'z')) + odd_padding);
    SDIFReader reader(in);
    FrameHeader header{};
    MatrixHeader part{};
    ASSERT_TRUE(reader.next_frame(header));
    ASSERT_TRUE(reader.next_frame(header));
    EXPECT_EQ(header.time, 1.0);
    ASSERT_TRUE(reader.next_matrix(part) && reader.next_matrix(part));
    EXPECT_THAT(reader.read_numbers(), ElementsAre(9.0));
    EXPECT_FALSE(reader.next_matrix(part) || reader.next_frame(header));
}

TEST(SDIFReader, RefusesWithOffsetAndReason)
{
    const std::string whole = example();
    const auto with = [&](std::size_t offset, const std::string& bytes) {
        return std::string(whole).replace(offset, bytes.size(), bytes);
    };
    struct refused {
        std::string bytes, text;
    };
    const refused cases[] = {
        {"", "offset 0: no SDIF file: 0 bytes are too few"},
        {with(0, "RIFF"), "offset 0: no SDIF file: it doesn't begin with 'SDIF'"},
        {with(4, bytes_of(9u)), "offset 4: the opening frame has the size 9 instead of 8"},
        {with(8, bytes_of(2u)), "offset 8: format version 2, only 3 can be read"},
        {with(20, bytes_of(8u)), "offset 20: no frame has the size 8"},
        {with(20, bytes_of(60u)), "offset 20: no frame has the size 60"},
        {with(20, bytes_of(0xfffffff8u)), "offset 20: a frame has the size 4294967288, but only 352 bytes are left"},
        {with(36, bytes_of(2u)), "offset 80: a frame ends before its last matrix"},
        {with(36, bytes_of(0u)), "offset 40: 40 bytes follow the last matrix of a frame"},
        {with(44, bytes_of(0x304u)), "offset 48: 20 rows and 1 columns don't fit in the frame's last 24 bytes"},
        {with(48, bytes_of(25u)), "offset 48: 25 rows and 1 columns don't fit in the frame's last 24 bytes"},
        // These bytes are 2^64, which 64 bits take for none.
        {with(44, bytes_of(0x380u) + bytes_of(1u << 31) + bytes_of(1u << 26)),
         "offset 48: 2147483648 rows and 67108864 columns don't fit in the frame's last 24 bytes"},
        {whole + "tail", "offset 376: the last 4 bytes are no frame"},
        {with(44, bytes_of(0x401u)), "offset 44: no numbers have the type 1025"},
    };
    for (const refused& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(refusal(c.bytes), c.text);
    }
}

TEST(ParseTable, TakesEveryFormThatIsMet)
{
    struct form {
        const char* text;
        std::vector<std::pair<std::string, std::string>> entries;
    };
    const form forms[] = {
        {"{\n}", {}},
        {"", {}},
        {"{\na\tb;\n}", {{"a", "b"}}},
        {"{\na\t two  words ;\nempty\t;\n}", {{"a", " two  words "}, {"empty", ""}}},
        {"{\r\na\tb;\r\nc\td;\r\n}\r\n", {{"a", "b"}, {"c", "d"}}},
        {" { a 1; b   2 } ", {{"a", "1"}, {"b", "2 "}}},
        {"a\tone;two\nb\t2;\n\nc 3", {{"a", "one;two"}, {"b", "2"}, {"c", "3"}}},
        {"{\nname_alone;\npath\t/a\tb;\n}", {{"name_alone", ""}, {"path", "/a\tb"}}},
    };
    for (const form& c : forms) {
        SCOPED_TRACE(c.text);
        std::vector<std::pair<std::string, std::string>> entries;
        for (const Quillon::NameValue& entry : Quillon::parse_table(c.text, 0))
            entries.emplace_back(entry.name, entry.value);
        EXPECT_EQ(entries, c.entries);
    }
    EXPECT_THAT([] { Quillon::parse_table("{\na\tb;\n", 56); },
                testing::ThrowsMessage<FormatError>("offset 63: a name-value table ends without '}'"));
}

} // namespace
