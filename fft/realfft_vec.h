#pragma once

#include "tavel/tavel_dense_vector.h"

namespace tavel {

/// Forward transform of the first `size` values of `buffer`, in place, unpacked: size/2 + 1 bins from 0 to the
/// Nyquist frequency, real and imaginary part in turn. The buffer has size + 2 elements or more. Instantiated for float
/// and double.
/// @param size even, or 1
/// @throws tavel::error "realfft_vec:: Error in realfft"
template <class T>
void realfft_vec(Vector<T>& buffer, int size);

} // namespace tavel
