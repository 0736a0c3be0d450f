#include "quillon/sdif_reader.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Quillon {

FormatError::FormatError(std::uint64_t byte_offset, const std::string& text)
    : std::runtime_error("offset " + std::to_string(byte_offset) + ": " + text), offset(byte_offset)
{}

SDIFReader::SDIFReader(std::istream& file) : in(file)
{
    in.seekg(0, std::ios::end);
    const std::streamoff end = in.tellg();
    if (!in || end < 0)
        throw FormatError(0, "the file can't be read from any place in it");
    file_bytes = static_cast<std::uint64_t>(end);
    position = file_bytes;

    if (file_bytes < opening_frame_bytes)
        throw FormatError(0, "no SDIF file: " + std::to_string(file_bytes) + " bytes are too few");
    std::array<unsigned char, opening_frame_bytes> bytes{};
    read_at(0, bytes.data(), bytes.size());
    if (load_big_endian<std::uint32_t>(bytes.data()) != opening_signature)
        throw FormatError(0, "no SDIF file: it doesn't begin with 'SDIF'");
    const auto size = load_big_endian<std::uint32_t>(bytes.data() + 4);
    const auto version = load_big_endian<std::uint32_t>(bytes.data() + 8);
    if (version != format_version) // first: older versions have other sizes too
        throw FormatError(8, "format version " + std::to_string(version) + ", only 3 can be read");
    if (size != opening_frame_bytes - uncounted_frame_bytes)
        throw FormatError(4, "the opening frame has the size " + std::to_string(size) + " instead of 8");
    frame_end = next_offset = opening_frame_bytes;
}

void SDIFReader::read_at(std::uint64_t offset, unsigned char* out, std::uint64_t count)
{
    if (offset != position)
        in.seekg(static_cast<std::streamoff>(offset));
    in.read(reinterpret_cast<char*>(out), static_cast<std::streamsize>(count));
    if (!in)
        throw FormatError(offset, "reading failed");
    position = offset + count;
}

bool SDIFReader::next_frame(FrameHeader& frame)
{
    frame.offset = frame_end;
    if (frame_end == file_bytes)
        return false;
    if (bytes_left() < frame_header_bytes)
        throw FormatError(frame.offset, "the last " + std::to_string(bytes_left()) + " bytes are no frame");
    std::array<unsigned char, frame_header_bytes> bytes{};
    read_at(frame.offset, bytes.data(), bytes.size());
    frame.signature = load_big_endian<std::uint32_t>(bytes.data());
    frame.size = load_big_endian<std::uint32_t>(bytes.data() + 4);
    frame.time = load_big_endian<double>(bytes.data() + 8);
    frame.stream = load_big_endian<std::uint32_t>(bytes.data() + 16);
    frame.matrix_count = load_big_endian<std::uint32_t>(bytes.data() + 20);

    const std::uint64_t left = bytes_left() - uncounted_frame_bytes;
    if (frame.size < frame_header_bytes - uncounted_frame_bytes || frame.size % 8 != 0)
        throw FormatError(frame.offset + 4, "no frame has the size " + std::to_string(frame.size));
    if (frame.size > left)
        throw FormatError(frame.offset + 4, "a frame has the size " + std::to_string(frame.size) + ", but only " +
                                                std::to_string(left) + " bytes are left");
    next_offset = frame.offset + frame_header_bytes;
    frame_end = frame.offset + uncounted_frame_bytes + frame.size;
    matrices_left = frame.matrix_count;
    return true;
}

bool SDIFReader::next_matrix(MatrixHeader& matrix)
{
    const std::uint64_t left = frame_end - next_offset;
    if (matrices_left == 0) {
        if (left != 0)
            throw FormatError(next_offset, std::to_string(left) + " bytes follow the last matrix of a frame");
        return false;
    }
    if (left < matrix_header_bytes)
        throw FormatError(next_offset, "a frame ends before its last matrix");
    std::array<unsigned char, matrix_header_bytes> bytes{};
    read_at(next_offset, bytes.data(), bytes.size());
    current.offset = next_offset;
    current.signature = load_big_endian<std::uint32_t>(bytes.data());
    current.type = static_cast<DataType>(load_big_endian<std::uint32_t>(bytes.data() + 4));
    current.rows = load_big_endian<std::uint32_t>(bytes.data() + 8);
    current.columns = load_big_endian<std::uint32_t>(bytes.data() + 12);

    // The count of elements fits in 64 bits, their bytes may not.
    const std::uint64_t elements = std::uint64_t{current.rows} * current.columns;
    const std::uint64_t element = element_size(current.type);
    const std::uint64_t room = left - matrix_header_bytes;
    if (element != 0 && elements > room / element)
        throw FormatError(current.offset + 8,
                          std::to_string(current.rows) + " rows and " + std::to_string(current.columns) +
                              " columns don't fit in the frame's last " + std::to_string(room) + " bytes");
    data_begin = current.offset + matrix_header_bytes;
    data_bytes = elements * element;
    next_offset = data_begin + data_bytes + padding_after(data_bytes); // frame sizes are multiples of 8: it fits
    --matrices_left;
    matrix = current;
    return true;
}

