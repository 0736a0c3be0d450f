#include "modeling/model_streams.h"

#include "features/standardize_columns.h"
#include "modeling/frame_grid.h"
#include "modeling/modulation.h"
#include "modeling/mph.h"
#include "modeling/reduce_components.h"
#include "modeling/window_statistics.h"

namespace veloria {

namespace {

using stream_list = tavel::Vector<tavel::Matrix<double>>;

enum modeling_kind { mean, meanvar, fft, mph };

// Below this, principal axes say nothing.
constexpr int least_rows_to_reduce = 4;

void model_stream(const tavel::Matrix<double>& stream, double frame_rate, int modeling_frames,
                  const tavel::Vector<int>& centers, int modeling, tavel::Matrix<double>& modeled,
                  progress_record& progress)
{
    switch (modeling) {
    case mean:
    case meanvar:
        model_window_statistics(stream, modeling_frames, centers, modeling == meanvar, modeled, progress);
        break;
    case fft:
        model_spectrum(stream, frame_rate, modeling_frames, centers, modeled, progress);
        break;
    case mph:
        model_mph(stream, modeling_frames, centers, modeled, progress);
        break;
    default:
        break;
    }
}

// Each stream gets a part of `share` of the progress bar as large as its part of the features.
void model_all(const stream_list& features, double frame_rate, int modeling_frames, const tavel::Vector<int>& centers,
               int modeling, double share, stream_list& modeled, progress_record& progress)
{
    int feature_count = 0;
    for (const tavel::Matrix<double>& stream : features)
        feature_count += stream.columns;

    double offset = progress.offset;
    modeled.resize(features.size);
    for (int i = 0; i < features.size; ++i) {
        progress.offset = offset;
        progress.range = share * features[i].columns / feature_count;
        progress.scale = 1.0;
        offset += progress.range;
        model_stream(features[i], frame_rate, modeling_frames, centers, modeling, modeled[i], progress);
    }
}

} // namespace

void model_streams(const stream_list& features, double sr, const tavel::Slice<int>& frame_slice,
                   const std::vector<double>& grid, double modeling_window, int modeling, const analysis_costs& costs,
                   tavel::Vector<double>& frame_times, stream_list& scores, progress_record& progress)
{
    const double offset = progress.offset;
    const double range = progress.range;
    const double share = range * costs.modeling / (costs.reduction + costs.modeling);

    const double frame_rate = sr / frame_slice.step;
    const int modeling_frames = modeling_window_frames(modeling_window, frame_rate);
    const double t0 = (frame_slice.start + 1) / sr;
    const tavel::Vector<int> centers = place_frame_centers(grid, t0, frame_rate, features[0].rows);
    frame_times = times_of_frames(centers, frame_slice, sr);

    model_all(features, frame_rate, modeling_frames, centers, modeling, share, scores, progress);
    standardize_columns(scores);

    int modeled_columns = 0;
    for (const tavel::Matrix<double>& stream : scores)
        modeled_columns += stream.columns;
    progress.offset = offset + share;
    progress.range = range - share;
    progress.scale = progress.range / modeled_columns;
    if (centers.size >= least_rows_to_reduce)
        reduce_components(scores, progress);
    else
        report_progress(progress, modeled_columns);
}

} // namespace veloria
