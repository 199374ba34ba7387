#include <vlio2/FileWriter.h>

#include <platform/Files.h>
#include <vlio2/Failures.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <optional>
#include <random>
#include <system_error>
#include <utility>

namespace vlio {

namespace platform = vela::platform;
using platform::Access;
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
std::string FollowLinks(std::filesystem::path path)
{
    std::error_code error;
    // As many as the system itself follows.
    for (int depth = 0; depth < 40 && std::filesystem::is_symlink(path, error); ++depth)
        path = path.parent_path() / std::filesystem::read_symlink(path, error);
    return path.string();
}

// The same text for one place on disk, however its path is spelled.
std::string PlaceOf(const std::string& path)
{
    FileStatus folder;
    platform::GetStatus(FolderOf(path).c_str(), folder);
    return std::to_string(folder.id.volume) + ':' + std::to_string(folder.id.number) + '/' +
           path.substr(path.rfind('/') + 1);
}

}  // namespace

// A file of the set, from its opening to its place. Operations that return int return 0 or an errno value.
struct FileWriter::File final : Sink {
    std::string path;     // as the caller gave it
    std::string target;   // behind all links; empty for what is no regular file
    std::string sibling;  // empty once renamed, and where the file is written in place
    std::string memory;   // content of a file that is written in place
    platform::File file;
    int whyInPlace = 0;  // what the system has against a sibling of a regular file
    int error = 0;       // the first failure

    explicit File(const char* at) : path(at) {}

    ~File()
    {
        file.Close();
        if (!sibling.empty())
            std::remove(sibling.c_str());
    }

    int Open()
    {
        FileStatus old;
        const int missing = platform::GetStatus(path.c_str(), old);
        if (missing != 0 && missing != ENOENT)
            return missing;
        if (old.kind == FileKind::Folder)
            return EISDIR;
        if (old.kind == FileKind::Other)
            return file.Open(path.c_str(), Access::Write);
        if (const int reason = missing == 0 ? platform::CheckWritable(path.c_str(), old) : 0)
            return reason;

        target = old.isLink ? FollowLinks(path) : path;
        if (target.empty() || target.ends_with('/'))
            return ENOENT;
        const bool mayReplace = missing != 0 || platform::MayReplace(old, FolderOf(target).c_str());
        const int refused = mayReplace ? OpenSibling(old) : EPERM;
        if (missing != 0 || (refused != EACCES && refused != EPERM && refused != EROFS))
            return refused;
        whyInPlace = refused;
        const int reason = file.Open(path.c_str(), Access::Write);
        file.Close();  // until Commit: a set may have more files than a process may have open
        return reason;
    }

    int OpenSibling(const FileStatus& old)
    {
        // Starts at random, so that processes do not meet. To ask the processor for each file would take as long as to
        // write 75 KB.
        static std::atomic<std::uint64_t> next = std::uint64_t{std::random_device()()} << 32;
        const bool isNew = old.kind != FileKind::Regular;
        std::string name;
        int reason = 0;
        do {
            name = FolderOf(target).append(".vlgim-").append(std::to_string(next++));
            reason = file.Open(name.c_str(), isNew ? Access::Create : Access::CreatePrivate);
        } while (reason == EEXIST);
        if (reason != 0)
            return reason;
        sibling = std::move(name);
        // Without its access control list it could be read by others than the old file.
        if (isNew || file.TakeRights(target.c_str(), old) == 0)
            return 0;
        file.Close();
        std::remove(sibling.c_str());
        sibling.clear();
        return EPERM;
    }

    bool InPlace() const { return sibling.empty(); }

    void Fail(int reason) { error = error != 0 ? error : reason; }

    // What is written in place is put together in memory: a pipe can't go back to a patch.
    void Write(const void* bytes, std::size_t size) override
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

    void Patch(std::uint64_t position, std::uint32_t value) override
    {
        if (error != 0)
            return;
        if (InPlace())
            std::memcpy(memory.data() + position, &value, sizeof value);
        else
            error = file.Write(&value, sizeof value, position);
    }

    void CloseSibling()
    {
        if (!InPlace())
            Fail(file.Close());
    }

    void WriteInPlace()
    {
        if (!InPlace())
            return;
        if (!target.empty())
            Fail(file.Open(path.c_str(), Access::Write));
        if (error == 0 && !target.empty())
            Fail(file.Reserve(memory.size()));
        if (error == 0)
            Fail(file.Write(memory.data(), memory.size()));
        if (error == 0 && !target.empty())
            Fail(file.SetSize(memory.size()));
        Fail(file.Close());
    }

    void Rename()
    {
        if (!InPlace())
            Fail(platform::Replace(sibling.c_str(), target.c_str()));
        if (error == 0)
            sibling.clear();
    }
};

FileWriter::FileWriter() = default;
FileWriter::~FileWriter() = default;

Error FileWriter::Open(const char* path, Sink*& sink)
{
    sink = nullptr;
    if (!m_files.empty())
        m_files.back()->CloseSibling();  // a set may have more files than a process may have open
    auto file = std::make_unique<File>(path);
    if (const int reason = file->Open())
        return Failure(ErrorKind::NotCreated, reason, path);
    // A file alone has nothing to be told apart from.
    if (m_files.size() == 1)
        m_places.insert(PlaceOf(m_files.front()->target));
    if (!m_files.empty() && !file->target.empty() && !m_places.insert(PlaceOf(file->target)).second)
        return Failure(ErrorKind::NotCreated, EEXIST, path,
                       "is the target of two files that are saved together");
    if (file->whyInPlace != 0)
        m_warnings.emplace_back(Failure(ErrorKind::NotCreated, file->whyInPlace, path))
            .text.insert(0, "is written in place: its folder takes no new file: ");
    m_files.push_back(std::move(file));
    sink = m_files.back().get();
    return {};
}

Error FileWriter::Commit()
{
    const auto files = std::exchange(m_files, {});
    m_places.clear();
    const File* failed = nullptr;
    const auto take = [&failed](void (File::*step)(), auto file, auto end) {
        for (; !failed && file != end; ++file) {
            (**file.*step)();
            if ((*file)->error != 0)
                failed = file->get();
        }
    };
    take(&File::CloseSibling, files.begin(), files.end());
    // Two savers of one set would leave a mixture of their files.
    std::optional<platform::FolderLock> lock;
    if (files.size() > 1)
        lock.emplace(FolderOf(files.front()->target).c_str());
    // What is written in place is what may still fail, so it goes before anything is renamed.
    take(&File::WriteInPlace, files.begin(), files.end());
    take(&File::Rename, files.rbegin(), files.rend());
    return failed ? Failure(ErrorKind::NotWritten, failed->error, failed->path.c_str()) : Error();
}

}  // namespace vlio
