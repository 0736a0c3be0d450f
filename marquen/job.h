#pragma once

#include "marquen/options.h"
#include "marquen/progress.h"
#include "marquen/summary.h"

namespace marquen {

/// Does one job in this process: looks at the sound and at what the job takes, analyzes, draws. Whatever the end, the
/// outputs are new and whole or what they were.
summary run_job(const job& one, const options& chosen, progress& shown);

} // namespace marquen
