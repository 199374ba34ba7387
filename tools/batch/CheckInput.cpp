#include "batch/CheckInput.h"

#include <new>

namespace vela::vlgim::tools {

namespace {

CheckResult TroubleWith(const std::string& path, const char* code, const std::string& text)
{
    CheckResult result;
    Finding& finding = result.findings.emplace_back();
    finding.code = FindFindingCode(code);
    finding.file = path;
    finding.text = text;
    return result;
}

// One input that takes too much memory doesn't end the check of the others.
CheckResult Check(const Input& input, const CheckOptions& options)
try {
    if (!input.trouble.empty())
        return TroubleWith(input.path, "unreadable", "the folder can't be read: " + input.trouble);
    return CheckFile(input.path.c_str(), options);
} catch (const std::bad_alloc&) {
    return TroubleWith(input.path, "memory-limit", "the machine has not enough memory to check it");
}

void AddId(std::vector<FileId>& ids, const std::string& path)
{
    if (const std::optional<FileId> id = IdOf(path))
        ids.push_back(*id);
}

}  // namespace

std::optional<FileId> IdOf(const std::string& path)
{
    platform::FileStatus status;
    return platform::GetStatus(path.c_str(), status) == 0 ? std::optional(status.id) : std::nullopt;
}

CheckedInput CheckInput(const Input& input, const CheckOptions& options, const FindingFormat& format)
{
    const CheckResult result = Check(input, options);
    CheckedInput checked;
    checked.bytes = result.bytes;
    for (const std::string& file : result.files)
        AddId(checked.read, file);
    for (const Finding& finding : result.findings) {
        if (IsUnreadable(*finding.code))
            AddId(checked.unread, finding.file);
        if (format.Wants(*finding.code))
            checked.lines.push_back({format.Line(finding), finding.code, finding.file != input.path});
    }
    return checked;
}

}  // namespace vela::vlgim::tools
