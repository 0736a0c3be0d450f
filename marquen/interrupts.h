#pragma once

namespace marquen {

/// Takes SIGINT, SIGTERM and SIGHUP as wishes to stop, as long as it lives: the first is noted, a second ends the
/// program at once, what it would leave behind undone. A signal that was ignored before stays so.
class interrupt_watch {
public:
    interrupt_watch();
    interrupt_watch(const interrupt_watch&) = delete;
    interrupt_watch& operator=(const interrupt_watch&) = delete;
    ~interrupt_watch();

    /// The first that came; 0 if none did.
    static int signal();

    /// Whether it went to this process alone, not to all that a terminal runs.
    static bool is_for_us_alone();
};

/// Ends the program as the signal would have, so that whoever waits for it, such as a loop in a script, ends too.
[[noreturn]] void end_by(int signal);

} // namespace marquen
