#include "veloria/analysis_driver.h"

#include <cstdint>
#include <vector>

#include "audio/load_sound.h"
#include "features/analysis_costs.h"
#include "features/extract_feature_streams.h"
#include "modeling/model_streams.h"
#include "similarity/frame_distances.h"
#include "similarity/quantise.h"
#include "veloria/numeric_environment.h"
#include "veloria/stage_weights.h"
#include "veloria/time_grid.h"

namespace veloria {

namespace {

using stream_list = tavel::Vector<tavel::Matrix<double>>;

// Features, modeling and reduction. The feature streams are gone when it returns.
void analyse(const tavel::Vector<double>& sound, const std::vector<double>& grid, int features, int modeling,
             double modeling_window, double modeling_step, tavel::Vector<double>& frame_times, stream_list& scores,
             progress_record& progress)
{
    const analysis_costs costs = estimate_costs(features, modeling, modeling_window, modeling_step);
    tavel::Slice<int> frame_slice;
    stream_list streams;
    extract_feature_streams(sound, analysis_rate, features, costs, frame_slice, streams, progress);
    model_streams(streams, analysis_rate, frame_slice, grid, modeling_window, modeling, costs, frame_times, scores,
                  progress);
}

// The analysis of the whole sound: what is large and needed no longer goes before the distances are measured.
stream_list load_and_analyse(corvane::AbstractReader& reader, double duration, int features, int modeling,
                             double modeling_window, double modeling_step, const stage_weights& weights,
                             tavel::Vector<double>& frame_times, progress_record& progress)
{
    tavel::Vector<double> sound;
    corvane::load_sound(reader, analysis_rate, false, false, sound, progress);
    const std::vector<double> grid = time_grid(duration, modeling_step);

    const double total = weights.total();
    progress.offset = weights.load / total;
    progress.range = weights.analysis / total;
    progress.scale = 1.0;
    stream_list scores;
    analyse(sound, grid, features, modeling, modeling_window, modeling_step, frame_times, scores, progress);
    return scores;
}

} // namespace

void analysis_driver(corvane::AbstractReader& reader, int features, int modeling, double modeling_window,
                     double modeling_step, tavel::Matrix<unsigned char>& similarity, tavel::Vector<double>& frame_times,
                     const progress_sink& sink)
{
    const int sample_rate = reader.sample_rate();
    const auto frames = static_cast<std::uint32_t>(reader.frames());
    const stage_weights weights{load_weight(sample_rate),
                                estimate_analysis_weight(features, modeling, modeling_window, modeling_step),
                                distance_weight(features, modeling_step, frames, sample_rate)};
    const double total = weights.total();
    progress_record progress{&sink, 0.0, weights.load / total, 1.0};

    const numeric_environment environment;
    const double duration = static_cast<double>(frames) / sample_rate;
    tavel::Matrix<double> distance;
    {
        const stream_list scores = load_and_analyse(reader, duration, features, modeling, modeling_window,
                                                    modeling_step, weights, frame_times, progress);
        progress.offset = 0.99 - weights.distance / total;
        progress.range = weights.distance / total;
        progress.scale = 1.0;
        compute_frame_distances(scores, distance, progress);
    }
    quantise_distances(distance, similarity, frame_times.size);
}

} // namespace veloria
