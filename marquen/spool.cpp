#include "marquen/spool.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>

#include "marquen/failure.h"
#include "marquen/interrupts.h"
#include "marquen/sound_header.h"
#include "plan/job_plan.h"

namespace marquen {

namespace {

namespace fs = std::filesystem;
using clock = std::chrono::steady_clock;

std::string reason()
{
    return std::generic_category().message(errno);
}

// The number in /dev/fd/N and its other spellings; -1 for another path.
int descriptor_of(const std::string& path)
{
    if (path == "/dev/stdin")
        return STDIN_FILENO;
    for (const std::string folder : {"/dev/fd/", "/proc/self/fd/"}) {
        int number = -1;
        if (path.starts_with(folder) &&
            std::from_chars(path.data() + folder.size(), path.data() + path.size(), number).ptr ==
                path.data() + path.size())
            return number;
    }
    return -1;
}

bool is_pipe(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

int nameless_file()
{
    std::error_code unknown;
    const fs::path folder = fs::temp_directory_path(unknown);
    std::string name = (folder.empty() ? fs::path("/tmp") : folder) / "marquen-XXXXXX";
    const int file = mkostemp(name.data(), O_CLOEXEC);
    if (file < 0)
        throw failure(cause::machine, "no copy of the pipe in '" + folder.string() + "': " + reason() +
                                          " (TMPDIR names another folder)");
    unlink(name.c_str());
    return file;
}

void write_all(int file, const char* bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t written = write(file, bytes, count);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            throw failure(cause::machine, "no room for a copy of the pipe: " + reason() +
                                              " (TMPDIR names another folder than " +
                                              fs::temp_directory_path().string() + ")");
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
}

// Copies a pipe to its end; false if nothing came. A named one that nobody writes to yet is given some seconds.
bool copy(int pipe, bool named, int file, progress& shown)
{
    constexpr std::chrono::seconds patience(3);
    constexpr std::chrono::milliseconds look_around(100);
    constexpr std::uint64_t step = 1U << 22;
    const clock::time_point begin = clock::now();
    std::vector<char> bytes(1U << 16);
    for (std::uint64_t copied = 0;;) {
        pollfd waited{pipe, POLLIN, 0};
        const bool ready = poll(&waited, 1, static_cast<int>(look_around.count())) > 0;
        if (interrupt_watch::signal() != 0)
            throw interrupted();
        if (!ready && !named) // it would block
            continue;
        const ssize_t count = read(pipe, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR && errno != EAGAIN)
            throw failure(cause::machine, "the pipe can't be read: " + reason());
        if (count == 0 && (!named || copied > 0 || clock::now() > begin + patience))
            return copied > 0;
        if (count <= 0) {
            if (ready)
                std::this_thread::sleep_for(look_around / 10);
            continue;
        }
        write_all(file, bytes.data(), static_cast<std::size_t>(count));
        const std::uint64_t before = std::exchange(copied, copied + static_cast<std::uint64_t>(count));
        if (before / step != copied / step)
            shown.show("reading, " + plan::readable_size(static_cast<std::int64_t>(copied)), 0.0);
    }
}

// Opens the copy of a pipe, or the pipe, by its number.
std::string path_of(int descriptor)
{
    return descriptor == STDIN_FILENO ? "/dev/stdin" : "/dev/fd/" + std::to_string(descriptor);
}

} // namespace

spooled_input::spooled_input(const std::vector<std::string>& given, progress& shown)
{
    for (const std::string& path : given) {
        std::string name = path == "-" ? path_of(STDIN_FILENO) : path;
        if (!is_pipe(name)) {
            names.push_back(name);
            continue;
        }
        const int number = descriptor_of(name);
        const int pipe = number >= 0 ? number : open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (pipe < 0)
            throw failure(cause::sound, "error opening file '" + name + "': " + reason());
        const int file = nameless_file();
        copies.push_back(file);
        if (!copy(pipe, number < 0, file, shown))
            throw failure(cause::sound, "error opening file '" + path + "': nothing came through this pipe");
        mend_header(file);
        if (number >= 0) {
            dup2(file, number);
            names.push_back(name);
        } else {
            close(pipe);
            names.push_back(path_of(file));
        }
    }
}

spooled_input::~spooled_input()
{
    for (const int copy : copies)
        close(copy);
}

} // namespace marquen
