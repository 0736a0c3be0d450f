#pragma once

#include <string_view>

/// The parts of the page as they lie in gabarit/page/, put into the program by assemble.cmake.
namespace gabarit::page_template {

extern const std::string_view html; ///< with fields such as {{title}}
extern const std::string_view style, script;
extern const std::string_view style_sha256, script_sha256; ///< in hexadecimal

} // namespace gabarit::page_template
