#include "marquen/child.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

#include <nlohmann/json.hpp>

namespace marquen {

namespace {

[[noreturn]] void refuse(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

// The rest of the child's life: nothing here may allocate or lock.
[[noreturn]] void become(char** arguments, pid_t parent, int output, int error)
{
    dup2(output, STDOUT_FILENO);
    dup2(error, STDERR_FILENO);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() == parent) // else it is too late for that signal
        execv("/proc/self/exe", arguments);
    constexpr int not_started = 127;
    _exit(not_started);
}

} // namespace

child::child(std::vector<std::string> arguments)
{
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);

    std::array<int, 2> write_ends{};
    for (std::size_t i = 0; i < ends.size(); ++i) {
        int both[2];
        if (pipe2(both, O_CLOEXEC) != 0)
            refuse("no pipe to a process of its own");
        ends[i] = both[0];
        write_ends[i] = both[1];
    }
    const pid_t parent = getpid();
    id = fork();
    if (id == 0)
        become(pointers.data(), parent, write_ends[0], write_ends[1]);
    const int reason = errno;
    for (const int end : write_ends)
        close(end);
    errno = reason;
    if (id < 0)
        refuse("no process of its own");
}

child::~child()
{
    for (const int end : ends)
        if (end >= 0)
            close(end);
}

void child::read(std::size_t pipe)
{
    char bytes[4096];
    const ssize_t count = ::read(ends[pipe], bytes, sizeof bytes);
    if (count < 0 && errno == EINTR)
        return;
    if (count <= 0) {
        close(ends[pipe]);
        ends[pipe] = -1;
        return;
    }
    (pipe == 0 ? output : line).append(bytes, static_cast<std::size_t>(count));
    take_lines();
}

// Progress comes as JSON.
void child::take_lines()
{
    for (std::size_t end; (end = line.find('\n')) != std::string::npos; line.erase(0, end + 1)) {
        const auto report = nlohmann::json::parse(line.substr(0, end), nullptr, false);
        if (report.is_object() && report.contains("position"))
            position = report.value("position", 0.0);
        else
            error.append(line, 0, end + 1);
    }
}

void child::send(int signal) const
{
    if (id > 0)
        kill(id, signal);
}

int child::wait()
{
    int status = 0;
    while (waitpid(id, &status, 0) < 0 && errno == EINTR) {}
    id = -1;
    return status;
}

} // namespace marquen
