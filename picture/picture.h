#pragma once

#include <functional>
#include <string>
#include <vector>

#include "picture/whole_file.h"

namespace picture {

/// Byte to color: 255 is white in `gray`, black in `inverted`; the others go from dark to light.
enum class color_map { gray, inverted, cubehelix, magma, viridis };

struct picture_options {
    enum class origin { bottom, top };

    origin begins_at = origin::bottom; ///< where the first moment stands on the vertical axis
    color_map colors = color_map::gray;
    int pixels = 0;     ///< side of the whole picture; 0: 1000, or n where it is plain
    bool plain = false; ///< the square alone, a pixel per cell, without axes
};

/// Smallest side of a picture with axes: its letters can still be read.
inline constexpr int least_page_pixels = 300;

/// What is drawn: a symmetric square of bytes.
struct square {
    int cells = 0; ///< n; 0: nothing to draw
    int side = 0;  ///< bytes in a row, and rows: n, or the pixels that the cells were brought to
    std::function<const unsigned char*(int)> row{};
};

/// A stretch of both axes with a name.
struct section {
    double start_seconds, end_seconds;
    std::string label;
};

/// What stands around it.
struct labels {
    std::string title{};
    std::string subtitle{};
    std::string remark{};                          ///< what is special about the square, empty if nothing is
    double begin_seconds = 0.0, end_seconds = 0.0; ///< of the square
    double axis_begin = 0.0, axis_end = 0.0;       ///< of the axes, the square within
    std::vector<section> sections{};               ///< marked along both axes; then a remark has no place
};

/// Whether the path ends in .png, .svg or .pdf.
bool is_picture_path(const std::string& path);

/// What draws, a line each: name and version.
std::string library_versions();

/// Side in pixels that a square of n cells is best brought to for the picture of that name; n if as it is.
/// @throws std::invalid_argument for another ending; std::runtime_error for a plain picture that would be too large
int square_pixels(int cells, const labels& around, const std::string& path, const picture_options& options);

/// Draws a square whose two axes are the time, in the form that the ending of the path names. The picture appears under
/// its name once it is whole. A PNG has a byte a pixel and is written row by row.
/// @throws std::invalid_argument for another ending or size; std::runtime_error for a failing write; what `row` throws
void draw(const square& drawn, const labels& around, const std::string& path, const picture_options& options,
          existing treatment);

} // namespace picture
