#pragma once

#include "marquen/options.h"
#include "marquen/progress.h"

namespace marquen {

/// Does several jobs, each in a process of its own, so that one that ends its process harms no other; goes on after
/// failures. Reports them on stderr, a line each and a summary, or with `--json` all on stdout.
/// @return the exit status: 0 if all were done, 3 if some were; if none was, 1 where all failures lie in the sounds,
///         else 4
int run_jobs(const options& chosen, progress& shown);

} // namespace marquen
