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

Code CodeOf(ErrorKind kind)
{
    switch (kind) {
    case ErrorKind::NotFound:
        return Code::MissingFile;
    case ErrorKind::Unreadable:
        return Code::Unreadable;
    case ErrorKind::Document:
        return Code::BadXml;
    case ErrorKind::Magic:
        return Code::BadHeader;
    case ErrorKind::Version:
        return Code::BadVersion;
    case ErrorKind::MemoryLimit:
        return Code::MemoryLimit;
    case ErrorKind::Unwritable:
    case ErrorKind::NotCreated:
    case ErrorKind::NotWritten:
        return Code::SaveRefused;
    default:
        return Code::Damaged;
    }
}

}  // namespace

void FileReport::Add(Code code, const Where& where, const std::string& text)
{
    const auto index = static_cast<std::size_t>(code);
    if (++m_counts[index] <= kMost)
        m_findings.push_back(
            {&FindingCodes()[index], m_path, where.block, where.offset, where.line, where.column, text});
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

std::vector<Finding> FileReport::Take()
{
    for (std::size_t code = 0; code < kCodeCount; ++code)
        if (m_counts[code] > kMost)
            m_findings.push_back({&FindingCodes()[code], m_path, "", std::nullopt, 0, 0,
                                  std::to_string(m_counts[code] - kMost) + " more of this kind in the file"});
    return std::move(m_findings);
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
    CheckResult result;
    for (FileReport& report : m_reports) {
        std::vector<Finding> findings = report.Take();
        result.findings.insert(result.findings.end(), std::make_move_iterator(findings.begin()),
                               std::make_move_iterator(findings.end()));
    }
    result.files = std::move(m_files);
    result.bytes = m_bytes;
    result.isCancelled = isCancelled;
    return result;
}

}  // namespace check

}  // namespace vela::vlgim
