#pragma once

#include <csignal>

namespace vela::vlgim::tools {

/// While it lives, Ctrl-C, SIGTERM, SIGHUP and the end of a pipe's reader do not end the program but are noted, so that
/// what is in progress can be finished and no file is left half done. Signals that were ignored stay so. One at a time;
/// made on the main thread, ahead of the threads that work, which never see the signals.
class Interruptible {
public:
    Interruptible();
    Interruptible(const Interruptible&) = delete;
    Interruptible& operator=(const Interruptible&) = delete;
    ~Interruptible();

    /// The first signal that came; 0: none.
    static int Signal();

private:
    static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};
    struct sigaction m_old[4];
};

/// While it lives, signals to end the program come to other threads than this one and those that it starts.
class NoSignals {
public:
    NoSignals();
    NoSignals(const NoSignals&) = delete;
    NoSignals& operator=(const NoSignals&) = delete;
    ~NoSignals();

private:
    sigset_t m_old;
};

}  // namespace vela::vlgim::tools
