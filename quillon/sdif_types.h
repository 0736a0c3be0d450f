#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

/// Facts of the published SDIF format, version 3, that writing and reading share. Every number in a file is
/// big-endian.
/// M. Wright et al., "New Applications of the Sound Description Interchange Format", Proc. ICMC 1998.
namespace Quillon {

/// The 32-bit signature of a four-letter text, its first letter in the top byte.
constexpr std::uint32_t SdifStringToSignature(const char (&text)[5])
{
    std::uint32_t signature = 0;
    for (int i = 0; i < 4; ++i)
        signature = signature << 8 | static_cast<unsigned char>(text[i]);
    return signature;
}

/// The four bytes of a signature as text, printable or not.
inline std::string signature_text(std::uint32_t signature)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(signature >> shift & 0xff);
    return text;
}

/// Type of a matrix's elements: the low byte is the size of one in bytes, the next byte the kind.
enum class DataType : std::uint32_t {
    float32 = 0x0004,
    float64 = 0x0008,
    int8 = 0x0101,
    int16 = 0x0102,
    int32 = 0x0104,
    int64 = 0x0108,
    uint8 = 0x0201,
    uint16 = 0x0202,
    uint32 = 0x0204,
    uint64 = 0x0208,
    text = 0x0301, ///< UTF-8, a byte an element
    byte = 0x0401, ///< without stated meaning
};

/// Bytes of one element, by the code alone: right for unknown types too.
constexpr std::size_t element_size(DataType type)
{
    return static_cast<std::uint32_t>(type) & 0xff;
}

inline constexpr std::uint32_t opening_signature = SdifStringToSignature("SDIF");
inline constexpr std::uint32_t table_signature = SdifStringToSignature("1NVT");
inline constexpr std::uint32_t types_signature = SdifStringToSignature("1TYP");

inline constexpr std::uint32_t format_version = 3;
inline constexpr std::uint32_t standard_types_version = 1;

inline constexpr std::uint32_t table_stream = 0xfffffffd; ///< of name-value tables
inline constexpr std::uint32_t no_stream = 0xfffffffe;    ///< of the type declarations, which belong to no stream

/// Seconds; of name-value tables and type declarations. Sorts before every data frame.
inline constexpr double header_frame_time = std::numeric_limits<double>::lowest();

inline constexpr std::size_t opening_frame_bytes = 16;
inline constexpr std::size_t frame_header_bytes = 24;
inline constexpr std::size_t matrix_header_bytes = 16;

/// What the size field of a frame leaves out: the signature and the field itself.
inline constexpr std::size_t uncounted_frame_bytes = 8;

/// A frame size must stay below this: texts on the format differ on its sign.
inline constexpr std::uint64_t frame_size_limit = std::uint64_t{1} << 31;

/// Bytes from the end of a matrix's data to the next multiple of 8.
constexpr std::size_t padding_after(std::size_t data_bytes)
{
    return (8 - data_bytes % 8) % 8;
}

/// An unsigned integer with the size of T: what carries its bits in a file.
template <class T>
using bits_of =
    std::conditional_t<sizeof(T) == 1, std::uint8_t,
                       std::conditional_t<sizeof(T) == 2, std::uint16_t,
                                          std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>>;

/// Stores an integer or a floating-point number at `out`, top byte first. Right on any machine.
template <class T>
requires std::integral<T> || std::floating_point<T>
constexpr void store_big_endian(T value, unsigned char* out)
{
    const auto bits = std::bit_cast<bits_of<T>>(value);
    for (std::size_t i = 0; i < sizeof(T); ++i)
        out[i] = static_cast<unsigned char>(bits >> 8 * (sizeof(T) - 1 - i) & 0xff);
}

/// The number whose bytes stand at `in`, top byte first.
template <class T>
requires std::integral<T> || std::floating_point<T>
constexpr T load_big_endian(const unsigned char* in)
{
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
        bits = bits << 8 | in[i];
    return std::bit_cast<T>(static_cast<bits_of<T>>(bits));
}

} // namespace Quillon
