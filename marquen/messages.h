#pragma once

#include <string>

#include "marquen/failure.h"
#include "marquen/options.h"

namespace marquen {

/// What a text of the library says about the cause.
cause cause_of(const std::string& text);

/// The text behind the file that it concerns, unless it names it.
std::string name_file(const std::string& text, const std::string& path);

/// The error on one line that does a terminal no harm, behind the sound unless it names one of the job's files, and
/// with a clause on what to do where there is something.
std::string error_line(const std::string& text, const job& one);

} // namespace marquen
