#include "report/Terminal.h"

#include <platform/Files.h>

#include <cstdlib>
#include <string_view>

namespace vela::vlgim::tools {

bool CanRewrite(std::FILE* stream)
{
    const char* kind = std::getenv("TERM");
    return platform::IsTerminal(stream) && kind && std::string_view(kind) != "dumb";
}

bool CanColor(std::FILE* stream)
{
    const char* noColor = std::getenv("NO_COLOR");
    return CanRewrite(stream) && (!noColor || !*noColor);
}

}  // namespace vela::vlgim::tools
