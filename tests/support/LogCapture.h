#pragma once

#include <corecommon/Log.h>

#include <string>
#include <vector>

namespace vela::vlgim::test {

/// Collects what is logged during its life, as "E text" and "W text".
class LogCapture {
public:
    LogCapture()
    {
        SetLogSink(
            [](LogLevel level, const char* text, void* user) {
                static_cast<LogCapture*>(user)->lines.push_back((level == LogLevel::Error ? "E " : "W ") +
                                                                std::string(text));
            },
            this);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture() { SetLogSink(nullptr, nullptr); }

    std::vector<std::string> lines;
};

}  // namespace vela::vlgim::test
