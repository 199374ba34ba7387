#pragma once

#include <vlgim/Export.h>

namespace vela {

enum class LogLevel { Error, Warning };

/// Receives one formatted message exactly as it was logged, with or without a newline at its end. It is called on the
/// thread that logs, and may be called on several threads at once.
using LogSink = void (*)(LogLevel level, const char* text, void* user);

/// Sends all further messages to `sink`. May be called at any time from any thread; a message that another thread is
/// logging at that moment can still go to the old sink.
/// sink  null restores the default, which writes to stderr and ends each message with exactly one newline
/// user  passed to the sink
VLGIM_API void SetLogSink(LogSink sink, void* user);

/// While an object of this class exists, the messages of its thread go to its sink instead of the one from SetLogSink.
/// Use it to tell apart the messages of files that are processed in parallel. Objects can be nested; each has to be
/// destroyed on the thread that made it, the last one first.
class VLGIM_API ThreadLogSink {
public:
    /// sink  null drops the messages
    /// user  passed to the sink
    ThreadLogSink(LogSink sink, void* user);
    ThreadLogSink(const ThreadLogSink&) = delete;
    ThreadLogSink& operator=(const ThreadLogSink&) = delete;
    ~ThreadLogSink();

private:
    LogSink m_outer;  // null: none
    void* m_outerUser;
};

/// Logs a printf-style message. Nothing is added to it: no level, no prefix, no newline.
VLGIM_API void LogError(const char* format, ...) VLGIM_PRINTF(1, 2);
VLGIM_API void LogWarning(const char* format, ...) VLGIM_PRINTF(1, 2);

}  // namespace vela
