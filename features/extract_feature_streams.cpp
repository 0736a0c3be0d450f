#include "features/extract_feature_streams.h"

#include <array>
#include <cstddef>
#include <stdexcept>

#include "features/harmonic.h"
#include "features/mel_cepstrum.h"
#include "features/octave_bands.h"
#include "features/standardize_columns.h"
#include "features/timbre.h"
#include "features/transpose.h"

namespace veloria {

namespace {

struct feature_set {
    int window;           // samples
    int hop;              // samples
    int timbre_streams;   // cepstrum and contrast come first
    int harmonic_streams; // the pitch class stream comes last
    double timbre_share;  // of the time that the features take
    double harmonic_share;
};

constexpr std::array<feature_set, 3> feature_sets{{
    {441, 147, 2, 0, 1.0, 0.0},  // timbre
    {882, 294, 0, 1, 0.0, 1.0},  // harmo
    {882, 294, 2, 1, 0.74, 0.26} // mixed
}};

// The pitch classes' range covers the fundamentals of voices and of most instruments.
constexpr double pitch_low_hz = 77.0;
constexpr double pitch_high_hz = 1500.0;
constexpr double pitch_floor_ratio = 0.001; // 30 dB

void set_piece(progress_record& progress, double offset, double range)
{
    progress.offset = offset;
    progress.range = range;
    progress.scale = 1.0;
}

} // namespace

void extract_feature_streams(const tavel::Vector<double>& samples, double sr, int features, const analysis_costs& costs,
                             tavel::Slice<int>& frame_slice, tavel::Vector<tavel::Matrix<double>>& streams,
                             progress_record& progress)
{
    if (features < 0 || features >= static_cast<int>(feature_sets.size()))
        throw std::logic_error("unexpected feature type");
    const feature_set& set = feature_sets[static_cast<std::size_t>(features)];
    streams.resize(set.timbre_streams + set.harmonic_streams);

    const double offset = progress.offset;
    const double range = progress.range;
    const double budget = range * costs.features / (costs.features + costs.modeling + costs.reduction);
    if (set.timbre_streams > 0) {
        const int half = (set.window - 1) / 2;
        frame_slice = tavel::Slice<int>(half, samples.size - 1 - half, set.hop);
        streams[0].resize(frame_slice.count, cepstrum_size);
        streams[1].resize(frame_slice.count, 2 * octave_band_count);
        set_piece(progress, offset, budget * set.timbre_share);
        extract_timbre(samples, sr, set.window, frame_slice, streams[0], &streams[1], progress);
    }
    if (set.harmonic_streams > 0) {
        tavel::Matrix<double>& pitch_classes = streams[set.timbre_streams];
        set_piece(progress, offset + budget * set.timbre_share, budget * set.harmonic_share);
        extract_harmonic(samples, sr, set.window, set.hop, pitch_low_hz, pitch_high_hz, pitch_floor_ratio,
                         pitch_classes, frame_slice, progress);
        transpose_in_place(pitch_classes);
    }
    standardize_columns(streams);
    set_piece(progress, offset + budget, range - budget);
}

} // namespace veloria
