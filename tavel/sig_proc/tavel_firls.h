#pragma once

#include <string>

#include "tavel/vector.h"

namespace tavel {

/// Linear-phase FIR filter by weighted least squares, with Matlab's calling convention.
/// @param order  of the filter, at least 1; an odd one grows by one, with a warning on the standard error stream, where
///               a symmetric filter must pass the Nyquist frequency
/// @param f      band edges in pairs, nondecreasing, from 0 to 1, the Nyquist frequency
/// @param a      desired amplitudes at the edges, linear in between
/// @param w      a weight per band; all 1.0 if empty
/// @param ftype  empty for a symmetric filter (types I and II); "h" or "hilbert" for an antisymmetric one (types III
///               and IV); "d" or "differentiator" for the same with the bands that pass weighted by 1 / f^2. Case
///               doesn't matter.
/// @return a row of order + 1 coefficients
/// @throws tavel::error for an argument that is none of these, and what mldivide throws
/// Method: T. W. Parks, C. S. Burrus, "Digital Filter Design", Wiley, 1987, pp. 54-83.
Vector<double> firls(int order, const Vector<double>& f, const Vector<double>& a, const Vector<double>& w = {},
                     const std::string& ftype = "");

} // namespace tavel
