#include "report/FindingLines.h"

#include "report/CodeNames.h"
#include "report/Json.h"
#include "report/Print.h"

namespace vela::vlgim::tools {

namespace {

const char* ColorOf(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return "\033[1;31m";
    case Severity::Warning:
        return "\033[1;35m";
    default:
        return "\033[1;36m";
    }
}

}  // namespace

std::string TextLine(const Finding& finding, bool isColored)
{
    std::string text = Shown(finding.file);
    if (finding.line != 0)
        text += ':' + std::to_string(finding.line) + ':' + std::to_string(finding.column);
    const Severity severity = finding.code->severity;
    text += isColored ? std::string(": ") + ColorOf(severity) + NameOf(severity) + ":\033[0m "
                      : std::string(": ") + NameOf(severity) + ": ";
    text += Shown(finding.text);
    if (const std::string place = PlaceIn(finding); !place.empty())
        text += " (" + place + ')';
    return text + " [" + finding.code->name + ']';
}

std::string JsonLine(const Finding& finding)
{
    Json line = BeginLine("finding");
    line["code"] = finding.code->name;
    line["severity"] = NameOf(finding.code->severity);
    line["file"] = Shown(finding.file);
    line["block"] = Shown(finding.block);
    if (finding.offset)
        line["offset"] = *finding.offset;
    if (finding.line != 0) {
        line["line"] = finding.line;
        line["column"] = finding.column;
    }
    line["text"] = Shown(finding.text);
    return line.dump();
}

std::string PlaceIn(const Finding& finding)
{
    std::string block = Shown(finding.block);
    if (!finding.offset)
        return block;
    return block + (block.empty() ? "byte " : ", byte ") + std::to_string(*finding.offset);
}

}  // namespace vela::vlgim::tools
