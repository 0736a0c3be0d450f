#include "picture/picture.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include "picture/page.h"

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

constexpr int largest_image = 32767; // that Cairo draws

int page_pixels(const picture_options& options)
{
    return options.pixels == 0 ? 1000 : options.pixels;
}

cairo_status_t write_to_file(void* file, const unsigned char* bytes, unsigned count)
{
    return static_cast<whole_file*>(file)->write(bytes, count) ? CAIRO_STATUS_SUCCESS : CAIRO_STATUS_WRITE_ERROR;
}

using context_ptr = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

constexpr double points_per_pixel = 0.75; // a pixel being 1/96 inch

surface_ptr make_surface(picture_form form, int pixels, whole_file& file)
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

// A failed write is left to the file, which knows the reason.
void check(cairo_status_t status)
{
    if (status != CAIRO_STATUS_SUCCESS && status != CAIRO_STATUS_WRITE_ERROR)
        throw std::runtime_error(std::string("the picture can't be drawn: ") + cairo_status_to_string(status));
}

void draw_on(cairo_surface_t* surface, picture_form form, const square& drawn, const picture_options& options)
{
    const context_ptr context(cairo_create(surface), cairo_destroy);
    if (form == picture_form::pdf)
        cairo_scale(context.get(), points_per_pixel, points_per_pixel);
    if (options.plain) {
        cairo_set_source_surface(context.get(), square_image(drawn, options).get(), 0.0, 0.0);
        cairo_paint(context.get());
    } else {
        draw_page(context.get(), page_pixels(options), drawn, options);
    }
    check(cairo_status(context.get()));
}

void commit(cairo_surface_t* surface, picture_form form, whole_file& file)
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
    return ending_of(path) != picture_form::none;
}

int square_pixels(int cells, const std::string& path, const picture_options& options)
{
    const picture_form form = form_of(path);
    if (options.plain && options.pixels == 0 && cells > largest_image)
        throw std::runtime_error("more than " + std::to_string(largest_image) + " frames: give the picture a size");
    if (options.plain)
        return options.pixels == 0 ? cells : std::min(cells, options.pixels);
    // A pixel of the picture has one of the square; where it has no pixels of its own, more, as viewers blur the edges.
    const int side = square_side_on_page(page_pixels(options));
    return form == picture_form::png ? side : 2 * side;
}

void draw(const square& drawn, const std::string& path, const picture_options& options, existing treatment)
{
    const picture_form form = form_of(path);
    if (options.plain && drawn.cells == 0)
        throw std::runtime_error("there are no frames to draw");
    whole_file file(path, treatment);
    if (options.plain && form == picture_form::png) {
        commit(square_image(drawn, options).get(), form, file);
    } else {
        const surface_ptr surface = make_surface(form, options.plain ? drawn.pixels : page_pixels(options), file);
        draw_on(surface.get(), form, drawn, options);
        commit(surface.get(), form, file);
    }
}

} // namespace picture
