#include "report/FindingLines.h"

#include "report/Json.h"
#include "report/Print.h"

#include <algorithm>
#include <string_view>

namespace vela::vlgim::tools {

namespace {

struct SeverityText {
    const char *name, *color;
};

SeverityText TextOf(Severity severity)
{
    constexpr SeverityText texts[] = {
        {"note", "\033[1;36m"}, {"warning", "\033[1;35m"}, {"error", "\033[1;31m"}};
    return texts[static_cast<std::size_t>(severity)];
}

bool Holds(const std::vector<std::string>& codes, const FindingCode& code)
{
    return std::find(codes.begin(), codes.end(), code.name) != codes.end();
}

// As compilers print theirs, so that editors find the place.
std::string TextLine(const Finding& finding, bool isColored)
{
    std::string text = Shown(finding.file);
    if (finding.line != 0)
        text += ':' + std::to_string(finding.line) + ':' + std::to_string(finding.column);
    const auto [name, color] = TextOf(finding.code->severity);
    text += isColored ? std::string(": ") + color + name + ":\033[0m " : std::string(": ") + name + ": ";
    text += Shown(finding.text);
    if (const std::string place = PlaceIn(finding); !place.empty())
        text += " (" + place + ')';
    return text + " [" + finding.code->name + ']';
}

std::string JsonLine(const Finding& finding)
{
    Json line = Line("finding", {{"code", finding.code->name},
                                 {"severity", NameOf(finding.code->severity)},
                                 {"file", Shown(finding.file)},
                                 {"block", Shown(finding.block)}});
    if (finding.offset)
        line["offset"] = *finding.offset;
    if (finding.line != 0)
        line.update({{"line", finding.line}, {"column", finding.column}});
    line["text"] = Shown(finding.text);
    return line.dump();
}

}  // namespace

bool FindingFormat::Wants(const FindingCode& code) const
{
    // A file that can't be read was not checked for anything, so that it has to be named all the same.
    return !Holds(ignore, code) && (only.empty() || Holds(only, code) || IsUnreadable(code));
}

std::string FindingFormat::Line(const Finding& finding) const
{
    return isJson ? JsonLine(finding) : TextLine(finding, isColored);
}

const char* NameOf(Severity severity)
{
    return TextOf(severity).name;
}

bool IsUnreadable(const FindingCode& code)
{
    return code.name == std::string_view("unreadable");
}

std::string PlaceIn(const Finding& finding)
{
    std::string block = Shown(finding.block);
    if (!finding.offset)
        return block;
    return block + (block.empty() ? "byte " : ", byte ") + std::to_string(*finding.offset);
}

}  // namespace vela::vlgim::tools
