#pragma once

#include <string>
#include <utility>
#include <vector>

namespace gabarit {

/// Name and version of all that makes a gabarit: the engine, libsndfile, LAPACK.
std::vector<std::pair<std::string, std::string>> versions();

} // namespace gabarit
