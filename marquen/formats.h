#pragma once

#include <string>
#include <utility>
#include <vector>

namespace marquen {

/// What the libsndfile of this machine opens: a line for each ending of file names, the ending, a tab, and the format.
/// Other endings open too: libsndfile goes by what a file holds.
std::string list_formats();

/// Versions of what makes a gabarit: name and version of the package, the engine, libsndfile and LAPACK.
std::vector<std::pair<std::string, std::string>> versions();

} // namespace marquen
