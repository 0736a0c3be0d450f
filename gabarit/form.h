#pragma once

#include <string>
#include <vector>

#include "sections/find_sections.h"

namespace gabarit {

/// The form of a sound, as its gabarit shows it, and what it was found by.
struct form {
    std::vector<sections::section> sections;
    sections::parameters parameters;
    double window_seconds = 0.0, step_seconds = 0.0; ///< of the gabarit; 1 s of window where that is unknown
    std::string sound;                               ///< path of the sound as it was given, empty if unknown
};

/// Reads a gabarit whole and finds its sections.
/// @param others  more gabarits of the same sound at the same moments; the mean of all bytes is searched
/// @throws Quillon::FormatError, std::runtime_error as `verify` does; those of the others with their path ahead
form read_form(const std::string& path, const std::vector<std::string>& others = {});

/// The labels in order: "A A B A".
std::string letters_of(const form& found);

/// The letters, a line for each section, and the parameters.
std::string text_of(const form& found);

/// The same as a JSON object: form, sections, parameters.
std::string json_of(const form& found);

} // namespace gabarit
