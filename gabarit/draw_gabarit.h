#pragma once

#include <string>

/// Byte to colour: 255 is white in `gray`, black in `inverted`.
enum class color_map { gray, inverted, cubehelix };

struct picture_options {
    enum class origin { bottom, top };

    origin begins_at = origin::bottom; ///< where the first moment stands on the vertical axis
    color_map colors = color_map::gray;
    int pixels = 0;     ///< side of the whole picture; 0: 1000, or n where it is plain
    bool plain = false; ///< the square alone, a pixel per cell, without axes
};

/// Whether the path ends in .png, .svg or .pdf.
bool is_picture_path(const std::string& path);

/// Draws a gabarit as a square whose two axes are the time, in the form that the ending of `picture_path` names.
/// A square of more cells than pixels is averaged. The picture appears under its name once it is whole.
/// @throws std::invalid_argument for another ending; Quillon::FormatError where the gabarit is damaged;
///         std::runtime_error for a failing read or write
void draw_gabarit(const std::string& sdif_path, const std::string& picture_path, const picture_options& options);
