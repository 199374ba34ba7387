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
    while (!line.empty() && line.back() == '\n')
        line.pop_back();
    line += '\n';
    std::fputs(line.c_str(), stderr);
}

struct Sink {
    LogSink call = WriteToStderr;
    void* user = nullptr;
};

constinit std::mutex sinkMutex;
constinit Sink currentSink;

}  // namespace

// Hands a message to the innermost sink of this thread; false if it has none.
struct ThreadLog {
    static constinit inline thread_local ThreadLogSink* innermost = nullptr;

    static bool Take(LogLevel level, const char* text)
    {
        if (innermost && innermost->m_sink)
            innermost->m_sink(level, text, innermost->m_user);
        return innermost != nullptr;
    }
};

namespace {

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

    if (ThreadLog::Take(level, text.c_str()))
        return;
    Sink sink;
    {
        const std::lock_guard lock(sinkMutex);
        sink = currentSink;
    }
    // Not under the lock: a sink may log, or set another sink.
    sink.call(level, text.c_str(), sink.user);
}

}  // namespace

void SetLogSink(LogSink sink, void* user)
{
    const std::lock_guard lock(sinkMutex);
    currentSink = sink ? Sink{sink, user} : Sink{};
}

ThreadLogSink::ThreadLogSink(LogSink sink, void* user)
    : m_sink(sink), m_user(user), m_outer(std::exchange(ThreadLog::innermost, this))
{
}

ThreadLogSink::~ThreadLogSink()
{
    ThreadLog::innermost = m_outer;
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
