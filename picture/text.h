#pragma once

#include <string>

#include <cairo.h>

namespace picture {

enum class alignment { left, center, right };
enum class weight { normal, bold };

struct font {
    double size; ///< pixels
    weight thickness = weight::normal;
};

/// Writes a line in any script.
/// @param x, y  where its left end, center or right end stands, and its baseline
/// @param room  width in pixels that it may take; what is too long loses its middle. 0: any
void write_line(cairo_t* context, const std::string& words, const font& letters, double x, double y, alignment align,
                double room = 0.0);

} // namespace picture
