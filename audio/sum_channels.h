#pragma once

namespace corvane {

/// Sums the values of each interleaved frame, from 0.0 in the order of the channels.
/// @param sums one per frame; may be the same array as `interleaved`
void sum_channels(const double* interleaved, int channels, int frames, double* sums);

} // namespace corvane
