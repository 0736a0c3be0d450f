#include "veloria/analysis_driver.h"

#include <cstdint>
#include <vector>

#include "audio/load_sound.h"
#include "features/extract_feature_streams.h"
#include "features/standardize_columns.h"
#include "modeling/model_streams.h"
#include "modeling/reduce_components.h"
#include "modeling/time_grid.h"
#include "similarity/frame_distances.h"
#include "similarity/quantize.h"
#include "veloria/numeric_environment.h"
#include "veloria/stage_pieces.h"

namespace veloria {

using stream_list = tavel::Vector<tavel::Matrix<double>>;

void analysis_driver(std::unique_ptr<corvane::AbstractReader> reader, const settings& chosen,
                     tavel::Matrix<unsigned char>& similarity, tavel::Vector<double>& frame_times,
                     const progress_sink& sink)
{
    const numeric_environment environment;
    const int sample_rate = reader->sample_rate();
    const auto samples = static_cast<std::uint32_t>(reader->frames());
    const stage_pieces pieces = divide_bar(sink, chosen, sample_rate, samples);

    // What is large lives until the stage that reads it has ended.
    tavel::Matrix<double> distance;
    {
        stream_list scores;
        {
            std::vector<double> grid;
            tavel::Slice<int> frame_slice;
            stream_list features;
            {
                tavel::Vector<double> sound;
                corvane::load_sound(*reader, analysis_rate, false, false, sound, pieces.load);
                reader.reset();
                grid = time_grid(static_cast<double>(samples) / sample_rate, chosen.step_seconds);
                extract_feature_streams(sound, analysis_rate, chosen.features, frame_slice, features, pieces.features);
            }
            standardize_columns(features);
            model_streams(features, analysis_rate, frame_slice, grid, chosen, frame_times, scores, pieces.modeling);
        }
        standardize_columns(scores);
        reduce_components(scores, pieces.reduction);
        compute_frame_distances(scores, distance, pieces.distances);
    }
    quantize_distances(distance, similarity, frame_times.size);
}

} // namespace veloria
