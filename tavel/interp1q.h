#pragma once

#include "tavel/vector.h"

namespace tavel {

/// Linear interpolation of the points (x, y) at each xi; beyond the ends it keeps the end values, and a NaN takes the
/// last one. May run in place, with yi the same vector as xi.
/// @param x  ascending
/// @throws tavel::error "interp1q: sizes of input containers x and y do not match!\n", "interp1q: nothing to
///         interpolate, input containers x is empty!\n"
void interp1q(const Vector<double>& x, const Vector<double>& y, const Vector<double>& xi, Vector<double>& yi);

} // namespace tavel
