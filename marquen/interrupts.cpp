#include "marquen/interrupts.h"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <cstddef>

#include "picture/leftovers.h"

namespace marquen {

namespace {

constexpr std::array<int, 3> signals{SIGINT, SIGTERM, SIGHUP};

volatile sig_atomic_t noted = 0;
volatile sig_atomic_t from_process = 0;
std::array<struct sigaction, signals.size()> before;

extern "C" void note_interrupt(int signal, siginfo_t* origin, void*)
{
    if (noted != 0) {
        picture::undo_leftovers();
        end_by(signal);
    }
    noted = signal;
    from_process = origin->si_code <= 0 ? 1 : 0; // by kill(), not by the terminal's line discipline
}

} // namespace

interrupt_watch::interrupt_watch()
{
    struct sigaction action = {};
    action.sa_sigaction = note_interrupt;
    action.sa_flags = SA_RESTART | SA_SIGINFO;
    for (std::size_t i = 0; i < signals.size(); ++i) {
        sigaction(signals[i], nullptr, &before[i]);
        if (before[i].sa_handler != SIG_IGN)
            sigaction(signals[i], &action, nullptr);
    }
}

interrupt_watch::~interrupt_watch()
{
    for (std::size_t i = 0; i < signals.size(); ++i)
        sigaction(signals[i], &before[i], nullptr);
}

int interrupt_watch::signal()
{
    return noted;
}

bool interrupt_watch::is_for_us_alone()
{
    return from_process != 0;
}

void end_by(int signal)
{
    ::signal(signal, SIG_DFL);
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, signal);
    pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    raise(signal);
    _exit(128 + signal); // the first process of a container isn't ended by a signal of its own
}

} // namespace marquen
