#include "picture/whole_file.h"

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <unistd.h>

namespace picture {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void refuse(const std::string& path, int error)
{
    throw std::system_error(error, std::generic_category(), "'" + path + "' can't be written");
}

// A rename would put a file in the place of a link instead of following it, and in the place of a device.
std::string file_to_replace(const std::string& path)
{
    std::error_code unknown;
    if (!fs::exists(path, unknown))
        return path;
    if (!fs::is_regular_file(path, unknown))
        throw std::runtime_error("'" + path + "' can't be written: it is no regular file");
    return fs::canonical(path);
}

} // namespace

whole_file::whole_file(const std::string& path)
    : path_(file_to_replace(path)), part_path_(path_ + ".part" + std::to_string(getpid())),
      file_(std::fopen(part_path_.c_str(), "wbx"))
{
    if (!file_)
        refuse(path_, errno);
}

whole_file::~whole_file()
{
    if (!part_path_.empty())
        std::remove(part_path_.c_str());
}

bool whole_file::write(const void* bytes, std::size_t count)
{
    if (error_ == 0 && std::fwrite(bytes, 1, count, file_.get()) != count)
        error_ = errno;
    return error_ == 0;
}

void whole_file::commit()
{
    if (std::fclose(file_.release()) != 0 && error_ == 0)
        error_ = errno;
    if (error_ == 0 && std::rename(part_path_.c_str(), path_.c_str()) != 0)
        error_ = errno;
    if (error_ != 0)
        refuse(path_, error_);
    part_path_.clear();
}

} // namespace picture
