#include "veloria/stage_pieces.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "audio/resampler.h"

namespace veloria {

namespace {

// What a selection of features costs, in a unit that all stages share.
struct selection_cost {
    double features; // to extract
    double modeling_factor;
    int columns;     // of all feature streams together
    int mph_columns; // of all modeled streams together
    double distance_factor;
};

constexpr std::array<selection_cost, 3> selection_costs{{
    {96.0, 2.0, 25, 313, 2.0},  // timbre
    {31.0, 1.0, 12, 144, 1.0},  // harmo
    {117.0, 1.0, 37, 457, 3.0}, // mixed
}};

struct kind_cost {
    double modeling_factor;
    double reduction_factor;
    int widening; // modeled columns for each column of features; 0 where mph_columns has their number
};

constexpr std::array<kind_cost, 4> kind_costs{{
    {0.023, 0.12, 1}, // mean
    {0.043, 0.11, 2}, // meanvar
    {0.53, 0.11, 4},  // fft
    {0.32, 0.16, 0},  // mph
}};

// Grows with the rate, and with the length of the resampling filter if there is one.
double load_cost(int sample_rate)
{
    if (sample_rate == analysis_rate)
        return 10.0;
    const corvane::rational ratio = corvane::rational_ratio(analysis_rate / sample_rate);
    const std::uint64_t longer = std::max(ratio.numerator, ratio.denominator);
    const auto filter_length = static_cast<std::uint32_t>((20 * longer + 1) & 0xffffffff);
    return sample_rate * 10.0 / analysis_rate + filter_length * 0.8;
}

} // namespace

stage_pieces divide_bar(const progress_sink& sink, const settings& chosen, int sample_rate, std::uint32_t samples)
{
    const selection_cost& selection = selection_costs[static_cast<std::size_t>(chosen.features)];
    const kind_cost& kind = kind_costs[static_cast<std::size_t>(chosen.modeling)];
    const double density = 0.5 / chosen.step_seconds;
    const double minutes = samples / (sample_rate * 60.0);
    const int modeled_columns = kind.widening == 0 ? selection.mph_columns : kind.widening * selection.columns;

    const double load = load_cost(sample_rate);
    const double features = selection.features;
    const double modeling =
        selection.modeling_factor * kind.modeling_factor * density * selection.columns * (chosen.window_seconds * 0.25);
    const double reduction = kind.reduction_factor * density * modeled_columns;
    const double analysis = reduction + (features + modeling);
    const double distances = density * (minutes * 1.5) * selection.distance_factor;
    const double total = (load + analysis + distances) / 0.99;

    const progress_record bar = whole_bar(sink);
    const progress_record analysis_piece = bar.piece(load / total, analysis / total);
    const double feature_share = features / (features + modeling + reduction);
    const progress_record rest = analysis_piece.piece(feature_share, 1.0 - feature_share);
    const double modeling_share = modeling / (reduction + modeling);
    return {bar.piece(0.0, load / total), analysis_piece.piece(0.0, feature_share), rest.piece(0.0, modeling_share),
            rest.piece(modeling_share, 1.0 - modeling_share), bar.piece(0.99 - distances / total, distances / total)};
}

} // namespace veloria
