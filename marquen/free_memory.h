#pragma once

#include <cstdint>

namespace marquen {

/// Bytes that the machine can give without swapping; all that can be counted where the system doesn't tell.
std::int64_t free_memory();

} // namespace marquen
