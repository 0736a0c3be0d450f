#pragma once

#include <memory>

#include <cairo.h>

#include "picture/picture.h"

namespace picture {

using surface_ptr = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

/// The square alone, as an image of its own. Failures stand in its status.
surface_ptr square_image(const square& drawn, const picture_options& options);

/// Side of the square on a page of that side, both in pixels.
int square_side_on_page(int page_pixels);

/// Draws the square with its title, time axes and colour scale on white, from (0, 0) to (page_pixels, page_pixels).
/// Failures stand in the context's status.
void draw_page(cairo_t* context, int page_pixels, const square& drawn, const picture_options& options);

} // namespace picture