void SDIFReader::read_bytes(std::vector<unsigned char>& bytes)
{
    bytes.resize(data_bytes);
    read_at(data_begin, bytes.data(), data_bytes);
}

std::string SDIFReader::read_text()
{
    if (element_size(current.type) != 1)
        throw FormatError(current.offset + 4,
                          "a matrix of text has elements of " + std::to_string(element_size(current.type)) + " bytes");
    std::string text(data_bytes, '\0');
    read_at(data_begin, reinterpret_cast<unsigned char*>(text.data()), data_bytes);
    return text;
}

namespace {

template <class T>
void load_numbers(const std::vector<unsigned char>& bytes, std::vector<double>& numbers)
{
    for (std::size_t i = 0; i < numbers.size(); ++i)
        numbers[i] = static_cast<double>(load_big_endian<T>(bytes.data() + i * sizeof(T)));
}

using loader = void (*)(const std::vector<unsigned char>&, std::vector<double>&);

loader loader_for(DataType type)
{
    switch (type) {
    case DataType::float32:
        return load_numbers<float>;
    case DataType::float64:
        return load_numbers<double>;
    case DataType::int8:
        return load_numbers<std::int8_t>;
    case DataType::int16:
        return load_numbers<std::int16_t>;
    case DataType::int32:
        return load_numbers<std::int32_t>;
    case DataType::int64:
        return load_numbers<std::int64_t>;
    case DataType::uint8:
        return load_numbers<std::uint8_t>;
    case DataType::uint16:
        return load_numbers<std::uint16_t>;
    case DataType::uint32:
        return load_numbers<std::uint32_t>;
    case DataType::uint64:
        return load_numbers<std::uint64_t>;
    case DataType::text:
    case DataType::byte:
        break;
    }
    return nullptr;
}

} // namespace

std::vector<double> SDIFReader::read_numbers()
{
    const loader load = loader_for(current.type);
    if (load == nullptr)
        throw FormatError(current.offset + 4,
                          "no numbers have the type " + std::to_string(static_cast<std::uint32_t>(current.type)));
    std::vector<unsigned char> bytes;
    read_bytes(bytes);
    std::vector<double> numbers(bytes.size() / element_size(current.type));
    load(bytes, numbers);
    return numbers;
}

namespace {

constexpr std::string_view white_space = " \t\n\r";

std::string_view trim(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(white_space);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(white_space) + 1 - first);
}

constexpr std::size_t most_entries = 100000; // a few bytes of text become some hundred in memory

// After a TAB the value is all that follows; blanks in its place may be any number.
NameValue parse_entry(std::string_view entry)
{
    const std::size_t name_end = std::min(entry.find_first_of(" \t"), entry.size());
    std::string_view value = entry.substr(name_end);
    if (value.starts_with('\t'))
        value.remove_prefix(1);
    else
        value.remove_prefix(std::min(value.find_first_not_of(' '), value.size()));
    return {std::string(entry.substr(0, name_end)), std::string(value)};
}

} // namespace

std::vector<NameValue> parse_table(std::string_view text, std::uint64_t offset)
{
    std::string_view rest = trim(text);
    const bool in_braces = rest.starts_with('{');
    if (in_braces) {
        if (!rest.ends_with('}') || rest.size() < 2)
            throw FormatError(offset + text.size(), "a name-value table ends without '}'");
        rest = rest.substr(1, rest.size() - 2);
    }
    std::vector<NameValue> entries;
    while (!rest.empty()) {
        // Without braces a ';' is an ordinary character within a line.
        const std::size_t end = std::min(rest.find_first_of(in_braces ? ";\n" : "\n"), rest.size());
        std::string_view entry = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (entry.ends_with('\r'))
            entry.remove_suffix(1);
        if (!in_braces && entry.ends_with(';'))
            entry.remove_suffix(1);
        entry.remove_prefix(std::min(entry.find_first_not_of(white_space), entry.size()));
        if (!entry.empty() && entries.size() == most_entries)
            throw FormatError(offset, "a name-value table has more than " + std::to_string(most_entries) + " entries");
        if (!entry.empty())
            entries.push_back(parse_entry(entry));
    }
    return entries;
}

} // namespace Quillon
