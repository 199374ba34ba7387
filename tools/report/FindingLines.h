#pragma once

#include <vlgim/Findings.h>

#include <string>
#include <vector>

namespace vela::vlgim::tools {

/// Which findings are printed, and in which form.
struct FindingFormat {
    std::vector<std::string> ignore;  ///< codes that are not printed
    std::vector<std::string> only;    ///< codes that are, besides unreadable files; empty: all
    bool isJson = false;  ///< as docs/vlgim.schema.json describes a finding; else as compilers print theirs
    bool isColored = false;  ///< text alone; colours go by severity

    bool Wants(const FindingCode& code) const;

    /// Without a line's end.
    std::string Line(const Finding& finding) const;
};

/// As people write it: "error", "warning" or "note".
const char* NameOf(Severity severity);

/// Whether findings of this code are about files that can't be read.
bool IsUnreadable(const FindingCode& code);

/// Where in the file, as in "skin, byte 1200"; empty: the file as a whole.
std::string PlaceIn(const Finding& finding);

}  // namespace vela::vlgim::tools
