#pragma once

#include <string>

#include "marquen/options.h"
#include "marquen/progress.h"

namespace marquen {

/// How the library's part of a job ended.
struct analysis_end {
    veloria::process_state state; ///< finished, canceled or failed
    std::string message;          ///< of a job that didn't finish, as the library stored it
};

/// Analyzes a sound. A wish to stop cancels; where nothing reports, as a pipe that stalls, the job is left to itself.
/// @throws failure what veloria::process() throws
analysis_end analyze(const job& one, const options& chosen, progress& shown);

} // namespace marquen
