#include <platform/Files.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#ifdef __linux__
#include <sys/xattr.h>
#endif
#include <unistd.h>
#include <utility>

namespace vela::platform {

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

// Gets the status from the result of a call that filled `found`.
int Convert(int result, const struct stat& found, FileStatus& status)
{
    if (result != 0)
        return errno;
    status.kind = S_ISREG(found.st_mode)   ? FileKind::Regular
                  : S_ISDIR(found.st_mode) ? FileKind::Folder
                                           : FileKind::Other;
    status.id = {found.st_dev, found.st_ino};
    status.size = static_cast<std::uint64_t>(found.st_size);
    status.owner = found.st_uid;
    status.group = found.st_gid;
    status.permissions = found.st_mode;
    return 0;
}

constexpr const char* kAccessList = "system.posix_acl_access";

// Copies what users and access control lists say. Other attributes belong to the system, which sets them itself.
int CopyAttributes(const char* from, int to)
{
#ifdef __linux__
    const ssize_t size = ::listxattr(from, nullptr, 0);
    std::string names(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    if (!names.empty() && ::listxattr(from, names.data(), names.size()) != size)
        return errno;
    for (std::size_t at = 0; at < names.size(); at += std::strlen(&names[at]) + 1) {
        const char* const name = &names[at];
        if (std::strncmp(name, "user.", 5) != 0 && std::strcmp(name, kAccessList) != 0)
            continue;
        const ssize_t length = ::getxattr(from, name, nullptr, 0);
        std::string value(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
        if (length < 0 || ::getxattr(from, name, value.data(), value.size()) != length ||
            ::fsetxattr(to, name, value.data(), value.size(), 0) != 0)
            return errno;
    }
#endif
    return 0;
}

}  // namespace

bool IsMissing(int reason)
{
    return reason == ENOENT || reason == ENOTDIR;
}

int GetStatus(const char* path, FileStatus& status)
{
    // For what is no link this is all that is asked: a small file is written about as fast as the system answers.
    struct stat found = {};
    int result = ::lstat(path, &found);
    status = {};
    status.isLink = result == 0 && S_ISLNK(found.st_mode);
    if (status.isLink)
        result = ::stat(path, &found);
    return Convert(result, found, status);
}

int CheckWritable(const char* path, const FileStatus& status)
{
    constexpr mode_t kAnybody = S_IWUSR | S_IWGRP | S_IWOTH;
    return (status.permissions & kAnybody) == 0 ? EACCES
                                                : ReasonOf(::faccessat(AT_FDCWD, path, W_OK, AT_EACCESS));
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

int File::Open(const char* path, Access access)
{
    // In the order of Access.
    static constexpr int kFlags[] = {O_RDONLY | O_NONBLOCK | O_NOCTTY, O_WRONLY | O_NOCTTY,
                                     O_WRONLY | O_CREAT | O_EXCL, O_WRONLY | O_CREAT | O_EXCL};
    m_handle = ::open(path, kFlags[static_cast<int>(access)] | O_CLOEXEC,
                      access == Access::CreatePrivate ? 0600 : 0666);
    // A regular file that another process holds a lease on, such as a file server, is there after a short wait.
    if (FileStatus status; m_handle < 0 && errno == EWOULDBLOCK && access == Access::Read &&
                           platform::GetStatus(path, status) == 0 && status.kind == FileKind::Regular)
        m_handle = Retry([path] { return ::open(path, O_RDONLY | O_NOCTTY | O_CLOEXEC); });
    // In a process that has closed its standard streams, the file would get what is printed.
    if (m_handle >= 0 && m_handle <= STDERR_FILENO) {
        const int low = std::exchange(m_handle, ::fcntl(m_handle, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        const int reason = ReasonOf(m_handle);
        ::close(low);
        if (reason != 0 && access >= Access::Create)
            ::unlink(path);
        return reason;
    }
    return ReasonOf(m_handle);
}

int File::GetStatus(FileStatus& status) const
{
    struct stat found = {};
    status = {};
    return Convert(::fstat(m_handle, &found), found, status);
}

// Only root can give a file away, and some file systems know no owners. Special bits and the rights of a group are for
// the old owner and the old group alone. The mode comes last: with an access control list its group bits are the most
// that anybody in the list has.
int File::TakeRights(const char* path, const FileStatus& of) const
{
    mode_t kept = 07777;
    if (::fchown(m_handle, of.owner, of.group) != 0)
        kept = ::fchown(m_handle, uid_t(-1), of.group) == 0 ? 0777 : 0707;
#ifdef __linux__
    ::fremovexattr(m_handle, kAccessList);  // the one that the folder gives to new files
#endif
    const int reason = CopyAttributes(path, m_handle);
    ::fchmod(m_handle, of.permissions & kept);
    return reason;
}

int File::Read(void* bytes, std::size_t size, std::size_t& got) const
{
    const ssize_t result = Retry([&] { return ::read(m_handle, bytes, size); });
    got = result < 0 ? 0 : static_cast<std::size_t>(result);
    return result < 0 ? errno : 0;
}

int File::Write(const void* bytes, std::size_t size, std::optional<std::uint64_t> position) const
{
    const auto* const first = static_cast<const unsigned char*>(bytes);
    for (std::size_t done = 0; done < size;) {
        const ssize_t written = Retry([&] {
            return position
                       ? ::pwrite(m_handle, first + done, size - done, static_cast<off_t>(*position + done))
                       : ::write(m_handle, first + done, size - done);
        });
        if (written < 0)
            return errno;
        done += static_cast<std::size_t>(written);
    }
    return 0;
}

int File::Reserve(std::uint64_t size) const
{
#ifdef __linux__
    const int result = ::fallocate(m_handle, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size));
    return result != 0 && errno == ENOSPC ? ENOSPC : 0;
#else
    return 0;
#endif
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

FolderLock::FolderLock(const char* folder)
{
    if (m_folder.Open(folder, Access::Read) == 0)
        Retry([this] { return ::flock(m_folder.m_handle, LOCK_EX); });
}

void OpenStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) < 0)
            ::open("/dev/null", O_RDWR);  // takes the lowest number that is free
}

std::FILE* OpenTemporary()
{
    std::FILE* file = std::tmpfile();
    if (file && ::fileno(file) <= STDERR_FILENO) {
        const int handle = ::fcntl(::fileno(file), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        std::fclose(file);
        file = handle < 0 ? nullptr : ::fdopen(handle, "w+b");
    }
    return file;
}

bool Seek(std::FILE* stream, std::uint64_t position)
{
    return ::fseeko(stream, static_cast<off_t>(position), SEEK_SET) == 0;
}

bool IsTerminal(std::FILE* stream)
{
    return ::isatty(::fileno(stream)) == 1;
}

}  // namespace vela::platform
