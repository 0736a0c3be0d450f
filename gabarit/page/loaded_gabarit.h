#pragma once

#include <string>
#include <vector>

#include "gabarit/page/square_tiles.h"
#include "gabarit/reader.h"

namespace gabarit {

/// A gabarit, whole.
struct loaded_gabarit {
    byte_square square;
    std::vector<double> times; ///< of the moments, seconds
    std::string sound;         ///< path of the sound as it was given, empty if unknown
    settings made_with;
};

/// One gabarit, or two of the same sound.
/// @param other  path of the second, empty for none
/// @throws what `verify` does; std::runtime_error if the second has other moments
std::vector<loaded_gabarit> load_gabarits(const std::string& path, const std::string& other);

/// From one moment to the next; of a single moment the step that was asked for, or 1 s.
double step_seconds(const loaded_gabarit& loaded);

/// Path of the sound as it was given, seen from here or from the gabarit.
/// @throws std::runtime_error if it isn't there
std::string find_sound(const loaded_gabarit& loaded, const std::string& sdif_path);

/// Refuses a sound that can't have given as many moments.
/// @throws std::runtime_error
void check_length(const loaded_gabarit& loaded, double seconds, const std::string& sound_path);

} // namespace gabarit
