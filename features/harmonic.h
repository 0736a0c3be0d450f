#pragma once

#include "road/progress.h"
#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Pitch class stream of a sound, a column per frame: how the power between two frequencies falls on the twelve
/// pitch classes, each frame with a peak of 1, smoothed over time; reports each frame.
/// @param samples      mono sound
/// @param sr           sample rate in Hz
/// @param window       frame length in samples, above 0; an even one is shortened by 1
/// @param hop          samples from frame to frame
/// @param f_low        Hz, exclusive
/// @param f_high       Hz, exclusive
/// @param floor_ratio  bins with less than this part of the frame's largest power are left out
/// @param matrix       resized to bands by frames; row 0 is C
/// @param frame_slice  set to the center samples of the frames: those that lie inside the sound
/// @throws tavel::error "realfft_vec:: Error in realfft", "min/max_elem called for empty vector \n" where no bin lies
///         between the frequencies, "Slice<INDEX>:: creating slice with offset 0 is not supported\n" for a hop of 0;
///         corvane::cancel_exception
/// T. Fujishima, "Realtime chord recognition of musical sound", Proc. ICMC 1999.
void extract_harmonic(const tavel::Vector<double>& samples, double sr, int window, int hop, double f_low, double f_high,
                      double floor_ratio, tavel::Matrix<double>& matrix, tavel::Slice<int>& frame_slice,
                      const progress_record& progress);

} // namespace veloria
