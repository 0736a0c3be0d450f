#pragma once

#include <optional>
#include <string>

#include "marquen/options.h"
#include "plan/job_plan.h"

namespace marquen {

/// What came of a run of the program.
struct summary {
    enum outcome { planned, finished, failed, canceled } state = failed;
    std::optional<plan::job_plan> plan; ///< nothing if the job was refused, or its input can be read only once
    double work_seconds = 0.0;
    std::string error; ///< one line; empty for what was planned or finished
};

/// The run as one JSON object; what isn't known is null.
std::string to_json(const summary& run, const options& chosen);

/// The plan, a fact a line.
std::string to_text(const plan::job_plan& plan);

/// The error on one line, behind the file that it concerns if it doesn't name it itself.
std::string error_line(const std::string& text, const options& chosen);

} // namespace marquen
