#pragma once

#include "tavel/vector.h"

namespace tavel {

/// Histogram with given bin centres: adds 1.0 to a bin for each value in it, so that calls accumulate. Bins meet half
/// way between centres; a value on an edge is in the lower bin, a NaN in none. Where centres and counts differ in size
/// a line on the standard error stream says so, and what falls in a bin without a count is lost.
/// @param centres  ascending
void hist(const Vector<double>& data, const Vector<double>& centres, Vector<double>& counts);

} // namespace tavel
