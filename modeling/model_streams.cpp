#include "modeling/model_streams.h"

#include "modeling/frame_grid.h"
#include "modeling/modulation.h"
#include "modeling/mph.h"
#include "modeling/window_statistics.h"

namespace veloria {

namespace {

void model_stream(const tavel::Matrix<double>& stream, double frame_rate, int modeling_frames,
                  const tavel::Vector<int>& centers, modeling_kind kind, tavel::Matrix<double>& modeled,
                  const progress_record& progress)
{
    switch (kind) {
    case modeling_kind::mean:
        model_window_statistics(stream, modeling_frames, centers, false, modeled, progress);
        break;
    case modeling_kind::meanvar:
        model_window_statistics(stream, modeling_frames, centers, true, modeled, progress);
        break;
    case modeling_kind::fft:
        model_spectrum(stream, frame_rate, modeling_frames, centers, modeled, progress);
        break;
    case modeling_kind::mph:
        model_mph(stream, modeling_frames, centers, modeled, progress);
        break;
    }
}

} // namespace

void model_streams(const tavel::Vector<tavel::Matrix<double>>& features, double sr,
                   const tavel::Slice<int>& frame_slice, const std::vector<double>& grid, const settings& chosen,
                   tavel::Vector<double>& frame_times, tavel::Vector<tavel::Matrix<double>>& modeled,
                   const progress_record& progress)
{
    const double frame_rate = sr / frame_slice.step;
    const int modeling_frames = modeling_window_frames(chosen.window_seconds, frame_rate);
    const double t0 = (frame_slice.start + 1) / sr;
    const tavel::Vector<int> centers = place_frame_centers(grid, t0, frame_rate, features[0].rows);
    frame_times = times_of_frames(centers, frame_slice, sr);

    double feature_count = 0.0;
    for (const tavel::Matrix<double>& stream : features)
        feature_count += stream.columns;
    double from = 0.0;
    modeled.resize(features.size);
    for (int i = 0; i < features.size; ++i) {
        const double share = features[i].columns / feature_count;
        model_stream(features[i], frame_rate, modeling_frames, centers, chosen.modeling, modeled[i],
                     progress.piece(from, share));
        from += share;
    }
}

} // namespace veloria
