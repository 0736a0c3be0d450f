#include "picture/picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <vector>

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>
#include <pango/pango.h>
#include <png.h>

#include "picture/color_table.h"
#include "picture/page.h"
#include "picture/png_writer.h"

namespace picture {

namespace {

enum class picture_form { none, png, svg, pdf };

picture_form ending_of(const std::string& path)
{
    const std::filesystem::path ending = std::filesystem::path(path).extension();
    if (ending == ".png")
        return picture_form::png;
    if (ending == ".svg")
        return picture_form::svg;
    return ending == ".pdf" ? picture_form::pdf : picture_form::none;
}

picture_form form_of(const std::string& path)
{
    const picture_form form = ending_of(path);
    if (form == picture_form::none)
        throw std::invalid_argument("'" + path + "' ends neither in .png nor in .svg nor in .pdf");
    return form;
}

int page_pixels(const picture_options& options)
{
    if (options.pixels != 0 && options.pixels < least_page_pixels)
        throw std::invalid_argument("a picture with axes has " + std::to_string(least_page_pixels) +
                                    " pixels a side or more");
    return options.pixels == 0 ? 1000 : options.pixels;
}

using surface_ptr = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using context_ptr = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

surface_ptr make_image(int width, int height)
{
    return {cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height), cairo_surface_destroy};
}

// A failed write is left to the file, which knows the reason.
void check(cairo_status_t status)
{
    if (status != CAIRO_STATUS_SUCCESS && status != CAIRO_STATUS_WRITE_ERROR)
        throw std::runtime_error(std::string("the picture can't be drawn: ") + cairo_status_to_string(status));
}

// A line of an image, 0xRRGGBB each.
std::uint32_t* line_of(cairo_surface_t* image, int y)
{
    return reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(image) +
                                            y * std::ptrdiff_t{cairo_image_surface_get_stride(image)});
}

// The row of the square at a place counted from the top.
const unsigned char* row_from_top(const square& drawn, int y, const picture_options& options)
{
    return drawn.row(options.begins_at == picture_options::origin::top ? y : drawn.side - 1 - y);
}

// The bytes of a PNG: gray levels, or numbers of a palette.
struct pixel_code {
    std::vector<std::uint32_t> palette; // none: gray
    std::array<unsigned char, 256> level, ink;
};

// A palette has 256 colors. Beside a square with labels, 16 of them are the grays of the letters, and the map has the
// other 240; the square alone has all.
pixel_code code_of(const picture_options& options)
{
    const std::array<std::uint32_t, 256> colors = color_table(options.colors);
    const bool is_gray = options.colors == color_map::gray || options.colors == color_map::inverted;
    const std::size_t grays = is_gray || options.plain ? 0 : 16, steps = 255 - grays;
    pixel_code code{};
    for (std::size_t i = 0; i < 256; ++i) {
        code.level[i] = static_cast<unsigned char>(is_gray ? colors[i] & 0xff : (i * steps + 127) / 255);
        code.ink[i] = static_cast<unsigned char>(grays == 0 ? i : steps + 1 + (i * (grays - 1) + 127) / 255);
    }
    for (std::size_t i = 0; !is_gray && i <= steps; ++i)
        code.palette.push_back(colors[(i * 255 + steps / 2) / steps]);
    for (std::size_t i = 0; i < grays; ++i)
        code.palette.push_back(static_cast<std::uint32_t>(i * 255 / (grays - 1)) * 0x010101);
    return code;
}

// A square's bytes are read once: reading may be slow.
void code_row(const unsigned char* row, int count, const pixel_code& code, unsigned char* line)
{
    std::transform(row, row + count, line, [&](unsigned char value) { return code.level[value]; });
}

void draw_plain(png_writer& png, const square& drawn, const pixel_code& code, const picture_options& options)
{
    std::vector<unsigned char> line(static_cast<std::size_t>(drawn.side));
    for (int y = 0; y < drawn.side; ++y) {
        code_row(row_from_top(drawn, y, options), drawn.side, code, line.data());
        png.write_row(line.data());
    }
}

bool crosses(const box& place, int y)
{
    return y >= place.y && y < place.bottom();
}

// What is drawn around the square, as gray as it is light.
void code_ink(const std::uint32_t* pixels, int count, const pixel_code& code, unsigned char* line)
{
    std::transform(pixels, pixels + count, line, [&](std::uint32_t color) {
        return code.ink[(299 * (color >> 16 & 0xff) + 587 * (color >> 8 & 0xff) + 114 * (color & 0xff) + 500) / 1000];
    });
}

unsigned char level_of_scale(const box& scale, int y)
{
    return static_cast<unsigned char>(std::lround(255.0 * (scale.bottom() - 1.0 - y) / (scale.height - 1.0)));
}

// In bands, so that there is never an image of the whole page.
void draw_page(png_writer& png, const page_layout& layout, const square& drawn, const labels& around,
               const pixel_code& code, const picture_options& options)
{
    constexpr int band_height = 256;
    const int side = static_cast<int>(layout.side);
    const surface_ptr band = make_image(side, std::min(side, band_height));
    std::vector<unsigned char> line(static_cast<std::size_t>(side));
    for (int y = 0; y < side; ++y) {
        if (y % band_height == 0) {
            const context_ptr context(cairo_create(band.get()), cairo_destroy);
            cairo_translate(context.get(), 0.0, -y);
            draw_page(context.get(), layout, around);
            check(cairo_status(context.get()));
            cairo_surface_flush(band.get());
        }
        code_ink(line_of(band.get(), y % band_height), side, code, line.data());
        if (drawn.cells > 0 && crosses(layout.square, y))
            code_row(row_from_top(drawn, y - static_cast<int>(layout.square.y), options), drawn.side, code,
                     line.data() + static_cast<int>(layout.square.x));
        if (const box& scale = layout.color_scale; crosses(scale, y))
            std::fill_n(line.begin() + static_cast<int>(scale.x), static_cast<int>(scale.width),
                        code.level[level_of_scale(scale, y)]);
        png.write_row(line.data());
    }
}

