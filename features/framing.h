#pragma once

#include "road/settings.h"

namespace veloria {

/// How the frames of the analysis lie on the sound: the first begins with it, none reaches over its end.
struct framing {
    int window; ///< samples
    int hop;    ///< samples from frame to frame

    /// Samples before the center of a frame.
    constexpr int half() const { return (window - 1) / 2; }
};

/// Frames of 40 ms, 75 a second, for timbre alone; of 80 ms, 37.5 a second, where harmony is measured.
constexpr framing framing_of(feature_selection features)
{
    return features == feature_selection::timbre ? framing{441, 147} : framing{882, 294};
}

} // namespace veloria
