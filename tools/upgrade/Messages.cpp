#include "upgrade/Messages.h"

#include <string_view>

namespace vela::vlgim::tools {

void Messages::Keep(LogLevel level, const char* text, void* self)
{
    auto& messages = *static_cast<Messages*>(self);
    std::string_view message = text;
    // Some messages end their line themselves.
    if (message.ends_with('\n'))
        message.remove_suffix(1);
    messages.m_text.append(messages.m_text.empty() ? "" : "; ").append(message);
    messages.m_hasErrors |= level == LogLevel::Error;
}

}  // namespace vela::vlgim::tools
