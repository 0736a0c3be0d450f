#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace picture {

/// Bytes that are written one after the other; false once that fails.
using byte_sink = std::function<bool(const void* bytes, std::size_t count)>;

/// Writes a PNG of a byte a pixel row by row, at 96 pixels an inch, and names what made it. A sink that fails stops
/// nothing: its owner knows.
class png_writer {
public:
    /// @param palette  up to 256 colors 0xRRGGBB, which the bytes index; none: the bytes are gray, 255 is white
    /// @param title    UTF-8; empty: none
    /// @throws std::runtime_error "the picture can't be drawn: REASON" for sizes that no PNG has, or without memory; as
    ///         all that follows
    png_writer(int width, int height, std::span<const std::uint32_t> palette, const std::string& title, byte_sink sink);
    png_writer(const png_writer&) = delete;
    png_writer& operator=(const png_writer&) = delete;
    ~png_writer();

    /// @param row  `width` bytes, of the next row from the top
    void write_row(const unsigned char* row);
    /// Writes the end, after `height` rows.
    void finish();

private:
    struct library_state;
    std::unique_ptr<library_state> state;
};

} // namespace picture
