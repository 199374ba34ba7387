#include <vlio2/FileWriter.h>

#include <corecommon/Log.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdint>
#include <fcntl.h>
#include <new>
#include <random>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vlio {

namespace {

// All bytes to a descriptor; 0 or the errno of the first failure.
int WriteAll(int descriptor, const char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(descriptor, bytes, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return errno;
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

// With the slash at its end.
std::string FolderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

// Where a path ends behind all its links, whether or not a file is there. Only the last component is
// resolved: the system follows the others by itself.
std::string FollowLinks(std::string path)
{
    // As many as the system itself follows.
    for (int depth = 0; depth < 40; ++depth) {
        char target[PATH_MAX];
        const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
        if (length < 0)
            return path;
        const std::string next(target, static_cast<std::size_t>(length));
        path = next.starts_with('/') ? next : FolderOf(path).append(next);
    }
    return path;
}

// The same text for one place on disk, however its path is spelled.
std::string PlaceOf(const std::string& path)
{
    struct stat folder = {};
    ::stat(FolderOf(path).c_str(), &folder);
    return std::to_string(folder.st_dev) + ':' + std::to_string(folder.st_ino) + '/' +
           path.substr(path.rfind('/') + 1);
}

// In a folder with the sticky bit only the owner of a file or of the folder may replace the file.
bool MayReplace(const struct stat& file, const std::string& path)
{
    struct stat folder = {};
    ::stat(FolderOf(path).c_str(), &folder);
    const uid_t user = ::geteuid();
    return !(folder.st_mode & S_ISVTX) || user == 0 || user == file.st_uid || user == folder.st_uid;
}

// Random, so that processes do not meet; asked for once, since 64 bits from the processor take as long as it takes to
// write 150 KB.
std::uint64_t NextNumber()
{
    static std::atomic<std::uint64_t> next = [] {
        std::random_device random;
        return std::uint64_t{random()} << 32 | random();
    }();
    return next++;
}

// As far as the system allows: only root can give a file away, and some file systems know no owners. Special bits
// and the rights of a group are for the old owner and the old group alone.
void TakeOver(int descriptor, const struct stat& old)
{
    mode_t kept = 07777;
    if (::fchown(descriptor, old.st_uid, old.st_gid) != 0)
        kept = ::fchown(descriptor, uid_t(-1), old.st_gid) == 0 ? 0777 : 0707;
    ::fchmod(descriptor, old.st_mode & kept);
}

}  // namespace

std::string ErrorText(int error)
{
    return std::generic_category().message(error);
}

// A file of the set, from its opening to its place.
struct FileWriter::File {
    std::string path;          // as the caller gave it
    std::string target;        // behind all links; empty for what is no regular file
    std::string sibling;       // empty once renamed, and where the file is written in place
    std::string memory;        // content of a file that is written in place
    std::size_t position = 0;  // in memory
    int descriptor = -1;
    int error = 0;  // errno of the first failure

    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    ~File()
    {
        Close();
        if (!sibling.empty())
            ::unlink(sibling.c_str());
    }

    bool InPlace() const { return sibling.empty(); }

    void Close()
    {
        // The descriptor is gone whatever close says.
        if (descriptor >= 0 && ::close(descriptor) != 0)
            Fail(errno);
        descriptor = -1;
    }

    void Fail(int reason)
    {
        if (error == 0)
            error = reason;
    }

    int Open();
    int OpenSibling(const struct stat* old);
    int OpenInPlace();
    int Remember(const char* bytes, std::size_t size);
    int SeekInMemory(off64_t* offset, int whence);
    void Rename();
    void WriteInPlace();
    std::FILE* Stream();

    // The stream's own error flag keeps no reason and can be lost at fclose, so the file keeps both itself.
    static ssize_t WriteCall(void* self, const char* bytes, std::size_t size);
    static int SeekCall(void* self, off64_t* offset, int whence);
};

int FileWriter::File::Open()
{
    // For a new file this is all that is asked: a small one is written about as fast as the system answers.
    struct stat old = {};
    bool exists = ::lstat(path.c_str(), &old) == 0;
    const bool isLink = exists && S_ISLNK(old.st_mode);
    if (isLink)
        exists = ::stat(path.c_str(), &old) == 0;
    if (!exists && errno != ENOENT)
        return errno;
    if (exists && S_ISDIR(old.st_mode))
        return EISDIR;
    if (exists && !S_ISREG(old.st_mode))
        return OpenInPlace();
    // A file without any write bit is locked by its owner, and a rename would break the lock.
    if (exists && (old.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
        return EACCES;
    if (exists && ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0)
        return errno;

    target = isLink ? FollowLinks(path) : path;
    if (target.empty() || target.ends_with('/'))
        return ENOENT;
    const int refused = exists && !MayReplace(old, target) ? EPERM : OpenSibling(exists ? &old : nullptr);
    if (!exists || (refused != EACCES && refused != EPERM && refused != EROFS))
        return refused;
    if (const int reason = OpenInPlace())
        return reason;
    // WriteInPlace opens it again: a set may have more files than a process may have open.
    Close();
    vela::LogWarning("%s is written in place: its folder takes no new file: %s", path.c_str(),
                     ErrorText(refused).c_str());
    return 0;
}

int FileWriter::File::OpenSibling(const struct stat* old)
{
    std::string name;
    do {
        char number[24];
        std::snprintf(number, sizeof number, ".vlgim-%016" PRIx64, NextNumber());
        name = FolderOf(target) + number;
        descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (descriptor < 0 && errno == EEXIST);
    if (descriptor < 0)
        return errno;
    sibling = std::move(name);
    if (old)
        TakeOver(descriptor, *old);
    return 0;
}

int FileWriter::File::OpenInPlace()
{
    descriptor = ::open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    return descriptor < 0 ? errno : 0;
}

ssize_t FileWriter::File::WriteCall(void* self, const char* bytes, std::size_t size)
{
    auto& file = *static_cast<File*>(self);
    if (file.error == 0)
        file.error = file.InPlace() ? file.Remember(bytes, size) : WriteAll(file.descriptor, bytes, size);
    return file.error == 0 ? static_cast<ssize_t>(size) : 0;
}

int FileWriter::File::Remember(const char* bytes, std::size_t size)
try {
    if (size > memory.max_size() - position)
        return EFBIG;
    memory.resize(std::max(memory.size(), position + size));
    std::copy_n(bytes, size, memory.begin() + static_cast<std::ptrdiff_t>(position));
    position += size;
    return 0;
} catch (const std::exception&) {
    return ENOMEM;  // stdio calls this, and no exception may pass through it
}

int FileWriter::File::SeekCall(void* self, off64_t* offset, int whence)
{
    auto& file = *static_cast<File*>(self);
    if (file.InPlace())
        return file.SeekInMemory(offset, whence);
    const off64_t reached = ::lseek64(file.descriptor, *offset, whence);
    if (reached < 0)
        return -1;
    *offset = reached;
    return 0;
}

int FileWriter::File::SeekInMemory(off64_t* offset, int whence)
{
    const std::size_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position : memory.size();
    off64_t reached = 0;
    const bool fits = !__builtin_add_overflow(static_cast<off64_t>(from), *offset, &reached) &&
                      reached >= 0 && static_cast<std::size_t>(reached) <= memory.max_size();
    if (!fits) {
        errno = EINVAL;
        return -1;
    }
    position = static_cast<std::size_t>(reached);
    *offset = reached;
    return 0;
}

std::FILE* FileWriter::File::Stream()
{
    std::FILE* const stream =
        ::fopencookie(this, "wb", {.read = nullptr, .write = WriteCall, .seek = SeekCall, .close = nullptr});
    // Our own writers come with large pieces, which a buffer would only cut into more system calls.
    if (stream)
        std::setvbuf(stream, nullptr, _IONBF, 0);
    return stream;
}

// Puts a file that is whole and checked in its place.
void FileWriter::File::Rename()
{
    if (::rename(sibling.c_str(), target.c_str()) == 0)
        sibling.clear();
    else
        Fail(errno);
}

void FileWriter::File::WriteInPlace()
{
    if (descriptor < 0)
        Fail(OpenInPlace());
    if (error == 0)
        Fail(WriteAll(descriptor, memory.data(), memory.size()));
    struct stat status = {};
    if (error == 0 && ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
        ::ftruncate(descriptor, static_cast<off_t>(memory.size())) != 0)
        Fail(errno);
    Close();
}

FileWriter::FileWriter() = default;

FileWriter::~FileWriter()
{
    CloseStream();
}

std::FILE* FileWriter::Open(const char* path)
{
    CloseStream();
    auto file = std::make_unique<File>();
    file->path = path;
    m_openError = file->Open();
    if (m_openError == 0 && !m_files.empty() && IsInSet(file->target))
        m_openError = EEXIST;
    if (m_openError == EEXIST)
        vela::LogError("%s is the target of two files that are saved together", path);
    if (m_openError != 0)
        return nullptr;

    m_files.push_back(std::move(file));
    m_stream = m_files.back()->Stream();
    if (!m_stream) {
        m_openError = errno;
        m_files.pop_back();
    }
    return m_stream;
}

// A file alone has nothing to be told apart from.
bool FileWriter::IsInSet(const std::string& target)
{
    if (m_places.empty() && !m_files.front()->target.empty())
        m_places.insert(PlaceOf(m_files.front()->target));
    return !target.empty() && !m_places.insert(PlaceOf(target)).second;
}

void FileWriter::CloseStream()
{
    if (!m_stream)
        return;
    File& file = *m_files.back();
    const bool hadError = std::ferror(m_stream) != 0;
    const bool closed = std::fclose(m_stream) == 0;
    m_stream = nullptr;
    if (hadError || !closed)
        file.Fail(EIO);  // unless the reason is known already
    // A set may have more files than a process may have open.
    if (!file.InPlace())
        file.Close();
}

bool FileWriter::Commit()
{
    CloseStream();
    const auto failed = [](const auto& file) { return file->error != 0; };
    auto bad = std::find_if(m_files.begin(), m_files.end(), failed);
    // What is written in place is what may still fail, so it goes before anything is renamed.
    for (auto file = m_files.begin(); bad == m_files.end() && file != m_files.end(); ++file) {
        if (!(*file)->InPlace())
            continue;
        (*file)->WriteInPlace();
        if (failed(*file))
            bad = file;
    }
    for (auto file = m_files.end(); bad == m_files.end() && file != m_files.begin();) {
        --file;
        if ((*file)->InPlace())
            continue;
        (*file)->Rename();
        if (failed(*file))
            bad = file;
    }
    const bool done = bad == m_files.end();
    if (!done)
        vela::LogError("failed to write %s: %s", (*bad)->path.c_str(), ErrorText((*bad)->error).c_str());
    m_files.clear();
    m_places.clear();
    return done;
}

}  // namespace vlio
