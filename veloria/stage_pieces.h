#pragma once

#include <cstdint>

#include "road/progress.h"
#include "road/settings.h"

namespace veloria {

/// The piece of the progress bar of each stage, one after the other. The last hundredth of the bar is the writer's.
struct stage_pieces {
    progress_record load, features, modeling, reduction, distances;
};

/// Divides the bar by what the stages are estimated to cost. The estimates steer the bar and nothing else.
/// @param sample_rate  of the sound, Hz
/// @param samples      its length in samples of one channel
stage_pieces divide_bar(const progress_sink& sink, const settings& chosen, int sample_rate, std::uint32_t samples);

} // namespace veloria
