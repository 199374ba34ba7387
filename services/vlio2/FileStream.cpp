#include <vlio2/FileStream.h>

#include <platform/Files.h>
#include <vlio2/Failures.h>

#include <utility>

namespace vlio {

namespace platform = vela::platform;
using vela::vlgim::Error;
using vela::vlgim::ErrorKind;

Error ReadFile(const char* path, Bytes& bytes)
{
    bytes.clear();
    platform::FileStatus status;
    if (const int reason = platform::GetStatus(path, status))
        return Failure(platform::IsMissing(reason) ? ErrorKind::NotFound : ErrorKind::Unreadable, reason,
                       path);
    const auto unreadable = [path](const char* why) { return Failure(ErrorKind::Unreadable, 0, path, why); };
    const auto isRegular = [&status] { return status.kind == platform::FileKind::Regular; };
    // To open a device may already do something.
    if (!isRegular())
        return unreadable(status.kind == platform::FileKind::Folder ? "it is a folder"
                                                                    : "it is a pipe or a device");
    platform::File file;
    const int refused = file.Open(path, platform::Access::Read);
    if (const int reason = refused ? refused : file.GetStatus(status))
        return Failure(ErrorKind::Unreadable, reason, path);
    if (!isRegular())
        return unreadable("it changed while it was read");
    if (status.size >= bytes.max_size())
        return unreadable("it is too large");

    // One byte more than the file says it has, so that the same read tells whether it grew.
    Bytes read(static_cast<std::size_t>(status.size) + 1);
    std::size_t total = 0, got = 0;
    do {
        if (const int reason = file.Read(read.data() + total, read.size() - total, got))
            return Failure(ErrorKind::Unreadable, reason, path);
        total += got;
    } while (got != 0 && total < status.size);
    if (total != status.size)
        return unreadable("it changed while it was read");
    read.pop_back();
    bytes = std::move(read);
    return {};
}

bool FileStream::Exists(const char* path, FileSystemType)
{
    platform::FileStatus status;
    return platform::GetStatus(path, status) == 0;
}

}  // namespace vlio
