#include "gabarit/draw_gabarit.h"

#include <filesystem>
#include <memory>
#include <stdexcept>

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include "gabarit/atomic_file.h"
#include "gabarit/averaged_square.h"
#include "gabarit/page.h"

namespace {

enum class picture_form { none, png, svg, pdf };

picture_form form_of(const std::string& path)
{
    const std::filesystem::path ending = std::filesystem::path(path).extension();
    if (ending == ".png")
        return picture_form::png;
    if (ending == ".svg")
        return picture_form::svg;
    return ending == ".pdf" ? picture_form::pdf : picture_form::none;
}

constexpr int default_page_pixels = 1000;
constexpr int largest_image = 32767; // that Cairo draws

// A pixel of the picture has one of the square; where it has no pixels of its own, more, as viewers blur the edges.
square_size size_of_square(picture_form form, const picture_options& options)
{
    if (options.plain)
        return {options.pixels == 0 ? largest_image : options.pixels, false};
    const int side = square_side_on_page(options.pixels);
    return {form == picture_form::png ? side : 2 * side, true};
}

cairo_status_t write_to_file(void* file, const unsigned char* bytes, unsigned count)
{
    return static_cast<atomic_file*>(file)->write(bytes, count) ? CAIRO_STATUS_SUCCESS : CAIRO_STATUS_WRITE_ERROR;
}

using context_ptr = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

constexpr double points_per_pixel = 0.75; // a pixel being 1/96 inch

surface_ptr make_surface(picture_form form, int pixels, atomic_file& file)
{
    const double points = points_per_pixel * pixels;
    cairo_surface_t* surface = nullptr;
    switch (form) {
    case picture_form::svg:
        surface = cairo_svg_surface_create_for_stream(write_to_file, &file, pixels, pixels);
        cairo_svg_surface_set_document_unit(surface, CAIRO_SVG_UNIT_PX);
        break;
    case picture_form::pdf:
        surface = cairo_pdf_surface_create_for_stream(write_to_file, &file, points, points);
        break;
    case picture_form::png:
    case picture_form::none:
        surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, pixels, pixels);
        break;
    }
    return {surface, cairo_surface_destroy};
}

// A failed write is told by the file, which knows the reason.
void check(cairo_status_t status)
{
    if (status != CAIRO_STATUS_SUCCESS && status != CAIRO_STATUS_WRITE_ERROR)
        throw std::runtime_error(std::string("the picture can't be drawn: ") + cairo_status_to_string(status));
}

void draw_on(cairo_surface_t* surface, picture_form form, const averaged_square& square, const picture_options& options)
{
    const context_ptr context(cairo_create(surface), cairo_destroy);
    if (form == picture_form::pdf)
        cairo_scale(context.get(), points_per_pixel, points_per_pixel);
    if (options.plain) {
        cairo_set_source_surface(context.get(), square_image(square, options).get(), 0.0, 0.0);
        cairo_paint(context.get());
    } else {
        draw_page(context.get(), options.pixels, square, options);
    }
    check(cairo_status(context.get()));
}

void commit(cairo_surface_t* surface, picture_form form, atomic_file& file)
{
    check(cairo_surface_status(surface));
    if (form == picture_form::png)
        check(cairo_surface_write_to_png_stream(surface, write_to_file, &file));
    cairo_surface_finish(surface);
    check(cairo_surface_status(surface));
    file.commit();
}

} // namespace

bool is_picture_path(const std::string& path)
{
    return form_of(path) != picture_form::none;
}

void draw_gabarit(const std::string& sdif_path, const std::string& picture_path, const picture_options& chosen)
{
    const picture_form form = form_of(picture_path);
    if (form == picture_form::none)
        throw std::invalid_argument("'" + picture_path + "' ends neither in .png nor in .svg nor in .pdf");
    picture_options options = chosen;
    if (!options.plain && options.pixels == 0)
        options.pixels = default_page_pixels;

    const averaged_square square = read_averaged_square(sdif_path, size_of_square(form, options));
    if (options.plain && square.cells == 0)
        throw std::runtime_error("there are no frames to draw");
    if (options.plain && options.pixels == 0 && square.pixels < square.cells)
        throw std::runtime_error("more than " + std::to_string(largest_image) + " frames: give the picture a size");
    atomic_file file(picture_path);
    if (options.plain && form == picture_form::png) {
        commit(square_image(square, options).get(), form, file);
    } else {
        const surface_ptr surface = make_surface(form, options.plain ? square.pixels : options.pixels, file);
        draw_on(surface.get(), form, square, options);
        commit(surface.get(), form, file);
    }
}
