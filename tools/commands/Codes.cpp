#include "commands/Commands.h"
#include "report/CodeNames.h"
#include "report/FindingLines.h"
#include "report/Json.h"

#include <cstdio>
#include <memory>

namespace vela::vlgim::tools {

namespace {

struct CodesSettings {
    std::vector<std::string> codes;  // all, if empty
    bool isJson = false;
    bool isMarkdown = false;
};

void PrintText(const FindingCode& code)
{
    std::printf("%s (%s%s)\n    %s\n    %s\n", code.name, NameOf(code.severity), code.isDrop ? ", drops" : "",
                code.meaning, code.whatToDo);
}

void PrintJson(const FindingCode& code)
{
    PrintLine(Line("code", {{"code", code.name},
                            {"severity", NameOf(code.severity)},
                            {"drops", code.isDrop},
                            {"meaning", code.meaning},
                            {"what_to_do", code.whatToDo}}));
}

void PrintRow(const FindingCode& code)
{
    std::printf("| `%s` | %s%s | %s | %s |\n", code.name, NameOf(code.severity), code.isDrop ? ", drops" : "",
                code.meaning, code.whatToDo);
}

constexpr const char* kPageHead = R"(# What `vlgim check` finds

- An **error** means that the file, or something in it, can't be used as it is.
- A **warning** is about something that the formats allow but that causes trouble, or that a save loses.
- A **note** is for information only.
- **drops** marks data that is not read, so a save leaves it out. `vlgim upgrade` skips such files unless `--drop` allows
  it.

A file gives at most 20 findings of one code. One more finding then tells how many there are beyond them.

This page is the output of `vlgim codes --markdown`.

| Code | Severity | What it means | What to do |
|---|---|---|---|
)";

int PrintCodes(const CodesSettings& options)
{
    if (options.isMarkdown)
        std::printf("%s", kPageHead);
    const auto print = options.isMarkdown ? PrintRow : options.isJson ? PrintJson : PrintText;
    if (options.codes.empty())
        for (const FindingCode& code : FindingCodes())
            print(code);
    for (const std::string& name : options.codes)
        print(*FindFindingCode(name));
    return kClean;
}

}  // namespace

void AddCodes(CLI::App& app, std::function<int()>& run)
{
    const auto options = std::make_shared<CodesSettings>();
    CLI::App* codes = app.add_subcommand("codes", "Explain the codes of findings");
    AddCodeOption(*codes, "CODE", options->codes, "Codes to explain; default: all")->allow_extra_args();
    CLI::Option* json =
        codes->add_flag("--json", options->isJson, "Print one JSON object per code, one per line");
    codes->add_flag("--markdown", options->isMarkdown, "Print all of it as a Markdown page")->excludes(json);
    codes->footer(R"(Examples:
  vlgim codes weight-sum                    what the code means, and what to do
  vlgim codes --json | jq -r 'select(.drops) | .code')");
    codes->callback([options, &run] { run = [options] { return PrintCodes(*options); }; });
}

}  // namespace vela::vlgim::tools
