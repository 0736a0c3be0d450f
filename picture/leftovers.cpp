#include "picture/leftovers.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace picture {

namespace {

std::array<std::atomic<const leftover*>, 64> slots;
static_assert(std::atomic<const leftover*>::is_always_lock_free, "a signal handler reads them");

// The default action may do nothing, for the first process of a container.
extern "C" void end_by_signal(int signal)
{
    undo_leftovers();
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, signal);
    raise(signal);
    pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
    _exit(128 + signal);
}

} // namespace

leftover::leftover(std::string made, std::string original)
    : made_name(std::move(made)), original_name(std::move(original)), owner(getpid())
{
    for (; slot < slots.size(); ++slot) {
        const leftover* none = nullptr;
        if (slots[slot].compare_exchange_strong(none, this))
            return;
    }
    undo();
    throw std::length_error("too many unfinished files");
}

leftover::~leftover()
{
    if (slots[slot].load() != this)
        return;
    undo();
    keep();
}

void leftover::keep() noexcept
{
    slots[slot] = nullptr;
}

void leftover::undo() const noexcept
{
    if (owner != getpid())
        return;
    if (original_name.empty())
        unlink(made_name.c_str());
    else
        std::rename(made_name.c_str(), original_name.c_str());
}

void undo_leftovers() noexcept
{
    for (std::atomic<const leftover*>& slot : slots)
        if (const leftover* const one = slot.exchange(nullptr))
            one->undo();
}

held_signals::held_signals()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
}

held_signals::~held_signals()
{
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void prepare_program()
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (fcntl(stream, F_GETFD) < 0)
            open("/dev/null", O_RDONLY); // takes the lowest number; to write to it fails, as to a closed one
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_DFL)
            continue;
        action.sa_handler = end_by_signal;
        sigfillset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace picture
