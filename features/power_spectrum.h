#pragma once

#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// Power spectrum of one frame: the frame less its mean, under the window, padded with zeros to the transform's
/// size. Neither the transform nor the powers are scaled.
/// @param window          as long as the frame
/// @param transform_size  even, at least the length of the frame
/// @param buffer          transform_size + 2 values or more, the frame at its front; used up
/// @param power           transform_size / 2 + 1 values, from 0 Hz to half the sample rate
/// @throws tavel::error "realfft_vec:: Error in realfft"
void power_spectrum(const tavel::Vector<float>& window, int transform_size, tavel::Vector<float>& buffer,
                    tavel::Vector<float>& power);

} // namespace veloria
