#pragma once

#include "tavel/tavel_dense_vector.h"

namespace libfft {

/// Symmetric window of `length` values, its end points at index 0 and length - 1. Kinds: 0 rectangular, 1 triangular,
/// 2 Hann, 3 Hamming, 4 Gaussian, 5 Kaiser, 6 Blackman, 7 exact Blackman, 8 and 14 sine to the fourth power, 9 and 10
/// Blackman-Harris with three terms (-67, -61 dB), 11 and 12 with four (-92, -74 dB), 13 Nuttall with three terms,
/// 15 with four and the lowest side lobe, 16 with four and a continuous derivative, 17 sine to the sixth power.
/// Nothing is written for a length below 1; a length of 1 is NaN where the formula divides by length - 1.
/// F. J. Harris, "On the use of windows for harmonic analysis with the discrete Fourier transform", Proc. IEEE 66(1),
/// 1978; A. H. Nuttall, "Some windows with very good sidelobe behavior", IEEE Trans. ASSP 29(1), 1981.
/// @param parameter kind 4: length over the standard deviation, not 0; kind 5: beta, NaN inside beyond about 700
/// @return 1; or 0, with nothing written, for another kind and for a Gaussian with parameter 0
int make_window(int kind, int length, double* out, double parameter = 0.0);

/// The same with coefficients and results in single precision and all else in double.
int make_window(int kind, int length, float* out, float parameter = 0);

/// Analysis window whose values sum to 2.0, so that a sinusoid of amplitude A has a peak of about A in the magnitude
/// spectrum.
/// @param selector 0 Blackman, 1 rectangular, 2 Hamming, 3 Hann without its zeros; with another `values` is empty
/// @param window   length in samples; an even one is shortened by 1, and one below 1 gives no values
/// @param hop      not read
/// @param half     half the length, rounded down
/// @param values   sized here
void make_analysis_window(int selector, int window, int hop, int& half, tavel::Vector<double>& values);

} // namespace libfft
