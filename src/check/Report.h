#pragma once

#include "Codes.h"

#include <vlgim/Error.h>
#include <vlgim/Findings.h>
#include <vlio2/FileStream.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vela::vlgim::check {

/// Where in a file something was found.
struct Where {
    std::string block;
    std::optional<std::uint64_t> offset;
    std::uint32_t line = 0, column = 0;
};

/// The findings of one file.
class FileReport {
public:
    explicit FileReport(std::string path) : m_path(std::move(path)) {}

    /// The first kMost of a code are kept, the others counted.
    void Add(Code code, const Where& where, const std::string& text);

    /// Why the file was refused, or something in it can't be written.
    void Add(const Error& error);

    /// Whether one more of a code would be kept: its text and place are worth working out.
    bool Keeps(Code code) const { return m_counts[code.index] < kMost; }

    /// Whether anything tells that a save changes the file.
    bool TellsOfSave() const;

    const std::string& Path() const { return m_path; }

    /// Appends all that was found, with a last one for each code of which there were more.
    void MoveTo(std::vector<Finding>& findings);

private:
    static constexpr std::uint64_t kMost = 20;

    std::string m_path;
    std::vector<Finding> m_findings;
    std::array<std::uint64_t, std::size(codes::kTable)> m_counts{};
};

/// Ends a check, from the callback up to the operation that was called.
struct Cancelled {};

/// One check with all its files: what was asked, what was found, how much is in memory.
class Session {
public:
    explicit Session(const CheckOptions& options) : m_options(options) {}

    const CheckOptions& Options() const { return m_options; }
    const char* Base() const { return m_options.base ? m_options.base->c_str() : nullptr; }

    /// Bytes that may be held beside `taken`.
    std::uint64_t Left(std::uint64_t taken) const
    {
        return m_options.memoryLimit - std::min(m_options.memoryLimit, taken);
    }

    /// Begins with a file, whose bytes count as read; the reference holds to the end of the session.
    FileReport& Begin(const std::string& path, std::uint64_t bytes);

    /// A report of a file that is not read.
    FileReport& BeginUnread(const std::string& path) { return m_reports.emplace_back(path); }

    /// Says where the check is; throws Cancelled.
    void Step(const FileReport& report) const;

    CheckResult Finish(bool isCancelled);

private:
    const CheckOptions& m_options;
    std::deque<FileReport> m_reports;
    std::vector<std::string> m_files;
    std::uint64_t m_bytes = 0;
};

/// A file that was read to be checked.
struct Input {
    Session& session;
    FileReport& report;
    vlio::Bytes image;

    std::string_view Text() const { return {reinterpret_cast<const char*>(image.data()), image.size()}; }
};

}  // namespace vela::vlgim::check
