#pragma once

#include <functional>
#include <string>
#include <vector>

namespace gabarit {

/// A sound as a page carries it.
struct recording {
    double seconds = 0.0;
    std::string ogg;                  ///< Opus in Ogg
    std::vector<unsigned char> peaks; ///< largest sample of each stretch, 255 being full scale; all stretches as long
};

/// Length of a sound as its header announces it.
/// @throws std::runtime_error if libsndfile doesn't open it
double announced_seconds(const std::string& path);

/// Encodes a sound. One and two channels stay, more become their mean; the rate becomes one that Opus knows.
/// @param kilobits_per_second  of all channels together
/// @param progress             gets the part that is done, 0.0 to 1.0
/// @throws std::runtime_error if it can't be read or encoded
recording encode_recording(const std::string& path, int kilobits_per_second,
                           const std::function<void(double)>& progress);

} // namespace gabarit
