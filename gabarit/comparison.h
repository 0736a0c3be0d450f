#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "picture/picture.h"

namespace gabarit {

/// How far two gabarits of the same moments lie apart.
struct comparison {
    int moments = 0;                          ///< n of both
    int largest_step = 0;                     ///< largest difference of two bytes
    std::int64_t differing = 0;               ///< cells
    std::vector<std::string> differing_facts; ///< what else differs: names of table entries, the information frame

    /// Whether all is the same, down to the bytes of the file, but for the names of sound and file.
    bool same_bytes() const { return differing == 0 && differing_facts.empty(); }
};

/// @throws std::runtime_error where they are not of the same moments; what a reader throws
comparison compare(const std::string& one_path, const std::string& other_path);

/// Draws where two gabarits differ, white where they agree, black where the step is the largest.
/// @param found  what compare() made of them
/// @throws as draw() does
void draw_difference(const std::string& one_path, const std::string& other_path, const comparison& found,
                     const std::string& picture_path, picture::existing treatment);

/// One line: "the same bytes", or how far off.
std::string text_of(const comparison& found);

} // namespace gabarit
