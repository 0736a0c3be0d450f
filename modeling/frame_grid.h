#pragma once

#include <vector>

#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// The frames that a moment sums up: `count` of them, from `first` on.
struct frame_window {
    int first, count;
};

/// Width of the modeling window in frames: `seconds` * `frame_rate`, rounded, and one less if that is even, so that a
/// frame lies in the middle. If it rounds to 0 or is NaN, the width is -1: a window without frames.
int modeling_window_frames(double seconds, double frame_rate);

/// The window of `modeling_frames` frames around the frame `center`, cut at both ends of a stream of `frames` frames.
frame_window window_around(int center, int modeling_frames, int frames);

/// The frame of each moment: the one nearest to a time of the grid. Several times that fall on one frame are one
/// moment. The first time that reaches the last frame or lies beyond it ends the list, and has a moment only if it
/// falls on that frame.
/// @param grid  window centers in seconds, ascending
/// @param t0    time of frame 0 in seconds
/// @return      strictly ascending
tavel::Vector<int> place_frame_centers(const std::vector<double>& grid, double t0, double frame_rate, int frames);

/// Times of the moments in seconds. Samples count from one: frame 0 lies at (start + 1) / sr.
/// @param frame_slice  center samples of the frames
tavel::Vector<double> times_of_frames(const tavel::Vector<int>& frame_centers, const tavel::Slice<int>& frame_slice,
                                      double sr);

} // namespace veloria
