#pragma once

#include <string>
#include <vector>

#include "picture/whole_file.h"

namespace picture {

/// Byte to colour: 255 is white in `gray`, black in `inverted`.
enum class color_map { gray, inverted, cubehelix };

struct picture_options {
    enum class origin { bottom, top };

    origin begins_at = origin::bottom; ///< where the first moment stands on the vertical axis
    color_map colors = color_map::gray;
    int pixels = 0;     ///< side of the whole picture; 0: 1000, or n where it is plain
    bool plain = false; ///< the square alone, a pixel per cell, without axes
};

/// What is drawn: a square of n by n cells, brought to a size in pixels.
struct square {
    int cells = 0;                         ///< n
    int pixels = 0;                        ///< side of the square
    std::vector<unsigned char> similarity; ///< pixels by pixels, column after column
    double begin_seconds = 0.0;            ///< half a step before the first moment
    double end_seconds = 0.0;              ///< half a step after the last one
    std::string title;                     ///< name of the sound's file
    std::string subtitle;                  ///< settings, empty if they are unknown
};

/// Whether the path ends in .png, .svg or .pdf.
bool is_picture_path(const std::string& path);

/// Side in pixels that a square of n cells is brought to for the picture of that name.
/// @throws std::invalid_argument for another ending; std::runtime_error for a plain picture that would be too large
int square_pixels(int cells, const std::string& path, const picture_options& options);

/// Draws a square whose two axes are the time, in the form that the ending of the path names. The picture appears under
/// its name once it is whole.
/// @throws std::invalid_argument for another ending; std::runtime_error for a failing write
void draw(const square& drawn, const std::string& path, const picture_options& options, existing treatment);

} // namespace picture