void draw_png(whole_file& file, const square& drawn, const labels& around, const picture_options& options)
{
    const pixel_code code = code_of(options);
    const int side = options.plain ? drawn.side : page_pixels(options);
    png_writer png(side, side, code.palette, around.title,
                   [&](const void* bytes, std::size_t count) { return file.write(bytes, count); });
    if (options.plain)
        draw_plain(png, drawn, code, options);
    else
        draw_page(png, lay_out(side, around, options), drawn, around, code, options);
    png.finish();
}

constexpr double points_per_pixel = 0.75; // a pixel being 1/96 inch

cairo_status_t write_to_file(void* file, const unsigned char* bytes, unsigned count)
{
    return static_cast<whole_file*>(file)->write(bytes, count) ? CAIRO_STATUS_SUCCESS : CAIRO_STATUS_WRITE_ERROR;
}

surface_ptr make_vector_surface(picture_form form, int pixels, whole_file& file)
{
    if (form == picture_form::pdf) {
        const double points = points_per_pixel * pixels;
        return {cairo_pdf_surface_create_for_stream(write_to_file, &file, points, points), cairo_surface_destroy};
    }
    cairo_surface_t* const surface = cairo_svg_surface_create_for_stream(write_to_file, &file, pixels, pixels);
    cairo_svg_surface_set_document_unit(surface, CAIRO_SVG_UNIT_PX);
    return {surface, cairo_surface_destroy};
}

void place_image(cairo_t* context, cairo_surface_t* image, const box& place)
{
    check(cairo_surface_status(image));
    cairo_surface_mark_dirty(image);
    cairo_save(context);
    cairo_translate(context, place.x, place.y);
    cairo_scale(context, place.width / cairo_image_surface_get_width(image),
                place.height / cairo_image_surface_get_height(image));
    cairo_set_source_surface(context, image, 0.0, 0.0);
    cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_NEAREST);
    cairo_paint(context);
    cairo_restore(context);
}

void place_square(cairo_t* context, const square& drawn, const box& place, const picture_options& options)
{
    const std::array<std::uint32_t, 256> colors = color_table(options.colors);
    const surface_ptr image = make_image(drawn.side, drawn.side);
    check(cairo_surface_status(image.get()));
    for (int y = 0; y < drawn.side; ++y) {
        const unsigned char* const row = row_from_top(drawn, y, options);
        std::transform(row, row + drawn.side, line_of(image.get(), y), [&](unsigned char v) { return colors[v]; });
    }
    place_image(context, image.get(), place);
}

void place_scale(cairo_t* context, const box& place, const picture_options& options)
{
    const std::array<std::uint32_t, 256> colors = color_table(options.colors);
    const surface_ptr image = make_image(1, 256);
    for (int y = 0; y < 256; ++y)
        *line_of(image.get(), y) = colors[static_cast<std::size_t>(255 - y)];
    place_image(context, image.get(), place);
}

void draw_vectors(picture_form form, whole_file& file, const square& drawn, const labels& around,
                  const picture_options& options)
{
    const int side = options.plain ? drawn.side : page_pixels(options);
    const surface_ptr surface = make_vector_surface(form, side, file);
    const context_ptr context(cairo_create(surface.get()), cairo_destroy);
    if (form == picture_form::pdf)
        cairo_scale(context.get(), points_per_pixel, points_per_pixel);
    const double pixels = side;
    const page_layout layout = lay_out(side, around, options);
    if (!options.plain) {
        draw_page(context.get(), layout, around);
        place_scale(context.get(), layout.color_scale, options);
    }
    if (drawn.cells > 0)
        place_square(context.get(), drawn, options.plain ? box{0.0, 0.0, pixels, pixels} : layout.square, options);
    check(cairo_status(context.get()));
    cairo_surface_finish(surface.get());
    check(cairo_surface_status(surface.get()));
}

} // namespace

bool is_picture_path(const std::string& path)
{
    return ending_of(path) != picture_form::none;
}

std::string library_versions()
{
    return std::string("cairo ") + cairo_version_string() + "\npango " + pango_version_string() + "\nlibpng " +
           png_get_libpng_ver(nullptr);
}

int square_pixels(int cells, const labels& around, const std::string& path, const picture_options& options)
{
    const bool is_png = form_of(path) == picture_form::png;
    if (options.plain) {
        constexpr int largest_image = 32767; // that Cairo draws
        if (options.pixels == 0 && cells > largest_image && !is_png)
            throw std::runtime_error("more than " + std::to_string(largest_image) +
                                     " moments: give the picture a size, or draw a .png");
        return options.pixels == 0 ? cells : std::min(cells, options.pixels);
    }
    // A pixel of the picture has one of the square; where it has no pixels of its own, more, as viewers blur the edges.
    const int side = static_cast<int>(lay_out(page_pixels(options), around, options).square.width);
    constexpr int most_pixels = 8192; // of an image that is held in memory
    return is_png ? side : std::min(2 * side, most_pixels);
}

void draw(const square& drawn, const labels& around, const std::string& path, const picture_options& options,
          existing treatment)
{
    const picture_form form = form_of(path);
    if (options.plain && drawn.cells == 0)
        throw std::runtime_error("there are no moments to draw");
    whole_file file(path, treatment);
    if (form == picture_form::png)
        draw_png(file, drawn, around, options);
    else
        draw_vectors(form, file, drawn, around, options);
    file.commit();
}

} // namespace picture
