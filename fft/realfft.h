#pragma once

namespace libfft {

/// Transform of `size` real values, in place where both arrays are the same; else the input stays as it is.
/// Forward is the plain sum X[k] = sum of x[n] exp(-2 pi i k n / size); inverse carries the factor 1 / size, so that
/// it takes the signal back. Any number of threads may call at once. Instantiated for float and double.
/// @param time      `size` samples, read if forward and written if inverse
/// @param spectrum  `size` values: X[0], X[size/2], then real and imaginary part of X[1] .. X[size/2 - 1]
/// @param size      even, or 1, which leaves the value as it is
/// @param direction 1 forward, -1 inverse
/// @return false, with nothing written, for another size or direction or for want of memory; never throws
template <class T>
bool realfft(T* time, T* spectrum, int size, int direction) noexcept;

/// The same for `size` interleaved complex values, 1 or more, in the common order of the bins.
template <class T>
bool complexfft(T* time, T* spectrum, int size, int direction) noexcept;

} // namespace libfft
