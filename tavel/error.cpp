#include "tavel/error.h"

namespace tavel {

error::error(const std::string& text) : message("tavel error: " + text) {}

error::error(const std::string& path, int line, const std::string& text)
    : message("tavel error: in file " + path + " " + std::to_string(line) + "\n" + text)
{}

error::~error() = default;

const char* error::what() const noexcept
{
    return message.c_str();
}

const char* error::detail() const noexcept
{
    return empty_detail.c_str();
}

} // namespace tavel
