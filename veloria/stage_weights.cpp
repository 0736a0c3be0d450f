#include "veloria/stage_weights.h"

#include <algorithm>

#include "audio/resampler.h"
#include "features/analysis_costs.h"
#include "veloria/veloria.h"

namespace veloria {

double load_weight(int sample_rate)
{
    if (sample_rate == analysis_rate)
        return 10.0;
    const corvane::rational ratio = corvane::rational_ratio(analysis_rate / sample_rate);
    const std::uint64_t longer = std::max(ratio.numerator, ratio.denominator);
    const auto filter_length = static_cast<std::uint32_t>((20 * longer + 1) & 0xffffffff);
    return sample_rate * 10.0 / analysis_rate + filter_length * 0.8;
}

double estimate_analysis_weight(int features, int modeling, double modeling_window, double modeling_step)
{
    const analysis_costs costs = estimate_costs(features, modeling, modeling_window, modeling_step);
    return costs.reduction + (costs.features + costs.modeling);
}

double distance_weight(int features, double modeling_step, std::uint32_t frames, int sample_rate)
{
    const double feature_factor = features == harmo ? 1.0 : features == timbre ? 2.0 : 3.0;
    return (0.5 / modeling_step) * (frames / (sample_rate * 60.0) * 1.5) * feature_factor;
}

} // namespace veloria
