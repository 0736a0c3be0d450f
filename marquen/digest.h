#pragma once

#include <string>

namespace marquen {

/// SHA-256 of a file (FIPS 180-4) in hexadecimal digits; empty if it can't be read.
std::string sha256_of(const std::string& path);

} // namespace marquen
