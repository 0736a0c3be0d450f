#pragma once

#include <vector>

#include "tavel/tavel_dense_vector.h"

namespace veloria {

/// The frames that a row describes: `count` of them, from `first` on.
struct frame_window {
    int first, count;
};

/// Width of the modeling window in frames: the nearest whole number, one less where that is even, so that the
/// window has a frame in its middle. -1, a window without frames, where it rounds to 0 or isn't a number.
int modeling_window_frames(double seconds, double frame_rate);

/// The window of `modeling_frames` frames in the middle of which `center` lies, cut to a stream of `frames` frames.
frame_window window_around(int center, int modeling_frames, int frames);

/// The frames that lie nearest to the times of the grid, strictly ascending: times that fall on one frame give one
/// entry, and the list ends with the first time that reaches the last frame, which it holds only if that time falls
/// on it.
/// @param grid  window centres in seconds, ascending
/// @param t0    time of frame 0 in seconds
tavel::Vector<int> place_frame_centers(const std::vector<double>& grid, double t0, double frame_rate, int frames);

/// Times in seconds of the frames `frame_centers`. Samples count from one: frame 0 lies at (start + 1) / sr.
/// @param frame_slice  centre samples of the frames
tavel::Vector<double> times_of_frames(const tavel::Vector<int>& frame_centers, const tavel::Slice<int>& frame_slice,
                                      double sr);

} // namespace veloria
