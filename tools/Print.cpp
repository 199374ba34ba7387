#include "Print.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace vela::vlgim::tools {

void Row(const char* label, const char* format, ...)
{
    std::printf("  %-12s", label);
    std::va_list args;
    va_start(args, format);
    std::vprintf(format, args);
    va_end(args);
    std::printf("\n");
}

std::string Grouped(std::uint64_t number)
{
    std::string text = std::to_string(number);
    for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<std::size_t>(at), 1, ',');
    return text;
}

std::string Shown(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 32; }, '?');
    return text;
}

std::string Shown(const char (&field)[32])
{
    return Shown(std::string(field, strnlen(field, sizeof field)));
}

}  // namespace vela::vlgim::tools
