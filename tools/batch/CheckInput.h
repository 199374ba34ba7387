#pragma once

#include "batch/Inputs.h"
#include "report/FindingLines.h"

#include <platform/Files.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vela::vlgim::tools {

using platform::FileId;

/// Identifies the file of a path, however it is named. None: there is no such file.
std::optional<FileId> IdOf(const std::string& path);

/// The check of one input, kept until its turn to be printed comes.
struct CheckedInput {
    struct Line {
        std::string text;
        const FindingCode* code;
        bool isOfOther;  ///< about a file that belongs to the input, and may belong to other inputs too
    };

    std::vector<Line> lines;
    std::vector<FileId> read;    ///< files that were read
    std::vector<FileId> unread;  ///< files that exist and could not be read
    std::uint64_t bytes = 0;     ///< read
};

/// Checks an input with the files that belong to it. May be called on any thread.
CheckedInput CheckInput(const Input& input, const CheckOptions& options, const FindingFormat& format);

}  // namespace vela::vlgim::tools
