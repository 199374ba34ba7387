#pragma once

#include <corecommon/Log.h>

#include <string>

namespace vela::vlgim::tools {

/// Keeps what this thread logs while it lives, so that it can be said of the file that it is about.
class Messages {
public:
    Messages() : m_sink(&Keep, this) {}

    bool HasErrors() const { return m_hasErrors; }

    /// All messages, with "; " between them.
    const std::string& Text() const { return m_text; }

private:
    static void Keep(LogLevel level, const char* text, void* self);

    std::string m_text;
    bool m_hasErrors = false;
    ThreadLogSink m_sink;
};

}  // namespace vela::vlgim::tools
