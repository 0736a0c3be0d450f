#include "gabarit/reader.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <system_error>

#include "quillon/utf8.h"

namespace gabarit {

using Quillon::FormatError;
using Quillon::FrameHeader;
using Quillon::MatrixHeader;

namespace layout = Quillon::gabarit_layout;

namespace {

constexpr std::uint64_t most_table_bytes = 16 << 20;

std::ifstream open(const std::string& path)
{
    std::error_code unknown;
    if (std::filesystem::exists(path, unknown) && !std::filesystem::is_regular_file(path, unknown))
        throw std::runtime_error("is no regular file");
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::system_error(errno, std::generic_category(), "can't be opened");
    return file;
}

} // namespace

reader::reader(const std::string& path) : file(open(path)), sdif(file)
{
    read_until_info();
}

void reader::read_until_info()
{
    FrameHeader frame{};
    while (sdif.next_frame(frame)) {
        check_time(frame);
        if (frame.signature == Quillon::table_signature)
            read_table();
        else if (frame.signature == layout::data.signature)
            throw FormatError(frame.offset, "no gabarit: data come before the information frame");
        else if (frame.signature == layout::info.signature && read_info_frame()) {
            check_info(frame.offset);
            return;
        } else
            skip_matrices();
    }
    throw FormatError(Quillon::opening_frame_bytes, "no gabarit: there is no information frame");
}

namespace {

// Controls of one byte and of two, breaks of lines, and what turns the direction of a text.
bool is_control(std::string_view character)
{
    const auto first = static_cast<unsigned char>(character[0]);
    if (character.size() == 1)
        return first < 0x20 || first == 0x7f;
    static constexpr std::string_view marks[] = {"\u061c", "\u200e", "\u200f", "\u2028", "\u2029", "\u202a", "\u202b",
                                                 "\u202c", "\u202d", "\u202e", "\u2066", "\u2067", "\u2068", "\u2069"};
    return (first == 0xc2 && static_cast<unsigned char>(character[1]) < 0xa0) || std::ranges::count(marks, character);
}

} // namespace

std::string showable(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const std::size_t bytes = Quillon::utf8_character_bytes(text);
        if (bytes == 0 || is_control(text.substr(0, bytes)))
            shown += '_';
        else
            shown += text.substr(0, bytes);
        text.remove_prefix(std::max<std::size_t>(bytes, 1));
    }
    return shown;
}

// What isn't asked for must still be what the format allows.
void reader::skip_matrices()
{
    MatrixHeader matrix{};
    while (sdif.next_matrix(matrix)) {}
}

void reader::read_table()
{
    for (MatrixHeader matrix{}; sdif.next_matrix(matrix);) {
        if (matrix.signature != Quillon::table_signature)
            continue;
        table_bytes += std::uint64_t{matrix.rows} * matrix.columns; // less than the file
        if (table_bytes > most_table_bytes)
            throw FormatError(matrix.offset + 8, "the name-value tables take more than 16 MB");
        for (const Quillon::NameValue& entry : Quillon::parse_table(sdif.read_text(), sdif.data_offset())) {
            entries.push_back({showable(entry.name), showable(entry.value)});
            if (!names.insert(entries.back().name).second)
                throw FormatError(sdif.data_offset(),
                                  "two entries of the table are named '" + entries.back().name + "'");
        }
    }
}

// Moves on in a frame of the gabarit's own, in which no kind of matrix comes twice.
bool reader::next_own_matrix(MatrixHeader& matrix, unsigned& seen)
{
    if (!sdif.next_matrix(matrix))
        return false;
    unsigned mark = 1;
    for (const layout::matrix_layout& known : {layout::info, layout::channel_map, layout::frame_info, layout::data}) {
        if (matrix.signature == known.signature && (seen & mark) != 0)
            throw FormatError(matrix.offset, "a frame has two matrices " + Quillon::signature_text(known.signature));
        seen |= matrix.signature == known.signature ? mark : 0;
        mark <<= 1;
    }
    return true;
}

// A frame of this type without its matrix is none.
bool reader::read_info_frame()
{
    bool found = false;
    unsigned seen = 0;
    for (MatrixHeader matrix{}; next_own_matrix(matrix, seen);) {
        if (matrix.signature != layout::info.signature)
            continue;
        if (matrix.rows != 1 || matrix.columns != layout::info.columns.size())
            throw FormatError(matrix.offset + 8, "the information is no row of 5 numbers");
        const std::vector<double> numbers = sdif.read_numbers();
        facts = {numbers[layout::gabmode], numbers[layout::samplerate], numbers[layout::nchannels],
                 numbers[layout::fftsize], numbers[layout::numframes]};
        found = true;
    }
    return found;
}

