#pragma once

#include <signal.h>
#include <sys/types.h>

#include <cstddef>
#include <string>

namespace picture {

/// A change to a folder that is undone unless somebody keeps it: when the object goes, or when a signal ends the
/// program. Up to 64 at a time; a change of the process that a child was forked from is no concern of the child.
class leftover {
public:
    /// @param made      a file that is removed, or renamed to `original`
    /// @param original  empty, or the name that the file had
    /// @throws std::length_error if there are 64 already
    explicit leftover(std::string made, std::string original = {});
    leftover(const leftover&) = delete;
    leftover& operator=(const leftover&) = delete;
    ~leftover();

    const std::string& made() const { return made_name; }
    void keep() noexcept; ///< leaves the change as it is

private:
    friend void undo_leftovers() noexcept;
    void undo() const noexcept;

    std::string made_name, original_name;
    pid_t owner;
    std::size_t slot = 0;
};

/// Undoes what is neither kept nor gone. May be called in a signal handler.
void undo_leftovers() noexcept;

/// Holds back all signals of this thread while a leftover is made or kept, so that none falls between the change and
/// the note of it.
class held_signals {
public:
    held_signals();
    held_signals(const held_signals&) = delete;
    held_signals& operator=(const held_signals&) = delete;
    ~held_signals();

private:
    sigset_t before;
};

/// Prepares a program at its start. Of the standard streams that are closed, each is held by an empty one: an output
/// that took its number would get the program's messages. SIGINT, SIGTERM and SIGHUP undo all leftovers before they end
/// it, unless they are ignored or handled already; SIGPIPE and SIGXFSZ don't end it, so that the write fails and its
/// error is reported.
void prepare_program();

} // namespace picture
