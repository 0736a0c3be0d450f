#pragma once

#include <memory>

#include "c/job.h"

namespace veloria_c {

/// The jobs of this process by their names, which are the numbers that hosts hold as pointers: odd, so that they are
/// no address of an object, and never used twice. A child of a fork begins with none.
/// @{

/// Enters a new job.
/// @throws std::bad_alloc
veloria_job* enter(const std::shared_ptr<job>& entered);

/// @return null if there is no job of that name
std::shared_ptr<job> find(const veloria_job* name);

/// Takes a job off the table.
void remove(const veloria_job* name);

/// @}

} // namespace veloria_c
