#pragma once

#include <cstdint>

namespace veloria {

/// Rate at which every sound is analysed, Hz.
inline constexpr double analysis_rate = 11025.0;

/// Estimated costs of the stages, in one arbitrary unit. They steer the progress bar and nothing else.
struct stage_weights {
    double load, analysis, distance;

    /// What the whole bar stands for: the stages and the last hundredth, which is the writer's.
    double total() const { return (load + analysis + distance) / 0.99; }
};

/// Cost of loading: grows with the rate, and with the length of the resampling filter if there is one.
/// @param sample_rate rate of the sound, Hz
double load_weight(int sample_rate);

/// Cost of features, modeling and reduction. Independent of the length of the sound.
double estimate_analysis_weight(int features, int modeling, double modeling_window, double modeling_step);

/// Cost of the distances.
/// @param frames length of the sound at `sample_rate`
double distance_weight(int features, double modeling_step, std::uint32_t frames, int sample_rate);

} // namespace veloria
