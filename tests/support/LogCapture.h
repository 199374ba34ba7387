#pragma once

#include <corecommon/Log.h>

#include <string>
#include <utility>
#include <vector>

namespace vela::vlgim::test {

using Lines = std::vector<std::string>;

/// Collects what is logged during its life, as "E text" and "W text"; inside another one's life, in its place.
class LogCapture {
public:
    LogCapture() : m_outer(std::exchange(s_inner, this)) { SetLogSink(&Collect, this); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture()
    {
        s_inner = m_outer;
        SetLogSink(m_outer ? &Collect : nullptr, m_outer);
    }

    Lines lines;

private:
    static void Collect(LogLevel level, const char* text, void* user)
    {
        static_cast<LogCapture*>(user)->lines.push_back((level == LogLevel::Error ? "E " : "W ") +
                                                        std::string(text));
    }

    static inline LogCapture* s_inner = nullptr;
    LogCapture* m_outer;
};

}  // namespace vela::vlgim::test
