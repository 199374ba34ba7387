#include "Check.h"

#include <basekit/StringAlgo.h>
#include <platform/Files.h>

#include <filesystem>
#include <system_error>
#include <utility>

// Files that belong to others, and those that are not there.
namespace vela::vlgim::check {

namespace {

bool EqualsIgnoringCase(std::string a, std::string b)
{
    kit::StringAlgo::ToLower(a.data());
    kit::StringAlgo::ToLower(b.data());
    return a == b;
}

// The name in a folder that is spelled as `name` but for upper and lower case; empty where there is none, or not among the
// first so many: each of the models in a large folder may miss a file.
std::string InFolderIgnoringCase(const std::filesystem::path& folder, const std::string& name)
{
    constexpr int kMostEntries = 4096;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (int i = 0; !error && i < kMostEntries && entry != std::filesystem::directory_iterator(); ++i) {
        std::string found = entry->path().filename().string();
        if (found != name && EqualsIgnoringCase(found, name))
            return found;
        entry.increment(error);
    }
    return {};
}

// The path of an existing file that is spelled as `path` but for upper and lower case; empty where there is none.
std::string FindIgnoringCase(const std::filesystem::path& path)
{
    std::filesystem::path found;
    std::error_code error;
    for (const std::filesystem::path& component : path) {
        if (std::filesystem::exists(found / component, error)) {
            found /= component;
            continue;
        }
        const std::string name = InFolderIgnoringCase(found.empty() ? "." : found, component.string());
        if (name.empty())
            return {};
        found /= name;
    }
    return found.string();
}

}  // namespace

void ReportMissing(FileReport& by, const Where& where, const std::string& path)
{
    if (!by.Keeps("missing-file"))
        return by.Add("missing-file", where, "");
    const std::string other = FindIgnoringCase(path);
    std::error_code noLink;
    by.Add("missing-file", where,
           path +
               (std::filesystem::is_symlink(path, noLink) ? " is a link to a file that doesn't exist"
                                                          : " doesn't exist") +
               (other.empty() ? "" : "; there is " + other + ", which differs only in case"));
}

std::optional<Input> ReadFile(Session& session, const std::string& path, FileReport* by, const Where& where)
{
    platform::FileStatus status;
    if (platform::IsMissing(platform::GetStatus(path.c_str(), status))) {
        if (by)
            ReportMissing(*by, where, path);
        return std::nullopt;
    }
    if (status.kind == platform::FileKind::Regular && status.size > session.Options().memoryLimit) {
        session.BeginUnread(path).Add("memory-limit", {}, "the file is larger than the memory limit");
        return std::nullopt;
    }
    vlio::Bytes image;
    if (Error error = vlio::ReadFile(path.c_str(), image)) {
        error.text.insert(0, "the file can't be read: ");
        session.BeginUnread(path).Add(error);
        return std::nullopt;
    }
    FileReport& report = session.Begin(path, image.size());
    return Input{session, report, std::move(image)};
}

}  // namespace vela::vlgim::check
