#pragma once

#include <cairo.h>

#include "picture/picture.h"

namespace picture {

struct box {
    double x, y, width, height;

    double right() const { return x + width; }
    double bottom() const { return y + height; }
};

/// Where the parts of a page stand, in pixels from its top left corner. Square and color scale lie on whole pixels, and
/// nothing else is drawn there.
struct page_layout {
    double em;       ///< size of the letters
    double side;     ///< of the page
    bool from_top;   ///< the vertical axis begins there
    box plot;        ///< the time axes
    box square;      ///< the moments, within the plot
    box color_scale; ///< from 0 at its foot to 255
    box strip;       ///< above the plot and as wide: for a remark, or for marks along the time
};

page_layout lay_out(int page_pixels, const labels& around, const picture_options& options);

/// Where a time stands from the left edge of the page.
double x_of(double seconds, const page_layout& layout, const labels& around);

/// Draws all but the square and the color scale, on white. Failures stand in the context's status.
void draw_page(cairo_t* context, const page_layout& layout, const labels& around);

} // namespace picture
