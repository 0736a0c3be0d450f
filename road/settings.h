#pragma once

#include <array>

namespace veloria {

/// Rate at which every sound is analyzed, Hz.
constexpr double analysis_rate = 11025.0;

/// What is measured of each moment of the sound.
enum class feature_selection : int { timbre, harmo, mixed };

/// How the frames within a modeling window are summed up.
enum class modeling_kind : int { mean, meanvar, fft, mph };

/// The words for them on command lines, in files and on pictures, in the order of their numbers.
constexpr std::array<const char*, 3> feature_words{"timbre", "harmo", "mixed"};
constexpr std::array<const char*, 4> modeling_words{"mean", "meanvar", "fft", "mph"};

/// What is analyzed and how; to begin with, the default settings.
struct settings {
    feature_selection features = feature_selection::mixed;
    modeling_kind modeling = modeling_kind::mean;
    double window_seconds = 1.0; ///< length of sound that a row of the picture sums up
    double step_seconds = 0.5;   ///< from row to row
};

} // namespace veloria
