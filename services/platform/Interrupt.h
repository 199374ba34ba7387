#pragma once

namespace platform {

/// While it lives, Ctrl-C, the other polite ways to end a program, and the end of a pipe's reader do not end it but are
/// noted, so that what is in progress can be finished and no file is left half done. What was ignored stays so. One at
/// a time, made on the main thread.
class Interruptible {
public:
    Interruptible();
    Interruptible(const Interruptible&) = delete;
    Interruptible& operator=(const Interruptible&) = delete;
    ~Interruptible();
};

/// Whether anything was noted since the last Interruptible was made.
bool IsInterrupted();

/// Whether the first that was noted is that the reader of a pipe has gone.
bool IsReaderGone();

/// Ends the process as what was noted first would have ended it.
void EndInterrupted();

/// Keeps the calling thread from being interrupted, so that other threads are.
void ShieldThread();

}  // namespace platform
