#include "report/Print.h"

#include <platform/Files.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace vela::vlgim::tools {

namespace {

struct Character {
    char32_t code = 0;
    std::size_t length = 0;  // in bytes; 0: no UTF-8
};

// Of a text that is not empty. The shortest form of a character alone is UTF-8, and a half of a surrogate pair is no
// character (RFC 3629).
Character FirstCharacter(std::string_view text)
{
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return {lead, 1};
    const auto length = static_cast<std::size_t>(std::countl_one(lead));
    if (length < 2 || length > 4 || length > text.size())
        return {};
    char32_t code = lead & (0x7FU >> length);
    for (const char byte : text.substr(1, length - 1)) {
        if ((static_cast<unsigned char>(byte) & 0xC0U) != 0x80)
            return {};
        code = code << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    const bool isSurrogate = code >= 0xD800 && code < 0xE000;
    return code < smallest[length] || code > 0x10FFFF || isSurrogate ? Character{} : Character{code, length};
}

void AppendEscaped(std::string& text, char byte)
{
    char escape[5];
    std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned char>(byte));
    text += escape;
}

}  // namespace

std::string Hex(std::uint32_t number)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", number);
    return text;
}

std::string Grouped(std::uint64_t number)
{
    std::string text = std::to_string(number);
    for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<std::size_t>(at), 1, ',');
    return text;
}

std::string Counted(std::uint64_t number, const char* one, const char* many)
{
    return Grouped(number) + ' ' + (number == 1 ? one : many);
}

std::string Shown(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const Character first = FirstCharacter(text);
        const std::string_view bytes = text.substr(0, std::max<std::size_t>(first.length, 1));
        const bool isControl = first.code < 0x20 || (first.code >= 0x7F && first.code < 0xA0);
        if (first.length != 0 && !isControl)
            shown += bytes;
        else
            for (const char byte : bytes)
                AppendEscaped(shown, byte);
        text.remove_prefix(bytes.size());
    }
    return shown;
}

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
