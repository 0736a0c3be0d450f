#pragma once

#include <string>

namespace marquen {

/// What the libsndfile of this machine opens: a line for each ending of file names, the ending, a tab, and the format.
/// Other endings open too: libsndfile goes by what a file holds.
std::string list_formats();

/// The versions of the package, the engine, libsndfile and LAPACK, a line each.
std::string list_versions();

} // namespace marquen
