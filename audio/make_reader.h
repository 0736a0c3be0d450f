#pragma once

#include <memory>

#include "audio/abstract_reader.h"

namespace corvane {

/// Opens a sound: one path as it is, several as a SplitReader.
/// @throws std::invalid_argument "invalid path at position N" for a null path
/// @throws std::runtime_error "error opening file 'PATH'"; for several paths what SplitReader throws
std::unique_ptr<AbstractReader> make_reader(int n_paths, const char* const* paths);

} // namespace corvane
