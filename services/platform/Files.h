#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>

// Files of the operating system. Operations that return int return 0, or an errno value for a failure.
namespace vela::platform {

/// Identifies a file, whatever path leads to it.
struct FileId {
    std::uint64_t volume = 0;
    std::uint64_t number = 0;

    // NOLINTNEXTLINE(modernize-use-nullptr): the compiler's own comparison with 0
    auto operator<=>(const FileId&) const = default;
};

enum class FileKind : unsigned char { None, Regular, Folder, Other };

struct FileStatus {
    FileKind kind = FileKind::None;
    bool isLink = false;  ///< the path is a link; all other members are about its target
    FileId id;
    std::uint64_t size = 0;
    std::uint32_t owner = 0, group = 0, permissions = 0;  ///< the numbers of the system
};

/// True for the reasons of the system that mean that no file has a path.
bool IsMissing(int reason);

/// Gets the status of a file, and follows links. After a failure only isLink is set, also for a dangling link.
int GetStatus(const char* path, FileStatus& status);

/// Returns 0 if this process may write an existing file. A file whose permissions allow nobody to write it is locked by
/// its owner, and a rename would break the lock; this gives EACCES, also for root.
int CheckWritable(const char* path, const FileStatus& status);

/// True unless only owners may replace files in this folder (the sticky bit) and this process is not one of them.
bool MayReplace(const FileStatus& file, const char* folder);

/// Renames `from` to `to` and replaces an existing file. Both are in one folder.
int Replace(const char* from, const char* to);

/// What a file is opened for.
enum class Access : unsigned char {
    Read,    ///< does not wait for the writer of a pipe
    Write,   ///< an existing file, whose content is kept
    Create,  ///< a new file with the default permissions of the process; fails with EEXIST if the path exists
    CreatePrivate,  ///< the same, but nobody else has any permission
};

/// An open file, which the destructor closes. Opening a terminal does not make it the controlling terminal of the
/// process.
class File {
public:
    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { Close(); }

    int Open(const char* path, Access access);

    /// Gets the status of the open file.
    int GetStatus(FileStatus& status) const;

    /// Sets owner, group, permissions and extended attributes, which include an access control list, to those of the
    /// file at `path`, whose status is `of`. If the system does not allow its owner or group, the file loses the
    /// permissions that were meant for them. Fails if an attribute can't be copied.
    int TakeRights(const char* path, const FileStatus& of) const;

    /// Reads up to `size` bytes. `got` receives their number, 0 at the end of the file.
    int Read(void* bytes, std::size_t size, std::size_t& got) const;

    /// Writes all bytes at `position`, or without one behind those of the Write before.
    int Write(const void* bytes, std::size_t size, std::optional<std::uint64_t> position = {}) const;

    /// Reserves disk space for the first `size` bytes, so that writing them can't fail for lack of it. Does nothing on
    /// a file system that can't reserve space.
    int Reserve(std::uint64_t size) const;

    /// Cuts or extends the file to `size` bytes.
    int SetSize(std::uint64_t size) const;

    /// Closes the file, also if the system reports a failure.
    int Close();

private:
    friend class FolderLock;

    int m_handle = -1;
};

/// Makes savers take turns: while an object of this class exists, others for the same folder wait, also those of other
/// processes. Where the system can't lock a folder, they do not.
class FolderLock {
public:
    explicit FolderLock(const char* folder);
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    ~FolderLock() { m_folder.Close(); }

private:
    File m_folder;
};

/// Opens /dev/null, or what takes its place, as each standard stream that is closed. A file that the program opens
/// later can then not become one of them. Call it first of all.
void OpenStandardStreams();

/// Opens a new file without a name, which is gone once it is closed. Returns null if that fails.
std::FILE* OpenTemporary();

/// Moves a stream to `position`. Returns false if that fails.
bool Seek(std::FILE* stream, std::uint64_t position);

/// True if the stream is a terminal.
bool IsTerminal(std::FILE* stream);

}  // namespace vela::platform
