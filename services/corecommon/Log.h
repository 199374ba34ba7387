#pragma once

#include <vlgim/Export.h>

namespace vela {

enum class LogLevel { Error, Warning };

/// Receives one formatted message, exactly as it was logged, with or without a newline at its end.
/// Called on the thread that logs, possibly on several at once.
using LogSink = void (*)(LogLevel level, const char* text, void* user);

/// Sends all further messages to sink, with user handed through. Null restores the default, which writes to
/// stderr and ends each message with exactly one newline. May be called at any time from any thread; a
/// message that another thread is logging meanwhile may still reach the sink before.
VLGIM_API void SetLogSink(LogSink sink, void* user);

/// While it lives, the messages that this thread logs go to a sink of their own, whatever SetLogSink has set: for who
/// works on several files at once and has to tell whose a message is. Scopes nest, on the thread that made them.
class VLGIM_API ThreadLogSink {
public:
    /// sink  null drops the messages
    ThreadLogSink(LogSink sink, void* user);
    ThreadLogSink(const ThreadLogSink&) = delete;
    ThreadLogSink& operator=(const ThreadLogSink&) = delete;
    ~ThreadLogSink();

private:
    friend struct ThreadLog;

    LogSink m_sink;
    void* m_user;
    ThreadLogSink* m_outer;
};

/// Logs a printf-style message. Nothing is added to it: no level, no prefix, no newline.
VLGIM_API void LogError(const char* format, ...) VLGIM_PRINTF(1, 2);
VLGIM_API void LogWarning(const char* format, ...) VLGIM_PRINTF(1, 2);

}  // namespace vela
