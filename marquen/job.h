#pragma once

#include <string>

#include "marquen/options.h"

namespace marquen {

/// How a job ended.
struct job_end {
    veloria::process_state state; ///< finished, canceled or failed
    std::string message;          ///< of a job that didn't finish, as the library stored it
};

/// Runs a job to its end, with a bar if a person looks on; Ctrl-C asks it to stop.
/// @throws what veloria::process() throws, std::runtime_error by value
job_end run_job(const options& chosen);

} // namespace marquen
