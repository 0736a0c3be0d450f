#pragma once

#include "tavel/vector.h"

namespace tavel {

/// Values of a polynomial at each element of x, by Horner's rule; in the shape of x.
/// @param p  coefficients, highest power first
/// @throws tavel::error "polyval:InvalidP -- P  must be a vector.\n" where p is empty
Vector<double> polyval(const Vector<double>& p, const Vector<double>& x);

} // namespace tavel
