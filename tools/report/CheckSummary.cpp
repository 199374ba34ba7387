#include "report/CheckSummary.h"

#include "report/FindingLines.h"
#include "report/Json.h"
#include "report/Print.h"

#include <cstdio>

namespace vela::vlgim::tools {

void CheckSummary::Add(const FindingCode& code)
{
    ++findings[static_cast<std::size_t>(code.severity)];
    unreadable += IsUnreadable(code) ? 1 : 0;
}

void PrintText(const CheckSummary& summary, double seconds)
{
    std::fflush(stdout);
    std::fprintf(stderr, "%s, %.1f MB in %.1f s: %s, %s, %s; %s unreadable\n",
                 Counted(summary.files, "file", "files").c_str(), static_cast<double>(summary.bytes) / 1e6,
                 seconds, Counted(summary.Count(Severity::Error), "error", "errors").c_str(),
                 Counted(summary.Count(Severity::Warning), "warning", "warnings").c_str(),
                 Counted(summary.Count(Severity::Note), "note", "notes").c_str(),
                 Grouped(summary.unreadable).c_str());
}

void PrintJson(const CheckSummary& summary, bool isInterrupted)
{
    Json line = BeginLine("summary");
    line.update({{"files", summary.files},
                 {"bytes", summary.bytes},
                 {"errors", summary.Count(Severity::Error)},
                 {"warnings", summary.Count(Severity::Warning)},
                 {"notes", summary.Count(Severity::Note)},
                 {"unreadable", summary.unreadable},
                 {"interrupted", isInterrupted}});
    PrintLine(line);
}

}  // namespace vela::vlgim::tools
