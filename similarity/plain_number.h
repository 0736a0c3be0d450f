#pragma once

#include <string>

namespace veloria {

/// A number as a stream of the classic locale prints it by default: six significant digits, no zeros at the end, an
/// exponent where it is shorter. A stream itself would swallow that memory ran out, and round as the host does.
std::string plain_number(double number);

} // namespace veloria
