#pragma once

#include "tavel/tavel_dense_vector.h"

namespace libfft {

/// Kinds of window, all symmetric with their end points at index 0 and length - 1.
/// F. J. Harris, "On the use of windows for harmonic analysis with the discrete Fourier transform", Proc. IEEE 66(1),
/// 1978; A. H. Nuttall, "Some windows with very good sidelobe behavior", IEEE Trans. ASSP 29(1), 1981.
enum class window_kind : int {
    rectangular,
    triangular,
    hann,
    hamming,
    gaussian, ///< its parameter is length over standard deviation, not 0
    kaiser,   ///< its parameter is beta, whose window is NaN inside beyond about 700
    blackman,
    exact_blackman,
    sine_4,               ///< sine to the fourth power
    blackman_harris_3_67, ///< three terms, -67 dB
    blackman_harris_3_61, ///< three terms, -61 dB
    blackman_harris_4_92, ///< four terms, -92 dB
    blackman_harris_4_74, ///< four terms, -74 dB in the source, -57 dB with the coefficients it prints
    nuttall_3,            ///< three terms, continuous first derivative
    sine_4_too,           ///< as sine_4
    nuttall_4_lowest,     ///< four terms, lowest side lobes
    nuttall_4,            ///< four terms, continuous first derivative
    sine_6                ///< sine to the sixth power
};

/// Window of `length` values; nothing is written for a length below 1, and a length of 1 is NaN where the formula
/// divides by length - 1. Instantiated for float, with coefficients and results in single precision and all else in
/// double, and for double.
/// @param parameter of the Gaussian and the Kaiser window
/// @return 1; or 0, with nothing written, for another kind and for a Gaussian window with parameter 0
template <class T>
int make_window(window_kind kind, int length, T* out, T parameter = T(0));

/// Choices of make_analysis_window.
enum class analysis_window : int {
    blackman,
    rectangular,
    hamming,
    hann ///< without its two zeros
};

/// Analysis window whose values sum to 2.0, so that a sinusoid of amplitude A has a peak of about A in the magnitude
/// spectrum.
/// @param selector with another one `values` is empty
/// @param window   length in samples; an even one is shortened by 1, and one below 1 gives no values
/// @param hop      not read
/// @param half     half the length, rounded down
/// @param values   sized here
void make_analysis_window(analysis_window selector, int window, int hop, int& half, tavel::Vector<double>& values);

} // namespace libfft
