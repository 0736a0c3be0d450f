// Any bytes as an SDIF file: read through, and taken for a gabarit.
#include <cmath>
#include <sstream>
#include <vector>

#include "fuzz/input.h"
#include "gabarit/describe.h"
#include "gabarit/reader.h"
#include "gabarit/verify.h"
#include "quillon/sdif_reader.h"

namespace {

void read_matrix(Quillon::SDIFReader& reader, const Quillon::MatrixHeader& matrix, std::size_t file_bytes)
{
    std::vector<unsigned char> bytes;
    reader.read_bytes(bytes);
    EXPECT_LAW(bytes.size() <= file_bytes);
    try {
        const std::vector<double> numbers = reader.read_numbers();
        EXPECT_LAW(numbers.size() == std::size_t{matrix.rows} * matrix.columns);
    } catch (const Quillon::FormatError&) { // no numbers
    }
    try {
        Quillon::parse_table(reader.read_text(), 0);
    } catch (const Quillon::FormatError&) { // no text
    }
}

void read_through(const std::string& file)
{
    std::istringstream in(file);
    try {
        Quillon::SDIFReader reader(in);
        std::uint64_t last = 0;
        for (Quillon::FrameHeader frame{}; reader.next_frame(frame); last = frame.offset) {
            EXPECT_LAW(frame.offset > last && frame.offset < file.size());
            for (Quillon::MatrixHeader matrix{}; reader.next_matrix(matrix);)
                read_matrix(reader, matrix, file.size());
        }
    } catch (const Quillon::FormatError& error) {
        EXPECT_LAW(error.offset <= file.size());
    }
}

void take_for_gabarit(const std::string& path, std::size_t file_bytes)
{
    int n = 0;
    try {
        n = gabarit::verify(path);
    } catch (const Quillon::FormatError&) {
        return;
    }
    // What passes for whole can be described and read.
    EXPECT_LAW(static_cast<std::size_t>(n) * static_cast<std::size_t>(n) <= file_bytes);
    EXPECT_LAW(!gabarit::describe(path, true).empty() && !gabarit::describe(path, false).empty());
    gabarit::reader reader(path);
    std::vector<std::vector<unsigned char>> square;
    double last = -HUGE_VAL;
    for (gabarit::column column{}; reader.next_column(column); last = column.time_seconds) {
        EXPECT_LAW(column.time_seconds > last && column.similarity.size() == static_cast<std::size_t>(n));
        square.push_back(column.similarity);
    }
    EXPECT_LAW(square.size() == static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < square.size(); ++i)
        for (std::size_t j = 0; j <= i; ++j)
            EXPECT_LAW(square[i][j] == (i == j ? 255 : square[j][i]));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const memory_file file;
    read_through(std::string(reinterpret_cast<const char*>(data), size));
    file.fill({data, size});
    take_for_gabarit(file.path(), size);
    return 0;
}
