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
    platform::File file;
    platform::FileStatus status;
    const int refused = file.Open(path, platform::Access::Read);
    if (const int missing = refused ? platform::GetStatus(path, status) : file.GetStatus(status))
        return Failure(refused ? ErrorKind::NotFound : ErrorKind::Unreadable, missing, path);
    const auto unreadable = [&](const char* why) {
        return Failure(ErrorKind::Unreadable, refused, path, why);
    };
    if (status.kind != platform::FileKind::Regular)
        return unreadable(status.kind == platform::FileKind::Folder ? "it is a folder"
                                                                    : "it is a pipe or a device");
    if (refused)
        return Failure(ErrorKind::Unreadable, refused, path);
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
