#include "gabarit/export.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "gabarit/reader.h"

namespace gabarit {

namespace {

std::filesystem::path ending_of(const std::string& path)
{
    return std::filesystem::path(path).extension();
}

std::string times_path(const std::string& path)
{
    return std::filesystem::path(path).replace_extension(".times.npy");
}

// Header of the array format of NumPy, version 1.0: its length with all before it is a multiple of 64.
std::string npy_header(const std::string& type, const std::string& shape)
{
    constexpr std::size_t preamble_bytes = 10, alignment = 64;
    std::string dictionary = "{'descr': '" + type + "', 'fortran_order': False, 'shape': (" + shape + "), }";
    const std::size_t unpadded = preamble_bytes + dictionary.size() + 1;
    dictionary += std::string((alignment - unpadded % alignment) % alignment, ' ') + '\n';
    std::string header = "\x93NUMPY\x01";
    header += '\0';
    header += static_cast<char>(dictionary.size() & 0xff);
    header += static_cast<char>(dictionary.size() >> 8);
    return header + dictionary;
}

void append_little_endian(double value, std::string& bytes)
{
    for (int shift = 0; shift < 64; shift += 8)
        bytes += static_cast<char>(std::bit_cast<std::uint64_t>(value) >> shift & 0xff);
}

void export_npy(reader& gabarit, const std::string& path, picture::existing treatment)
{
    picture::whole_file square(path, treatment);
    picture::whole_file times(times_path(path), treatment);
    const std::string n = std::to_string(gabarit.size());
    square.write(npy_header("|u1", n + ", " + n));
    times.write(npy_header("<f8", n + ","));
    std::string time_bytes;
    for (column read{}; gabarit.next_column(read);) {
        if (!square.write(read.similarity.data(), read.similarity.size()))
            break;
        append_little_endian(read.time_seconds, time_bytes);
    }
    times.write(time_bytes);
    picture::whole_file::commit_all({&square, &times});
}

// The shortest digits that give the number again.
template <class NUMBER>
void append_number(NUMBER number, std::string& line)
{
    std::array<char, 32> digits{};
    line.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
}

// The header needs all times before the first row: it takes a reading of its own.
std::string csv_header(const std::string& sdif_path)
{
    reader gabarit(sdif_path);
    std::string line = "#time"; // so begun, the line is a header or a comment for programs that look at the first bytes
    for (column read{}; gabarit.next_column(read);) {
        line += ',';
        append_number(read.time_seconds, line);
    }
    return line + '\n';
}

void export_csv(const std::string& sdif_path, reader& gabarit, const std::string& path, picture::existing treatment)
{
    picture::whole_file table(path, treatment);
    std::string line = csv_header(sdif_path);
    for (column read{}; table.write(line) && gabarit.next_column(read);) {
        line.clear();
        append_number(read.time_seconds, line);
        for (const unsigned char value : read.similarity) {
            line += ',';
            append_number(int{value}, line);
        }
        line += '\n';
    }
    table.commit();
}

} // namespace

bool is_export_path(const std::string& path)
{
    return ending_of(path) == ".npy" || ending_of(path) == ".csv";
}

std::vector<std::string> exported_files(const std::string& path)
{
    if (ending_of(path) == ".npy")
        return {path, times_path(path)};
    return {path};
}

void export_numbers(const std::string& sdif_path, const std::string& path, picture::existing treatment)
{
    reader gabarit(sdif_path);
    if (ending_of(path) == ".npy")
        export_npy(gabarit, path, treatment);
    else
        export_csv(sdif_path, gabarit, path, treatment);
}

} // namespace gabarit
