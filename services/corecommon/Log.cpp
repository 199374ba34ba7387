#include <corecommon/Log.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

namespace vela {

namespace {

// One call, so that lines of several threads do not run into each other.
void WriteToStderr(LogLevel, const char* text, void*)
{
    std::string line = text;
    line.erase(line.find_last_not_of('\n') + 1) += '\n';
    std::fputs(line.c_str(), stderr);
}

void Drop(LogLevel, const char*, void*) {}

struct Sink {
    LogSink call = WriteToStderr;
    void* user = nullptr;
};

constinit std::mutex sinkMutex;
constinit Sink commonSink;
constinit thread_local Sink threadSink{nullptr};  // without a call the common one counts

void Log(LogLevel level, const char* format, std::va_list args)
{
    std::va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0)
        return;
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, args);

    Sink sink = threadSink;
    if (!sink.call) {
        const std::lock_guard lock(sinkMutex);
        sink = commonSink;
    }
    // Not under the lock: a sink may log, or set another sink.
    sink.call(level, text.c_str(), sink.user);
}

}  // namespace

void SetLogSink(LogSink sink, void* user)
{
    const std::lock_guard lock(sinkMutex);
    commonSink = sink ? Sink{sink, user} : Sink{};
}

ThreadLogSink::ThreadLogSink(LogSink sink, void* user)
    : m_outer(std::exchange(threadSink.call, sink ? sink : Drop)),
      m_outerUser(std::exchange(threadSink.user, user))
{
}

ThreadLogSink::~ThreadLogSink()
{
    threadSink = {m_outer, m_outerUser};
}

void LogError(const char* format, ...)
{
    std::va_list args;
    va_start(args, format);
    Log(LogLevel::Error, format, args);
    va_end(args);
}

void LogWarning(const char* format, ...)
{
    std::va_list args;
    va_start(args, format);
    Log(LogLevel::Warning, format, args);
    va_end(args);
}

}  // namespace vela
