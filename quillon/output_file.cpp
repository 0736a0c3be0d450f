#include "quillon/output_file.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace Quillon {

namespace {

[[noreturn]] void throw_write_error(const std::string& path)
{
    const int reason = errno; // the text below may change it
    throw std::system_error(reason, std::generic_category(), "error writing file '" + path + "'");
}

} // namespace

OutputFile::~OutputFile()
{
    if (descriptor >= 0)
        ::close(descriptor);
}

bool OutputFile::open(const std::string& file_path)
{
    close();
    path = file_path;
    do
        descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    while (descriptor < 0 && errno == EINTR); // a signal while a FIFO waits for its reader
    return descriptor >= 0;
}

void OutputFile::write(const unsigned char* bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t written = ::write(descriptor, bytes, count);
        if (written < 0 && errno == EINTR)
            continue;
        if (written == 0)
            errno = EIO; // a device that takes nothing would be asked for ever
        if (written <= 0)
            throw_write_error(path);
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
}

void OutputFile::close()
{
    // Given up whatever the answer is: an interrupted close has closed the file too.
    const int closing = std::exchange(descriptor, -1);
    if (closing >= 0 && ::close(closing) != 0 && errno != EINTR)
        throw_write_error(path);
}

} // namespace Quillon
