#pragma once

namespace vela::platform {

/// While an object of this class exists, Ctrl-C, other requests to end the program (SIGTERM and SIGHUP on POSIX) and a
/// pipe whose reader has gone do not end the process. They are only recorded, so that the program can finish its
/// current file. Signals that were ignored before are still ignored. Only one object may exist at a time, on the main
/// thread.
class Interruptible {
public:
    Interruptible();
    Interruptible(const Interruptible&) = delete;
    Interruptible& operator=(const Interruptible&) = delete;
    ~Interruptible();
};

/// True if anything was recorded since the last Interruptible was made.
bool IsInterrupted();

/// True if a pipe whose reader has gone was recorded first.
bool IsReaderGone();

/// Ends the process in the way that the first recorded signal would have ended it. Requires IsInterrupted().
void EndInterrupted();

/// Blocks these signals for the calling thread, so that other threads receive them.
void ShieldThread();

}  // namespace vela::platform
