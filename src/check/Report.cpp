#include "Report.h"

#include <algorithm>
#include <iterator>

namespace vela::vlgim {

std::size_t CheckResult::Count(Severity severity) const
{
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(),
                      [severity](const Finding& f) { return f.code->severity == severity; }));
}

namespace check {

namespace {

struct Cause {
    ErrorKind kind;
    Code code;
};

constexpr Cause kCauses[] = {
    {ErrorKind::NotFound, "missing-file"},   {ErrorKind::Unreadable, "unreadable"},
    {ErrorKind::Document, "bad-xml"},        {ErrorKind::Magic, "bad-header"},
    {ErrorKind::Version, "bad-version"},     {ErrorKind::MemoryLimit, "memory-limit"},
    {ErrorKind::Unwritable, "save-refused"}, {ErrorKind::NotCreated, "save-refused"},
    {ErrorKind::NotWritten, "save-refused"}};

Code CodeOf(ErrorKind kind)
{
    const auto* cause = std::find_if(std::begin(kCauses), std::end(kCauses),
                                     [kind](const Cause& candidate) { return candidate.kind == kind; });
    return cause == std::end(kCauses) ? Code("damaged") : cause->code;
}

}  // namespace

void FileReport::Add(Code code, const Where& where, const std::string& text)
{
    if (++m_counts[code.index] <= kMost)
        m_findings.push_back(
            {&codes::kTable[code.index], m_path, where.block, where.offset, where.line, where.column, text});
}

void FileReport::Add(const Error& error)
{
    Add(CodeOf(error.kind), {error.block, error.offset}, error.text);
}

bool FileReport::TellsOfSave() const
{
    return std::any_of(m_findings.begin(), m_findings.end(), [](const Finding& finding) {
        return std::string_view(finding.code->name).starts_with("save-");
    });
}

void FileReport::MoveTo(std::vector<Finding>& findings)
{
    findings.insert(findings.end(), std::make_move_iterator(m_findings.begin()),
                    std::make_move_iterator(m_findings.end()));
    for (std::size_t code = 0; code < m_counts.size(); ++code)
        if (m_counts[code] > kMost)
            findings.push_back({&codes::kTable[code], m_path, "", std::nullopt, 0, 0,
                                std::to_string(m_counts[code] - kMost) + " more of this kind in the file"});
}

FileReport& Session::Begin(const std::string& path, std::uint64_t bytes)
{
    m_files.push_back(path);
    m_bytes += bytes;
    FileReport& report = m_reports.emplace_back(path);
    Step(report);
    return report;
}

void Session::Step(const FileReport& report) const
{
    if (m_options.progress && !m_options.progress({report.Path(), m_bytes}))
        throw Cancelled();
}

CheckResult Session::Finish(bool isCancelled)
{
    CheckResult result{{}, std::move(m_files), m_bytes, isCancelled};
    for (FileReport& report : m_reports)
        report.MoveTo(result.findings);
    return result;
}

}  // namespace check

}  // namespace vela::vlgim
