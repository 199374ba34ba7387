#include <platform/Console.h>

#include <unistd.h>

namespace platform {

bool IsTerminal(std::FILE* stream)
{
    return ::isatty(::fileno(stream)) == 1;
}

}  // namespace platform
