#include "commands/Commands.h"
#include "report/CodeNames.h"
#include "report/Json.h"

#include <cstdio>
#include <memory>

namespace vela::vlgim::tools {

namespace {

struct Options {
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
    Json line = BeginLine("code");
    line.update({{"code", code.name},
                 {"severity", NameOf(code.severity)},
                 {"drops", code.isDrop},
                 {"meaning", code.meaning},
                 {"what_to_do", code.whatToDo}});
    PrintLine(line);
}

void PrintRow(const FindingCode& code)
{
    std::printf("| `%s` | %s%s | %s | %s |\n", code.name, NameOf(code.severity), code.isDrop ? ", drops" : "",
                code.meaning, code.whatToDo);
}

void PrintPageHead()
{
    std::printf("%s", R"(# What `vlgim check` finds

An **error** says that the file, or something in it, can't be used as it is. A **warning** is of something that the
formats allow and people suffer from, or of something that a save loses. A **note** is worth knowing, and no more. What
is marked **drops** is not read, so that a save leaves it out: `vlgim upgrade` passes such files over unless `--drop`
allows it. A file gives at most 20 findings of one code, and one more that says how many there are beyond them.

This page is what `vlgim codes --markdown` prints.

| Code | Severity | What it means | What to do |
|---|---|---|---|
)");
}

int PrintCodes(const Options& options)
{
    if (options.isMarkdown)
        PrintPageHead();
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
    const auto options = std::make_shared<Options>();
    CLI::App* codes = app.add_subcommand("codes", "Explain the codes of findings");
    AddCodeOption(*codes, "CODE", options->codes, "Codes to explain; all, if none is given")
        ->allow_extra_args();
    CLI::Option* json = codes->add_flag("--json", options->isJson, "Print one JSON object a code and line");
    codes->add_flag("--markdown", options->isMarkdown, "Print a page of documentation")->excludes(json);
    codes->footer(R"(Examples:
  vlgim codes weight-sum                    what it means, and what to do
  vlgim codes --json | jq -r 'select(.drops) | .code')");
    codes->callback([options, &run] { run = [options] { return PrintCodes(*options); }; });
}

}  // namespace vela::vlgim::tools
