#pragma once

#include "road/progress.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Cepstrum and contrast streams of a sound, a row per frame; reports each frame.
/// @param samples      mono sound
/// @param sr           sample rate in Hz, above 0
/// @param window       frame length in samples, above 0; an even one is shortened by 1
/// @param frame_slice  center samples of the frames; each frame lies inside the sound
/// @param cepstrum     count by 13, coefficient 0 first; sized by the caller
/// @param contrast     count by 12, sized by the caller: peak levels (ln of power) of six octave bands, then their
///                     distances to the valley levels; null where it isn't wanted
/// @throws tavel::error "realfft_vec:: Error in realfft"; corvane::cancel_exception
/// Cepstrum: S. B. Davis and P. Mermelstein, "Comparison of parametric representations for monosyllabic word
/// recognition in continuously spoken sentences", IEEE Trans. ASSP 28(4), 1980.
/// Contrast: D.-N. Jiang et al., "Music type classification by spectral contrast feature", Proc. ICME 2002.
void extract_timbre(const tavel::Vector<double>& samples, double sr, int window, const tavel::Slice<int>& frame_slice,
                    tavel::Matrix<double>& cepstrum, tavel::Matrix<double>* contrast, const progress_record& progress);

} // namespace veloria
