#include <vlio2/FileStream.h>

#include <platform/Files.h>
#include <vlio2/Failures.h>

#include <string>
#include <utility>

namespace vlio {

namespace {

using vela::vlgim::Error;
using vela::vlgim::ErrorKind;

// What the status of a file has against reading it; null: nothing.
const char* WhyNoFile(const platform::FileStatus& status)
{
    if (status.kind == platform::FileKind::Folder)
        return "it is a folder";
    return status.kind == platform::FileKind::Other ? "it is a pipe or a device" : nullptr;
}

Error Unreadable(const char* path, int reason, std::string text)
{
    return Failure(ErrorKind::Unreadable, reason, path, std::move(text));
}

Error WhyNotOpened(const char* path, int reason)
{
    platform::FileStatus status;
    if (const int missing = platform::GetStatus(path, status))
        return Failure(ErrorKind::NotFound, missing, path, platform::ReasonText(missing));
    const char* const why = WhyNoFile(status);
    return Unreadable(path, reason, why ? why : platform::ReasonText(reason));
}

Error ReadWhole(const char* path, Bytes& bytes)
{
    platform::File file;
    if (const int reason = file.OpenToRead(path))
        return WhyNotOpened(path, reason);
    platform::FileStatus status;
    if (const int reason = file.GetStatus(status))
        return Unreadable(path, reason, platform::ReasonText(reason));
    if (const char* why = WhyNoFile(status))
        return Unreadable(path, 0, why);
    if (status.size >= bytes.max_size())
        return Unreadable(path, 0, "it is too large");

    // One byte more than the file says it has, so that the same read tells whether it grew.
    bytes.resize(static_cast<std::size_t>(status.size) + 1);
    std::size_t total = 0, got = 0;
    do {
        if (const int reason = file.Read(bytes.data() + total, bytes.size() - total, got))
            return Unreadable(path, reason, platform::ReasonText(reason));
        total += got;
    } while (got != 0 && total < status.size);
    bytes.pop_back();
    return total == status.size ? Error() : Unreadable(path, 0, "it changed while it was read");
}

}  // namespace

Error ReadFile(const char* path, Bytes& bytes)
{
    Error error = ReadWhole(path, bytes);
    if (error)
        bytes.clear();
    return error;
}

bool FileStream::ReadAllBinary(const char* path, Bytes& bytes, FileSystemType)
{
    return !ReadFile(path, bytes);
}

bool FileStream::Exists(const char* path, FileSystemType)
{
    platform::FileStatus status;
    return platform::GetStatus(path, status) == 0;
}

}  // namespace vlio
