#pragma once

#include <poll.h>
#include <sys/types.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace marquen {

/// This program once more, as a child process whose outputs come here by pipes. It ends with its parent.
class child {
public:
    /// @throws std::system_error
    explicit child(std::vector<std::string> arguments);
    child(const child&) = delete;
    child& operator=(const child&) = delete;
    ~child();

    /// What to wait for: its standard output and its standard error. A pipe that has ended is -1.
    const std::array<int, 2>& pipes() const { return ends; }

    /// Takes what a pipe has.
    void read(std::size_t pipe);
    bool has_ended() const { return ends[0] < 0 && ends[1] < 0; }

    void send(int signal) const;

    /// Waits for its end.
    /// @return as waitpid() has it
    int wait();

    std::string output; ///< so far
    std::string error;  ///< lines of standard error that are no progress
    double position = 0.0;

private:
    void take_lines();

    pid_t id = -1;
    std::array<int, 2> ends{-1, -1};
    std::string line; // of standard error, not whole yet
};

} // namespace marquen
