#pragma once

#include <optional>
#include <string>
#include <vector>

#include "marquen/failure.h"
#include "marquen/options.h"
#include "marquen/sound_length.h"
#include "plan/job_plan.h"

namespace marquen {

/// What came of a job.
struct summary {
    enum outcome { planned, finished, failed, canceled } state = failed;
    cause why = cause::none;            ///< of a failure
    std::optional<plan::job_plan> plan; ///< nothing if the job was refused before
    std::optional<sound_length> length; ///< announced and found; nothing if it was refused before
    double work_seconds = 0.0;
    std::vector<std::string> input_digests; ///< SHA-256 of each file, of what was finished; none if not asked for
    std::string similarity_digest;
    std::optional<std::string> form;   ///< "A A B A", if sections were written
    std::int64_t file_bytes = -1;      ///< of the gabarit; -1 for what wasn't finished, or is no file
    std::string error;                 ///< one line; empty for what was planned or finished
    std::vector<std::string> warnings; ///< a line each
};

/// 1 for a failure that lies in the sound, 4 for one outside it.
int status_of_cause(cause why);

/// That of its cause; 0 for what didn't fail.
int exit_status(const summary& done);

/// The job as one JSON object; what isn't known is null.
std::string to_json(const summary& done, const job& one, const options& chosen);

/// Wrong usage as the same object, with nothing in it but the error.
std::string usage_to_json(const std::string& error);

/// The plan, a fact a line.
std::string to_text(const plan::job_plan& planned);

} // namespace marquen
