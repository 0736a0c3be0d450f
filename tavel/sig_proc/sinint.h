#pragma once

#include "tavel/vector.h"

namespace tavel {

/// Sine integral Si(x), the integral of sin(t) / t from 0 to x, of each element.
/// Rational approximations: B. T. P. Rowe et al., "GalSim: The modular galaxy image simulation toolkit", Astronomy and
/// Computing 10, 2015, appendix B.
Vector<double> sinint(const Vector<double>& x);

/// Cosine integral Ci(x) for positive x, from the same source.
Vector<double> cosint(const Vector<double>& x);

} // namespace tavel
