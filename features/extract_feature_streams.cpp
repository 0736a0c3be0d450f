#include "features/extract_feature_streams.h"

#include <stdexcept>

#include "features/framing.h"
#include "features/harmonic.h"
#include "features/mel_cepstrum.h"
#include "features/octave_bands.h"
#include "features/timbre.h"
#include "features/transpose.h"

namespace veloria {

namespace {

// Share of the timbre in the work of a mixed selection; the harmony takes the rest.
constexpr double timbre_share = 0.74;

// The pitch classes' range covers the fundamentals of voices and of most instruments.
constexpr double pitch_low_hz = 77.0;
constexpr double pitch_high_hz = 1500.0;
constexpr double pitch_floor_ratio = 0.001; // 30 dB

// Sizes the two streams and fills them.
void extract_timbre_streams(const tavel::Vector<double>& samples, double sr, const framing& frames,
                            tavel::Slice<int>& frame_slice, tavel::Matrix<double>& cepstrum,
                            tavel::Matrix<double>& contrast, const progress_record& progress)
{
    frame_slice = tavel::Slice<int>(frames.half(), samples.size - 1 - frames.half(), frames.hop);
    cepstrum.resize(frame_slice.count, cepstrum_size);
    contrast.resize(frame_slice.count, 2 * octave_band_count);
    extract_timbre(samples, sr, frames.window, frame_slice, cepstrum, &contrast, progress);
}

void extract_pitch_classes(const tavel::Vector<double>& samples, double sr, const framing& frames,
                           tavel::Slice<int>& frame_slice, tavel::Matrix<double>& pitch_classes,
                           const progress_record& progress)
{
    extract_harmonic(samples, sr, frames.window, frames.hop, pitch_low_hz, pitch_high_hz, pitch_floor_ratio,
                     pitch_classes, frame_slice, progress);
    transpose_in_place(pitch_classes);
}

} // namespace

void extract_feature_streams(const tavel::Vector<double>& samples, double sr, feature_selection features,
                             tavel::Slice<int>& frame_slice, tavel::Vector<tavel::Matrix<double>>& streams,
                             const progress_record& progress)
{
    const framing frames = framing_of(features);
    switch (features) {
    case feature_selection::timbre:
        streams.resize(2);
        extract_timbre_streams(samples, sr, frames, frame_slice, streams[0], streams[1], progress);
        return;
    case feature_selection::harmo:
        streams.resize(1);
        extract_pitch_classes(samples, sr, frames, frame_slice, streams[0], progress);
        return;
    case feature_selection::mixed:
        streams.resize(3);
        extract_timbre_streams(samples, sr, frames, frame_slice, streams[0], streams[1],
                               progress.piece(0.0, timbre_share));
        extract_pitch_classes(samples, sr, frames, frame_slice, streams[2],
                              progress.piece(timbre_share, 1.0 - timbre_share));
        return;
    }
    throw std::logic_error("unexpected feature type");
}

} // namespace veloria
