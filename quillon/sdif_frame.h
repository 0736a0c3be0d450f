#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "quillon/sdif_types.h"
#include "quillon/type_declarations.h"

namespace Quillon {

/// A cell, a column or a matrix that isn't there.
class SDIFArrayPosition : public std::out_of_range {
public:
    using std::out_of_range::out_of_range;
};

/// A matrix of a frame; a column is a field, a row an element that has these fields. Cells are kept as the bytes that
/// a file holds.
class SDIFMatrix {
public:
    /// Sizes the matrix and sets all cells to 0.
    /// @throws std::out_of_range "SDIF matrix of 2^31 bytes or more"
    void Init(std::uint32_t signature, std::uint32_t rows, std::uint32_t columns, DataType type);

    /// Sets a cell from any integer or double; what an integer type can't hold becomes its nearest value, a NaN 0.
    /// @throws SDIFArrayPosition; std::logic_error "unknown SDIF data type"
    void Set(std::uint32_t row, std::uint32_t column, long double value);

    /// Fills a column from contiguous values, one a row, of the matrix's own element type.
    /// @throws SDIFArrayPosition; TypeError "Error in SDIFMatrix::FillColumn:: element size"
    template <class T>
    void FillColumn(std::uint32_t column, const T* values);

    /// Size in the file, padding included.
    std::size_t encoded_bytes() const { return matrix_header_bytes + cells.size(); }
    /// Writes the matrix as it stands in the file and returns the place behind it.
    unsigned char* encode(unsigned char* out) const;

private:
    std::size_t cell_offset(std::size_t row, std::size_t column) const
    {
        return (row * column_count + column) * element_size(element_type);
    }

    std::uint32_t matrix_signature = 0;
    std::uint32_t row_count = 0;
    std::uint32_t column_count = 0;
    DataType element_type = DataType::float32;
    std::vector<unsigned char> cells; // row by row, big-endian, padded
};

template <class T>
void SDIFMatrix::FillColumn(std::uint32_t column, const T* values)
{
    if (column >= column_count)
        throw SDIFArrayPosition("no such column in the SDIF matrix");
    if (sizeof(T) != element_size(element_type))
        throw TypeError("Error in SDIFMatrix::FillColumn:: element size");
    for (std::size_t row = 0; row < row_count; ++row)
        store_big_endian(values[row], cells.data() + cell_offset(row, column));
}

/// A frame: matrices that belong to one time. A file wants each signature once among them.
class SDIFFrame {
public:
    /// @param time seconds, finite
    void SetHeader(std::uint32_t signature, std::uint32_t stream_id, double time);
    void SetSignature(std::uint32_t signature) { frame_signature = signature; }
    void SetStreamID(std::uint32_t id) { stream = id; }
    void SetTime(double seconds) { time_seconds = seconds; }

    void Resize(std::uint32_t matrix_count) { matrices.resize(matrix_count); }
    /// @throws SDIFArrayPosition
    SDIFMatrix& GetMatrix(std::uint32_t index);
    /// Takes all matrices out.
    void ClearData() { matrices.clear(); }

    /// Puts the frame as it stands in the file into a buffer, which is sized to it.
    /// @throws std::out_of_range "SDIF frame of 2^31 bytes or more"
    void encode(std::vector<unsigned char>& bytes) const;

private:
    std::uint32_t frame_signature = 0;
    std::uint32_t stream = 0;
    double time_seconds = 0.0;
    std::vector<SDIFMatrix> matrices;
};

} // namespace Quillon
