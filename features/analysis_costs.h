#pragma once

namespace veloria {

/// What the three steps of the analysis cost, in one unit common to all; they divide the progress bar.
struct analysis_costs {
    double features;  ///< extraction of the feature streams
    double modeling;  ///< modeling of all streams
    double reduction; ///< reduction of all streams to their principal components
};

/// Estimates the costs of a job from its settings alone.
/// @param features         feature selection, 0 to 2; any other costs nothing
/// @param modeling         modeling kind, 0 to 3; any other costs nothing beyond the features
/// @param modeling_window  seconds
/// @param first_time       first time of the modeling grid, seconds: the modeling step
analysis_costs estimate_costs(int features, int modeling, double modeling_window, double first_time);

} // namespace veloria
