#pragma once

#include <functional>
#include <limits>
#include <string>

#include "picture/picture.h"

namespace gabarit {

struct drawing {
    picture::picture_options look{};
    picture::existing treatment = picture::existing::refuse;
    std::string title{}; ///< empty: the name of the sound's file
    /// The moments from one time to the other are drawn, both included; seconds.
    double from_seconds = -std::numeric_limits<double>::infinity();
    double to_seconds = std::numeric_limits<double>::infinity();
    bool sections = false; ///< mark them along both axes
    /// Gets the share that is done, from 0 to 1; may be empty.
    std::function<void(double)> report{};
};

/// Draws a gabarit in the form that the ending of the picture's path names. A square of more cells than pixels is
/// pooled (see picture/pooling.h). The picture appears under its name once it is whole.
/// @return one sentence where there is nothing to see: why, and what to do; otherwise empty
/// @throws std::invalid_argument for another ending; Quillon::FormatError where the gabarit is damaged;
///         std::runtime_error for a failing read or write, and if no moment lies in the stretch
std::string draw(const std::string& sdif_path, const std::string& picture_path, const drawing& how);

} // namespace gabarit
