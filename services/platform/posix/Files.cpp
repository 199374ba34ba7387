#include <platform/Files.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace platform {

namespace {

int ReasonOf(int result)
{
    return result < 0 ? errno : 0;
}

// Calls until it is not interrupted.
template <class Call>
auto Retry(const Call& call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

FileStatus Translated(const struct stat& status)
{
    FileStatus translated;
    if (S_ISREG(status.st_mode))
        translated.kind = FileKind::Regular;
    else if (S_ISDIR(status.st_mode))
        translated.kind = FileKind::Folder;
    translated.isWriteProtected = (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
    translated.id = {status.st_dev, status.st_ino};
    translated.size = static_cast<std::uint64_t>(status.st_size);
    translated.owner = status.st_uid;
    translated.group = status.st_gid;
    translated.permissions = status.st_mode;
    return translated;
}

int Open(int& handle, const char* path, int flags)
{
    handle = ::open(path, flags | O_CLOEXEC, 0666);
    return ReasonOf(handle);
}

// All bytes by a call that may write less than it is asked to.
template <class Put>
int WriteAll(const void* bytes, std::size_t size, const Put& put)
{
    const auto* next = static_cast<const unsigned char*>(bytes);
    while (size > 0) {
        const ssize_t written = Retry([&] { return put(next, size); });
        if (written < 0)
            return errno;
        next += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

}  // namespace

int GetStatus(const char* path, FileStatus& status)
{
    // For what is no link this is all that is asked: a small file is written about as fast as the system answers.
    struct stat found = {};
    int result = ::lstat(path, &found);
    status = {};
    const bool isLink = result == 0 && S_ISLNK(found.st_mode);
    if (isLink)
        result = ::stat(path, &found);
    if (result == 0)
        status = Translated(found);
    status.isLink = isLink;
    return ReasonOf(result);
}

int CheckWritable(const char* path)
{
    return ReasonOf(::faccessat(AT_FDCWD, path, W_OK, AT_EACCESS));
}

// In a folder with the sticky bit only the owner of a file or of the folder may replace the file.
bool MayReplace(const FileStatus& file, const char* folder)
{
    struct stat status = {};
    ::stat(folder, &status);
    const uid_t user = ::geteuid();
    return !(status.st_mode & S_ISVTX) || user == 0 || user == file.owner || user == status.st_uid;
}

int Replace(const char* from, const char* to)
{
    return ReasonOf(::rename(from, to));
}

void Remove(const char* path)
{
    ::unlink(path);
}

std::string ReasonText(int reason)
{
    return std::generic_category().message(reason);
}

int File::OpenToRead(const char* path)
{
    return Open(m_handle, path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
}

int File::OpenToWrite(const char* path)
{
    return Open(m_handle, path, O_WRONLY | O_NOCTTY);
}

int File::Create(const char* path)
{
    return Open(m_handle, path, O_WRONLY | O_CREAT | O_EXCL);
}

int File::GetStatus(FileStatus& status) const
{
    struct stat found = {};
    const int reason = ReasonOf(::fstat(m_handle, &found));
    status = Translated(found);
    return reason;
}

// Only root can give a file away, and some file systems know no owners. Special bits and the rights of a group are for
// the old owner and the old group alone.
void File::TakeRights(const FileStatus& of) const
{
    mode_t kept = 07777;
    if (::fchown(m_handle, of.owner, of.group) != 0)
        kept = ::fchown(m_handle, uid_t(-1), of.group) == 0 ? 0777 : 0707;
    ::fchmod(m_handle, of.permissions & kept);
}

int File::Read(void* bytes, std::size_t size, std::size_t& got) const
{
    const ssize_t result = Retry([&] { return ::read(m_handle, bytes, size); });
    got = result < 0 ? 0 : static_cast<std::size_t>(result);
    return result < 0 ? errno : 0;
}

int File::Write(const void* bytes, std::size_t size) const
{
    return WriteAll(bytes, size,
                    [this](const void* next, std::size_t left) { return ::write(m_handle, next, left); });
}

int File::WriteAt(std::uint64_t position, const void* bytes, std::size_t size) const
{
    return WriteAll(bytes, size, [&](const void* next, std::size_t left) {
        const ssize_t written = ::pwrite(m_handle, next, left, static_cast<off_t>(position));
        position += written < 0 ? 0 : static_cast<std::uint64_t>(written);
        return written;
    });
}

int File::SetSize(std::uint64_t size) const
{
    return ReasonOf(::ftruncate(m_handle, static_cast<off_t>(size)));
}

int File::Close()
{
    const int result = m_handle < 0 ? 0 : ::close(m_handle);
    m_handle = -1;
    return ReasonOf(result);
}

std::int64_t Tell(std::FILE* stream)
{
    return ::ftello(stream);
}

bool Seek(std::FILE* stream, std::uint64_t position)
{
    return ::fseeko(stream, static_cast<off_t>(position), SEEK_SET) == 0;
}

}  // namespace platform
