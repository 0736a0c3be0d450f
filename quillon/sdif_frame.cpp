#include "quillon/sdif_frame.h"

#include <algorithm>
#include <cmath>
#include <concepts>
#include <limits>

namespace Quillon {

namespace {

// Stores numbers one behind the other.
template <class... NUMBERS>
unsigned char* store_all(unsigned char* out, NUMBERS... numbers)
{
    ((store_big_endian(numbers, out), out += sizeof numbers), ...);
    return out;
}

// A long double holds every 64-bit integer and every double as it is.
template <class ELEMENT>
ELEMENT saturated(long double value)
{
    if constexpr (std::integral<ELEMENT>) {
        constexpr long double lowest = std::numeric_limits<ELEMENT>::min();
        constexpr long double highest = std::numeric_limits<ELEMENT>::max();
        return std::isnan(value) ? ELEMENT{0} : static_cast<ELEMENT>(std::clamp(value, lowest, highest));
    } else {
        return static_cast<ELEMENT>(value);
    }
}

void store_element(DataType type, long double value, unsigned char* out)
{
    switch (type) {
    case DataType::float32:
        return store_big_endian(saturated<float>(value), out);
    case DataType::float64:
        return store_big_endian(saturated<double>(value), out);
    case DataType::int8:
        return store_big_endian(saturated<std::int8_t>(value), out);
    case DataType::int16:
        return store_big_endian(saturated<std::int16_t>(value), out);
    case DataType::int32:
        return store_big_endian(saturated<std::int32_t>(value), out);
    case DataType::int64:
        return store_big_endian(saturated<std::int64_t>(value), out);
    case DataType::uint8:
    case DataType::text:
    case DataType::byte:
        return store_big_endian(saturated<std::uint8_t>(value), out);
    case DataType::uint16:
        return store_big_endian(saturated<std::uint16_t>(value), out);
    case DataType::uint32:
        return store_big_endian(saturated<std::uint32_t>(value), out);
    case DataType::uint64:
        return store_big_endian(saturated<std::uint64_t>(value), out);
    }
    throw std::logic_error("unknown SDIF data type");
}

} // namespace

void SDIFMatrix::Init(std::uint32_t signature, std::uint32_t rows, std::uint32_t columns, DataType type)
{
    const std::uint64_t row_bytes = columns * std::uint64_t{element_size(type)};
    if (rows > 0 && row_bytes > (frame_size_limit - 1) / rows)
        throw std::out_of_range("SDIF matrix of 2^31 bytes or more");
    matrix_signature = signature;
    row_count = rows;
    column_count = columns;
    element_type = type;
    const std::size_t bytes = rows * row_bytes;
    cells.assign(bytes + padding_after(bytes), 0);
}

void SDIFMatrix::Set(std::uint32_t row, std::uint32_t column, long double value)
{
    if (row >= row_count || column >= column_count)
        throw SDIFArrayPosition("no such cell in the SDIF matrix");
    store_element(element_type, value, cells.data() + cell_offset(row, column));
}

unsigned char* SDIFMatrix::encode(unsigned char* out) const
{
    out = store_all(out, matrix_signature, static_cast<std::uint32_t>(element_type), row_count, column_count);
    return std::copy(cells.begin(), cells.end(), out);
}

void SDIFFrame::SetHeader(std::uint32_t signature, std::uint32_t stream_id, double time)
{
    SetSignature(signature);
    SetStreamID(stream_id);
    SetTime(time);
}

SDIFMatrix& SDIFFrame::GetMatrix(std::uint32_t index)
{
    if (index >= matrices.size())
        throw SDIFArrayPosition("no such matrix in the SDIF frame");
    return matrices[index];
}

void SDIFFrame::encode(std::vector<unsigned char>& bytes) const
{
    std::uint64_t size = frame_header_bytes;
    for (const SDIFMatrix& matrix : matrices)
        size += matrix.encoded_bytes();
    if (size - uncounted_frame_bytes >= frame_size_limit)
        throw std::out_of_range("SDIF frame of 2^31 bytes or more");
    bytes.resize(size);
    unsigned char* out =
        store_all(bytes.data(), frame_signature, static_cast<std::uint32_t>(size - uncounted_frame_bytes), time_seconds,
                  stream, static_cast<std::uint32_t>(matrices.size()));
    for (const SDIFMatrix& matrix : matrices)
        out = matrix.encode(out);
}

} // namespace Quillon