void reader::check_info(std::uint64_t offset)
{
    constexpr double most_frames = 1 << 24; // a float32 counts no further
    const double count = facts.frame_count;
    if (!(count >= 0.0 && count <= most_frames) || count != std::floor(count))
        throw FormatError(offset, "the information frame gives no usable number of frames");
    if (facts.fft_size != static_cast<double>(layout::fft_size(std::llround(count))))
        throw FormatError(offset, "no gabarit of a sound with itself: the frames don't have as many values as there "
                                  "are frames");
    moments = static_cast<int>(count);
    const auto n = static_cast<std::uint64_t>(moments);
    if (n * n > sdif.bytes_left())
        throw FormatError(offset, "the file is cut: " + std::to_string(n) + " frames of " + std::to_string(n) +
                                      " values are announced, but only " + std::to_string(sdif.bytes_left()) +
                                      " bytes follow");
}

std::string reader::value(const std::string& name) const
{
    const auto entry = std::ranges::find(entries, name, &Quillon::NameValue::name);
    return entry == entries.end() ? std::string() : entry->value;
}

settings reader::made_with() const
{
    // Paths stand ahead of the settings and may hold anything: the last option of a name is the right one.
    const std::string command = value(layout::command_name);
    const auto option = [&](const std::string& name) -> std::string {
        const std::size_t begin = command.rfind(" --" + name + " ");
        if (begin == std::string::npos)
            return {};
        const std::size_t word = begin + name.size() + 4;
        return command.substr(word, command.find(' ', word) - word);
    };
    return {option("features_type"), option("features_modeling"), option("features_modeling_length"),
            option("window_grid_hop")};
}

// Equal times are allowed to frames of different types.
void reader::check_time(const FrameHeader& frame)
{
    if (!std::isfinite(frame.time) || frame.time < last_frame_time)
        throw FormatError(frame.offset + 8, "the times of the frames don't ascend");
    last_frame_time = frame.time;
}

bool reader::next_column(column& read)
{
    FrameHeader frame{};
    bool is_column = false;
    while (!is_column) {
        if (!sdif.next_frame(frame)) {
            if (columns_read < moments)
                throw FormatError(frame.offset, "the file ends after " + std::to_string(columns_read) + " of " +
                                                    std::to_string(moments) + " frames");
            return false;
        }
        check_time(frame);
        is_column = frame.signature == layout::data.signature && frame.stream == layout::data_stream;
        if (!is_column)
            skip_matrices();
    }

    if (columns_read == moments)
        throw FormatError(frame.offset, "there are more frames than the " + std::to_string(moments) + " announced");
    if (frame.time == last_column_time)
        throw FormatError(frame.offset + 8, "two frames have the same time");
    read.offset = frame.offset;
    read.time_seconds = last_column_time = frame.time;
    read_data_frame(read);
    ++columns_read;
    return true;
}

void reader::read_again(std::uint64_t offset, column& read)
{
    FrameHeader frame{};
    sdif.go_to(offset);
    if (!sdif.next_frame(frame))
        throw FormatError(offset, "the file became shorter");
    read.offset = offset;
    read.time_seconds = frame.time;
    read_data_frame(read);
}

void reader::read_data_frame(column& read)
{
    bool found = false;
    unsigned seen = 0;
    for (MatrixHeader matrix{}; next_own_matrix(matrix, seen);) {
        if (matrix.signature != layout::data.signature)
            continue;
        if (matrix.type != layout::data.type)
            throw FormatError(matrix.offset + 4, "the similarities are no bytes");
        if (matrix.rows != static_cast<std::uint32_t>(moments) || matrix.columns != layout::data.columns.size())
            throw FormatError(matrix.offset + 8, "a frame has " + std::to_string(matrix.rows) + " by " +
                                                     std::to_string(matrix.columns) + " values instead of " +
                                                     std::to_string(moments) + " by 1");
        sdif.read_bytes(read.similarity);
        found = true;
    }
    if (!found)
        throw FormatError(read.offset, "a frame has no similarities");
}

} // namespace gabarit
