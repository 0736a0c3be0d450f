#pragma once

#include <cstdint>

namespace plan {

/// Bytes that a job can take here: what the machine can give without swapping, less where the process' control group
/// or its limit of address space allows less. The largest number where the system reports nothing.
std::int64_t free_memory();

/// The most bytes that this process had in memory at one time; 0 where the system reports nothing.
std::int64_t peak_memory();

} // namespace plan
