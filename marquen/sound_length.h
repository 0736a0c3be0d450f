#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "plan/sound_shape.h"

namespace marquen {

/// Seconds of sound that the files of a sound announce, and those that are found in the file that has the fewest.
struct sound_length {
    double announced, found;

    bool is_short() const;
};

/// Compares what the headers announce with the files: the bytes of sound in WAV and AIFF, where libsndfile takes what
/// is there without a word; elsewhere whether the last announced sample can be read. If it can't, the sound is decoded
/// to its end.
/// @throws failure for a sound that announces samples and has none
sound_length measure_length(const std::vector<std::string>& paths, const plan::sound_shape& shape);

} // namespace marquen
