#include <vlgim/Error.h>

namespace vela::vlgim {

std::string Error::Message() const
{
    if (kind == ErrorKind::None)
        return {};
    std::string message = file;
    const auto append = [&message](const char* between, const std::string& more) {
        message += (message.empty() ? "" : between) + more;
    };
    if (!block.empty())
        append(": ", block);
    if (offset)
        append(block.empty() ? ": " : " ", "at byte " + std::to_string(*offset));
    append(": ", text);
    return message;
}

}  // namespace vela::vlgim
