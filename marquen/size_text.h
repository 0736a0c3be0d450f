#pragma once

#include <cstdint>
#include <string>

namespace marquen {

/// Bytes from what people and programs write: "8.5 GB", "8.5GB", "1e9", "500 MiB", "4g". K, M, G, T, P and E are powers
/// of 1000, Ki to Ei of 1024; a B may follow, case doesn't matter.
/// @throws std::invalid_argument for anything else, and beyond what 63 bits hold
std::int64_t size_of(const std::string& text);

/// What is wrong with a size; empty if nothing is.
std::string check_size(const std::string& text);

} // namespace marquen
