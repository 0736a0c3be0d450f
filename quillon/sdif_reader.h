#pragma once

#include <cstdint>
#include <istream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "quillon/sdif_types.h"

namespace Quillon {

/// What is wrong with the bytes of a file; the text begins with "offset N: ".
class FormatError : public std::runtime_error {
public:
    FormatError(std::uint64_t byte_offset, const std::string& text);

    std::uint64_t offset; ///< bytes from the start of the file
};

struct FrameHeader {
    std::uint64_t offset; ///< of the frame
    std::uint32_t signature;
    std::uint32_t size; ///< bytes after the size field
    double time;        ///< seconds, as it stands: perhaps no finite number
    std::uint32_t stream;
    std::uint32_t matrix_count; ///< as announced
};

struct MatrixHeader {
    std::uint64_t offset; ///< of the matrix
    std::uint32_t signature;
    DataType type; ///< perhaps an unknown code
    std::uint32_t rows, columns;
};

/// Goes through the frames of an SDIF file of format version 3, frame by frame and matrix by matrix.
///
/// Trusts no byte: a size is compared with what is left before anything is allocated. Takes what the format leaves
/// open: unknown frames and matrices are skipped by their size, padding may have any value.
/// Every function throws FormatError for bytes that can't be an SDIF file.
class SDIFReader {
public:
    /// Checks the opening frame. `file` must be seekable and outlive the reader.
    explicit SDIFReader(std::istream& file);

    /// Moves to the next frame, past what was not read of this one.
    /// @return false at the end of the file; the offset is then the file's size
    bool next_frame(FrameHeader& frame);

    /// Lets the frame that stands at the offset be the next one.
    void go_to(std::uint64_t frame_offset) { frame_end = frame_offset; }

    /// Moves to the next matrix of the frame.
    /// @return false after the last one, which must end where the frame ends
    bool next_matrix(MatrixHeader& matrix);

    /// The data of the current matrix as they stand in the file, without padding.
    void read_bytes(std::vector<unsigned char>& bytes);

    /// The current matrix as text; its elements must be single bytes.
    std::string read_text();

    /// The current matrix row by row; its elements must be numbers.
    std::vector<double> read_numbers();

    /// Offset of the current matrix's data.
    std::uint64_t data_offset() const { return data_begin; }

    /// Bytes of the file after the current frame.
    std::uint64_t bytes_left() const { return file_bytes - frame_end; }

private:
    void read_at(std::uint64_t offset, unsigned char* out, std::uint64_t count);

    std::istream& in;
    std::uint64_t file_bytes = 0;
    std::uint64_t position = 0; // of the stream
    std::uint64_t frame_end = 0;
    std::uint64_t next_offset = 0;
    std::uint32_t matrices_left = 0;
    MatrixHeader current{};
    std::uint64_t data_begin = 0, data_bytes = 0;
};

struct NameValue {
    std::string name, value;
};

/// Entries of a name-value table, in their order. Takes tables with and without braces, with a TAB or blanks after
/// the name, with and without ';' at the end of an entry.
/// @param offset  of the text in its file, for the error
/// @throws FormatError if an opened brace isn't closed, and for more than 100000 entries
std::vector<NameValue> parse_table(std::string_view text, std::uint64_t offset);

} // namespace Quillon
