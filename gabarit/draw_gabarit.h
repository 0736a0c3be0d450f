#pragma once

#include <string>

#include "picture/picture.h"

namespace gabarit {

/// Draws a gabarit in the form that the ending of the picture's path names. A square of more cells than pixels is
/// averaged. The picture appears under its name once it is whole.
/// @throws std::invalid_argument for another ending; Quillon::FormatError where the gabarit is damaged;
///         std::runtime_error for a failing read or write
void draw(const std::string& sdif_path, const std::string& picture_path, const picture::picture_options& options,
          picture::existing treatment);

} // namespace gabarit
