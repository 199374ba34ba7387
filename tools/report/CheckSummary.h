#pragma once

#include <vlgim/Findings.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace vela::vlgim::tools {

/// Totals of a check of many files.
struct CheckSummary {
    std::array<std::uint64_t, 3> findings{};  ///< printed, by severity
    std::uint64_t files = 0;                  ///< read, each once
    std::uint64_t bytes = 0;                  ///< read
    std::uint64_t unreadable = 0;             ///< findings of this code

    void Add(const FindingCode& code);

    std::uint64_t Count(Severity severity) const { return findings[static_cast<std::size_t>(severity)]; }
};

/// Prints one line for people to stderr.
void PrintText(const CheckSummary& summary, double seconds);

/// Prints the line of `check --json` to stdout. It leaves the time out, so that the output of the same files is the same.
void PrintJson(const CheckSummary& summary, bool isInterrupted);

}  // namespace vela::vlgim::tools
