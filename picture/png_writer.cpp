#include "picture/png_writer.h"

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

#include <png.h>

namespace picture {

struct png_writer::library_state {
    byte_sink sink;
    png_structp png = nullptr;
    png_infop info = nullptr;

    ~library_state() { png_destroy_write_struct(&png, &info); }
};

namespace {

// libpng lets its error function leave by an exception.
[[noreturn]] void fail(png_structp, const char* reason)
{
    throw std::runtime_error(std::string("the picture can't be drawn: ") + reason);
}

void ignore_warning(png_structp, const char*) {}

void write_bytes(png_structp png, png_bytep bytes, std::size_t count)
{
    (*static_cast<byte_sink*>(png_get_io_ptr(png)))(bytes, count);
}

void flush_nothing(png_structp) {}

void set_palette(png_structp png, png_infop info, std::span<const std::uint32_t> palette)
{
    std::vector<png_color> colors;
    for (const std::uint32_t color : palette)
        colors.push_back({static_cast<png_byte>(color >> 16 & 0xff), static_cast<png_byte>(color >> 8 & 0xff),
                          static_cast<png_byte>(color & 0xff)});
    png_set_PLTE(png, info, colors.data(), static_cast<int>(colors.size()));
}

// Plain texts are Latin-1, which agrees with UTF-8 in ASCII alone.
png_text text_entry(const char* key, const std::string& text)
{
    const bool is_ascii = std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    png_text entry{};
    entry.compression = is_ascii ? PNG_TEXT_COMPRESSION_NONE : PNG_ITXT_COMPRESSION_NONE;
    entry.key = const_cast<char*>(key);
    entry.text = const_cast<char*>(text.c_str());
    return entry;
}

} // namespace

png_writer::png_writer(int width, int height, std::span<const std::uint32_t> palette, const std::string& title,
                       byte_sink sink)
    : state(new library_state{std::move(sink)})
{
    state->png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore_warning);
    if (state->png != nullptr)
        state->info = png_create_info_struct(state->png);
    if (state->info == nullptr)
        fail(state->png, "out of memory");
    png_structp const png = state->png;
    png_set_write_fn(png, &state->sink, write_bytes, flush_nothing);
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_IHDR(png, state->info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                 palette.empty() ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_PALETTE, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!palette.empty())
        set_palette(png, state->info, palette);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_ALL_FILTERS); // neighbors in the palette are neighbors in color too
    constexpr png_uint_32 pixels_per_meter = 3780;              // 96 an inch
    png_set_pHYs(png, state->info, pixels_per_meter, pixels_per_meter, PNG_RESOLUTION_METER);
    const std::string software = "veloria " VELORIA_VERSION;
    const png_text texts[] = {text_entry("Software", software), text_entry("Title", title)};
    png_set_text(png, state->info, texts, title.empty() ? 1 : 2);
    png_write_info(png, state->info);
}

png_writer::~png_writer() = default;

void png_writer::write_row(const unsigned char* row)
{
    png_write_row(state->png, row);
}

void png_writer::finish()
{
    png_write_end(state->png, nullptr);
}

} // namespace picture
