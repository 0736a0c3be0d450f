#pragma once

#include "audio/abstract_reader.h"
#include "road/progress.h"
#include "tavel/tavel_dense_vector.h"

namespace corvane {

/// Loads a whole sound as one mono signal at the rate asked for: the mean of its channels, resampled. Frames that
/// the reader announced and doesn't deliver are zero. Reports after each block of 16384 frames.
/// @param reader      open
/// @param target_rate Hz
/// @param clip        limits the samples to -1 to 1 if the peak lies above 1
/// @param normalize   scales the peak to 1, unless the samples were clipped
/// @param output      sized here: frames * target_rate / rate, rounded up
/// @throws std::runtime_error "the length of the sound is unknown"; what the reader throws
/// @throws std::length_error  "the sound is too long" for more than 2^31 - 1 samples
/// @throws tavel::error       what the Resampler throws; "min/max_elem called for empty expression \n" for a block
///                            that yields no sample
/// @throws corvane::cancel_exception
/// Without memory for it the process ends with status 1 and two lines on the standard error stream.
void load_sound(AbstractReader& reader, double target_rate, bool clip, bool normalize, tavel::Vector<double>& output,
                const veloria::progress_record& progress);

} // namespace corvane
