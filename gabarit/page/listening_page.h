#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "picture/whole_file.h"
#include "sections/find_sections.h"

namespace gabarit {

/// What a listening page shows and plays.
struct page_options {
    std::string title;                                   ///< empty: the name of the sound
    std::string sound;                                   ///< path of the sound; empty: the one that the gabarit names
    bool with_sound = true;                              ///< whether the page plays
    bool is_its_sound = false;                           ///< known: a cut one that is shorter than it says is taken
    int kilobits_per_second = 64;                        ///< of the sound in the page
    std::string other;                                   ///< a second gabarit of the same sound; empty: none
    std::optional<std::vector<sections::section>> parts; ///< none: those that the square itself shows
    picture::existing treatment = picture::existing::refuse;
};

/// Writes a gabarit as one HTML file that shows the square and makes its moments heard, without a request to anywhere.
/// A long one gets files beside it: its sound, and a folder of pieces with the square's detail. Files appear under
/// their names once all of them are whole.
/// @param progress  gets the part of the encoding that is done, 0.0 to 1.0
/// @throws Quillon::FormatError where a gabarit is damaged or not symmetric; std::runtime_error where the sound isn't
///         there or has another length, the second gabarit has other moments, or a file can't be read or written
void write_listening_page(const std::string& sdif_path, const std::string& page_path, const page_options& options,
                          const std::function<void(double)>& progress);

} // namespace gabarit
