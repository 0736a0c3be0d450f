#pragma once

#include <CLI/CLI.hpp>

namespace gabarit {

/// How the programs speak: help in lines of 80 columns; a wrong usage in one line on stderr, which an option that
/// doesn't exist comes first in, and which holds no control characters. For a program, before its options are added.
void set_style(CLI::App& program);

} // namespace gabarit
