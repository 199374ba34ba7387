#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

// Files as the system has them. Operations that can fail return 0 or the system's reason, an errno value.
namespace platform {

/// One file, whatever paths lead to it.
struct FileId {
    std::uint64_t volume = 0;
    std::uint64_t number = 0;

    bool operator==(const FileId&) const = default;
};

enum class FileKind : unsigned char { Regular, Folder, Other };

struct FileStatus {
    FileKind kind = FileKind::Other;
    bool isLink = false;            ///< the path is a link, and all else is about what it leads to
    bool isWriteProtected = false;  ///< nobody may write it, by its permissions
    FileId id;
    std::uint64_t size = 0;
    std::uint32_t owner = 0, group = 0, permissions = 0;  ///< the system's own numbers
};

/// Follows links. After a failure only isLink is set: a dangling link is one, too.
int GetStatus(const char* path, FileStatus& status);

/// Whether this process may write an existing file.
int CheckWritable(const char* path);

/// Whether the system lets this process put another file in the place of one in this folder.
bool MayReplace(const FileStatus& file, const char* folder);

/// Puts a file in the place of `to`, or where none is. Both lie in one folder.
int Replace(const char* from, const char* to);

void Remove(const char* path);

/// The system's text for its reason.
std::string ReasonText(int reason);

/// An open file; closed at its end. A terminal that is opened does not become the one that controls the process.
class File {
public:
    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { Close(); }

    bool IsOpen() const { return m_handle >= 0; }

    /// Never waits for the writer of a pipe.
    int OpenToRead(const char* path);

    /// Opens what is there, and leaves its content.
    int OpenToWrite(const char* path);

    /// Makes a new file with the permissions that the process gives to new ones. EEXIST if there is one.
    int Create(const char* path);

    int GetStatus(FileStatus& status) const;

    /// Gives the file the owner, the group and the permissions of another, as far as the system allows.
    void TakeRights(const FileStatus& of) const;

    /// Reads up to size bytes; got is 0 at the end of the file.
    int Read(void* bytes, std::size_t size, std::size_t& got) const;

    /// Writes all bytes.
    int Write(const void* bytes, std::size_t size) const;

    /// Writes all bytes at a place of the file. The next Write goes where it would have gone.
    int WriteAt(std::uint64_t position, const void* bytes, std::size_t size) const;

    int SetSize(std::uint64_t size) const;

    /// The file is closed even if the system has a reason to complain.
    int Close();

private:
    int m_handle = -1;
};

/// Where a stream stands; below 0 if it can't seek.
std::int64_t Tell(std::FILE* stream);

/// False: it can't go there.
bool Seek(std::FILE* stream, std::uint64_t position);

}  // namespace platform
