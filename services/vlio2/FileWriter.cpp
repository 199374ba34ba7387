#include <vlio2/FileWriter.h>

#include <platform/Files.h>
#include <vlio2/Failures.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <random>
#include <system_error>
#include <utility>

namespace vlio {

using platform::FileKind;
using platform::FileStatus;
using vela::vlgim::Error;
using vela::vlgim::ErrorKind;

namespace {

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
        std::error_code error;
        const std::string next = std::filesystem::read_symlink(path, error).string();
        if (error)
            return path;
        path = next.starts_with('/') ? next : FolderOf(path).append(next);
    }
    return path;
}

// The same text for one place on disk, however its path is spelled.
std::string PlaceOf(const std::string& path)
{
    FileStatus folder;
    platform::GetStatus(FolderOf(path).c_str(), folder);
    return std::to_string(folder.id.volume) + ':' + std::to_string(folder.id.number) + '/' +
           path.substr(path.rfind('/') + 1);
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

}  // namespace

// A file of the set, from its opening to its place. Operations give 0 or an errno value.
struct FileWriter::File final : Sink {
    std::string path;     // as the caller gave it
    std::string target;   // behind all links; empty for what is no regular file
    std::string sibling;  // empty once renamed, and where the file is written in place
    std::string memory;   // content of a file that is written in place
    platform::File file;
    int whyInPlace = 0;  // what the system has against a sibling of a regular file
    int error = 0;       // the first failure

    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    ~File()
    {
        file.Close();
        if (!sibling.empty())
            platform::Remove(sibling.c_str());
    }

    bool InPlace() const { return sibling.empty(); }

    void Fail(int reason)
    {
        if (error == 0)
            error = reason;
    }

    int Open();
    int OpenRegular(const FileStatus* old, bool isLink);
    int OpenSibling(const FileStatus* old);
    void Write(const void* bytes, std::size_t size) override;
    void Patch(std::uint64_t position, std::uint32_t value) override;
    void WriteInPlace();
    void PutInPlace();
};

int FileWriter::File::Open()
{
    FileStatus old;
    const int missing = platform::GetStatus(path.c_str(), old);
    if (missing != 0)
        return missing == ENOENT ? OpenRegular(nullptr, old.isLink) : missing;
    if (old.kind == FileKind::Folder)
        return EISDIR;
    if (old.kind != FileKind::Regular)
        return file.OpenToWrite(path.c_str());
    // A file without any write bit is locked by its owner, and a rename would break the lock.
    if (old.isWriteProtected)
        return EACCES;
    if (const int reason = platform::CheckWritable(path.c_str()))
        return reason;
    return OpenRegular(&old, old.isLink);
}

int FileWriter::File::OpenRegular(const FileStatus* old, bool isLink)
{
    target = isLink ? FollowLinks(path) : path;
    if (target.empty() || target.ends_with('/'))
        return ENOENT;
    const bool mayReplace = !old || platform::MayReplace(*old, FolderOf(target).c_str());
    const int refused = mayReplace ? OpenSibling(old) : EPERM;
    if (!old || (refused != EACCES && refused != EPERM && refused != EROFS))
        return refused;
    whyInPlace = refused;
    const int reason = file.OpenToWrite(path.c_str());
    file.Close();  // until Commit: a set may have more files than a process may have open
    return reason;
}

int FileWriter::File::OpenSibling(const FileStatus* old)
{
    std::string name;
    int reason = 0;
    do {
        char number[24];
        std::snprintf(number, sizeof number, ".vlgim-%016" PRIx64, NextNumber());
        name = FolderOf(target) + number;
        reason = file.Create(name.c_str());
    } while (reason == EEXIST);
    if (reason != 0)
        return reason;
    sibling = std::move(name);
    if (old)
        file.TakeRights(*old);
    return 0;
}

// What is written in place is put together in memory: a pipe can't go back to a patch.
void FileWriter::File::Write(const void* bytes, std::size_t size)
try {
    if (error != 0)
        return;
    if (InPlace())
        memory.append(static_cast<const char*>(bytes), size);
    else
        error = file.Write(bytes, size);
} catch (const std::exception&) {
    error = ENOMEM;  // writers hand over their last piece where nothing may be thrown
}

void FileWriter::File::Patch(std::uint64_t position, std::uint32_t value)
{
    if (error != 0)
        return;
    if (InPlace())
        std::memcpy(memory.data() + position, &value, sizeof value);
    else
        error = file.WriteAt(position, &value, sizeof value);
}

void FileWriter::File::WriteInPlace()
{
    if (!file.IsOpen())
        Fail(file.OpenToWrite(path.c_str()));
    if (error == 0)
        Fail(file.Write(memory.data(), memory.size()));
    if (error == 0 && !target.empty())
        Fail(file.SetSize(memory.size()));
    Fail(file.Close());
}

// Of a file that is whole and checked.
void FileWriter::File::PutInPlace()
{
    Fail(platform::Replace(sibling.c_str(), target.c_str()));
    if (error == 0)
        sibling.clear();
}

FileWriter::FileWriter() = default;
FileWriter::~FileWriter() = default;

Error FileWriter::Open(const char* path, Sink*& sink)
{
    sink = nullptr;
    CloseLast();
    auto file = std::make_unique<File>();
    file->path = path;
    if (const int reason = file->Open())
        return Failure(ErrorKind::NotCreated, reason, path, platform::ReasonText(reason));
    if (!m_files.empty() && IsInSet(file->target))
        return Failure(ErrorKind::NotCreated, EEXIST, path,
                       "is the target of two files that are saved together");
    if (file->whyInPlace != 0)
        m_warnings.push_back(Failure(ErrorKind::NotCreated, file->whyInPlace, path,
                                     "is written in place: its folder takes no new file: " +
                                         platform::ReasonText(file->whyInPlace)));
    m_files.push_back(std::move(file));
    sink = m_files.back().get();
    return {};
}

// A file alone has nothing to be told apart from.
bool FileWriter::IsInSet(const std::string& target)
{
    if (m_places.empty() && !m_files.front()->target.empty())
        m_places.insert(PlaceOf(m_files.front()->target));
    return !target.empty() && !m_places.insert(PlaceOf(target)).second;
}

// A set may have more files than a process may have open.
void FileWriter::CloseLast()
{
    if (!m_files.empty() && !m_files.back()->InPlace())
        m_files.back()->Fail(m_files.back()->file.Close());
}

Error FileWriter::Commit()
{
    CloseLast();
    const auto files = std::exchange(m_files, {});
    m_places.clear();
    const File* failed = nullptr;
    const auto note = [&failed](const File& file) { failed = !failed && file.error != 0 ? &file : failed; };
    for (const auto& file : files)
        note(*file);
    // What is written in place is what may still fail, so it goes before anything is renamed.
    for (auto file = files.begin(); !failed && file != files.end(); ++file)
        if ((*file)->InPlace()) {
            (*file)->WriteInPlace();
            note(**file);
        }
    for (auto file = files.rbegin(); !failed && file != files.rend(); ++file)
        if (!(*file)->InPlace()) {
            (*file)->PutInPlace();
            note(**file);
        }
    if (!failed)
        return {};
    return Failure(ErrorKind::NotWritten, failed->error, failed->path.c_str(),
                   platform::ReasonText(failed->error));
}

}  // namespace vlio
