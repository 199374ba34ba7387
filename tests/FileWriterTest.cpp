#include "support/Bytes.h"
#include "support/Files.h"
#include "support/LogCapture.h"

#include <platform/Files.h>
#include <vlio2/Failures.h>
#include <vlio2/FileStream.h>
#include <vlio2/FileWriter.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <map>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace vlio {

namespace {

using vela::vlgim::Error;
using vela::vlgim::ErrorKind;
using vela::vlgim::test::Lines;
using vela::vlgim::test::LogCapture;

class FileWriterTest : public vela::vlgim::test::FolderTest {
protected:
    // Names in the folder; strays would show here.
    Lines Names() const
    {
        Lines names;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    static void Put(FileWriter& set, const std::string& path, const std::string& content)
    {
        Sink* sink = nullptr;
        const Error error = set.Open(path.c_str(), sink);
        ASSERT_TRUE(sink) << error.Message();
        sink->Write(content.data(), content.size());
    }

    // Why it was not saved; empty if it was.
    static std::string Save(const std::string& path, const std::string& content)
    {
        FileWriter file;
        Put(file, path, content);
        return file.Commit().Message();
    }

    static int ErrorOf(const std::string& path)
    {
        FileWriter file;
        Sink* sink = nullptr;
        const Error error = file.Open(path.c_str(), sink);
        EXPECT_EQ(error.kind, sink ? ErrorKind::None : ErrorKind::NotCreated);
        return error.code;
    }
};

TEST_F(FileWriterTest, OldFileIsWholeUntilCommitAndItsPermissionsStay)
{
    const std::string path = Path("a");
    const mode_t mask = ::umask(027);
    EXPECT_EQ(Save(path, "old"), "");
    ::umask(mask);
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms{0640});
    ::chmod(path.c_str(), 0606);
    {
        FileWriter abandoned;
        Put(abandoned, path, "new");
    }
    EXPECT_EQ(Read(path), "old");
    EXPECT_EQ(Save(path, "new"), "");
    EXPECT_EQ(Read(path), "new");
    EXPECT_EQ(Names(), Lines{"a"});
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms{0606});
}

// A pipe can't go back, so what is written in place is put together in memory.
TEST_F(FileWriterTest, EverySinkPatches)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    for (const std::string& path : {Path("file"), "/proc/self/fd/" + std::to_string(ends[1])}) {
        FileWriter file;
        Sink* sink = nullptr;
        ASSERT_FALSE(file.Open(path.c_str(), sink)) << path;
        sink->Write("01234567", 8);
        sink->Patch(2, 0x64636261);
        sink->Write("89", 2);
        EXPECT_FALSE(file.Commit()) << path;
    }
    char got[16] = {};
    EXPECT_EQ(::read(ends[0], got, sizeof got), 10);
    EXPECT_EQ(Read(Path("file")) + got, "01abcd678901abcd6789");
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST_F(FileWriterTest, WhatCannotBeReplacedIsFoundAtOpen)
{
    const std::string locked = Write("locked", "x");
    ::chmod(locked.c_str(), 0444);
    std::filesystem::create_symlink("round", Path("round"));
    const std::map<std::string, int> cases = {
        {locked, EACCES},       {folder, EISDIR}, {Path("missing/a"), ENOENT}, {Path("locked/a"), ENOTDIR},
        {Path("round"), ELOOP}, {"", ENOENT}};
    for (const auto& [path, error] : cases)
        EXPECT_EQ(ErrorOf(path), error) << path;
    EXPECT_EQ(Save(Path(std::string(255, 'n')), "as long as a name can be"), "");
    EXPECT_EQ(Names().size(), 3U);
}

TEST_F(FileWriterTest, LinksAreFollowed)
{
    Write("there/old", "old");
    std::filesystem::create_symlink("there/old", Path("link"));
    std::filesystem::create_symlink(Path("link"), Path("linklink"));
    std::filesystem::create_symlink("there/new", Path("dangling"));
    EXPECT_EQ(Save(Path("linklink"), "a") + Save(Path("dangling"), "b"), "");
    EXPECT_EQ(Read(Path("there/old")) + Read(Path("there/new")), "ab");
    for (const char* link : {"link", "linklink", "dangling"})
        EXPECT_TRUE(std::filesystem::is_symlink(Path(link)));
}

TEST_F(FileWriterTest, ASetChangesTogether)
{
    Write("manifest", "old");
    for (const bool full : {true, false}) {
        FileWriter set;
        Put(set, Path("manifest"), "new");
        Put(set, full ? "/dev/full" : Path("side"), "new");
        EXPECT_EQ(set.Commit().Message(), full ? "/dev/full: No space left on device" : "");
        EXPECT_EQ(Read(Path("manifest")), full ? "old" : "new");
        EXPECT_EQ(std::filesystem::remove(Path("side")), !full);
    }
    EXPECT_EQ(Names(), Lines{"manifest"});

    // The first is renamed last: when the second can't be, the first is as it was.
    FileWriter set;
    Put(set, Path("manifest"), "newer");
    Put(set, Path("side"), "newer");
    Write("side/in/the/way", "");
    EXPECT_EQ(set.Commit().Message(), Path("side") + ": Is a directory");
    EXPECT_EQ(Read(Path("manifest")), "new");
}

TEST_F(FileWriterTest, OneTargetTwiceIsRefused)
{
    std::filesystem::create_directory(Path("f"));
    std::filesystem::create_symlink("a", Path("link"));
    FileWriter set;
    Put(set, Path("a"), "");
    for (const std::string& spelling : {Path("f/../a"), Path("link")}) {
        Sink* sink = nullptr;
        EXPECT_EQ(set.Open(spelling.c_str(), sink).code, EEXIST) << spelling;
        EXPECT_EQ(sink, nullptr);
    }
    Put(set, Path("f/a"), "");
    EXPECT_FALSE(set.Commit());
    EXPECT_EQ(Names(), (Lines{"a", "f", "link"}));
}

TEST_F(FileWriterTest, AFullDiskLeavesTheOldFile)
{
    const std::string path = Write("a", "old");
    for (const std::size_t size : {70'000U, 1'000'000U}) {  // one within a buffer of its end, one large write
        const vela::vlgim::test::ShortDisk disk(65536);
        EXPECT_EQ(Save(path, std::string(size, 'x')), path + ": File too large");
        EXPECT_EQ(Read(path), "old");
        EXPECT_EQ(Names(), Lines{"a"});
    }
}

// Needs a user whom permissions bind.
TEST_F(FileWriterTest, AFolderThatTakesNoFileIsWrittenInPlace)
{
    const std::string path = Write("a", "a longer old file"), foreign = Write("open/foreign", "old"),
                      sticky = Write("sticky/a", "old");
    const std::pair<std::string, mode_t> modes[] = {
        {path, 0666},   {foreign, 0644},         {Path("open"), 0777},
        {sticky, 0666}, {Path("sticky"), 01777}, {folder, 0555}};
    for (const auto& [name, mode] : modes)
        ::chmod(name.c_str(), mode);
    const auto nextDescriptor = [] {
        const int next = ::open("/dev/null", O_RDONLY);
        ::close(next);
        return next;
    };
    const auto saves = [&] {
        if (::geteuid() == 0 && ::setuid(65534) != 0)
            return false;
        const int next = nextDescriptor();
        const LogCapture log;
        FileWriter abandoned;
        Put(abandoned, path, "lost");
        LogWarnings(abandoned.Warnings(), "file");
        return nextDescriptor() == next &&  // a set may be larger than a process's table
               Read(path) == "a longer old file" && Save(path, "new").empty() &&
               Save(sticky, "in place").empty() && ErrorOf(Path("b")) == EACCES &&
               (::geteuid() != 65534 || ErrorOf(foreign) == EACCES) &&
               log.lines == Lines{"W " + path +
                                  " is written in place: its folder takes no new file: Permission denied"};
    };
    EXPECT_EXIT(::_exit(saves() ? 0 : 1), testing::ExitedWithCode(0), "");
    EXPECT_EQ(Read(path) + Read(sticky), "newin place");
}

// Else what the process prints would land in the file.
TEST_F(FileWriterTest, ClosedStandardStreamsStayClosed)
{
    const std::string path = Path("a");
    const auto saves = [&] {
        for (const int stream : {0, 1, 2})
            ::close(stream);
        FileWriter file;
        Put(file, path, "whole");
        std::FILE* const temporary = vela::platform::OpenTemporary();
        bool isPrinted = false;
        for (const int stream : {0, 1, 2})
            isPrinted |= ::write(stream, "printed", 7) == 7;
        const bool isSaved = !isPrinted && temporary && std::fclose(temporary) == 0 && !file.Commit();
        // A file that lands on a standard stream's number, and for which no other number is left.
        const rlimit most{4, 4};
        ::dup2(::open("/dev/null", O_RDONLY), 3);
        ::close(0);
        ::setrlimit(RLIMIT_NOFILE, &most);
        return isSaved && ErrorOf(Path("b")) == EMFILE;
    };
    EXPECT_EXIT(::_exit(saves() ? 0 : 1), testing::ExitedWithCode(0), "");
    EXPECT_EQ(Read(path), "whole");
    EXPECT_EQ(Names(), Lines{"a"});
}

// Whoever may not read the old file may not read the new one, while it is written or later.
TEST_F(FileWriterTest, RightsAndAttributesStay)
{
    const mode_t mask = ::umask(0);
    const std::string path = Write("a", "old"), plain = Write("plain", "old");
    vela::platform::File file;
    EXPECT_EQ(file.Open(Path("new").c_str(), vela::platform::Access::CreatePrivate), 0);
    EXPECT_EQ(std::filesystem::status(Path("new")).permissions(), std::filesystem::perms{0600});
    ::umask(mask);
    // Version 2, then tag, permissions and id of the owner, user 1, the group, the mask and the others.
    const std::string list = AsString(vela::vlgim::test::ByteBuilder()
                                          .U32(2)
                                          .U16s({0x01, 6})
                                          .U32(0xFFFFFFFF)
                                          .U16s({0x02, 4})
                                          .U32(1)
                                          .U16s({0x04, 0})
                                          .U32(0xFFFFFFFF)
                                          .U16s({0x10, 4})
                                          .U32(0xFFFFFFFF)
                                          .U16s({0x20, 0})
                                          .U32(0xFFFFFFFF));
    const auto set = [](const std::string& name, const char* attribute, const std::string& value) {
        return ::setxattr(name.c_str(), attribute, value.data(), value.size(), 0) == 0;
    };
    const auto get = [](const std::string& name, const char* attribute) {
        std::string value(100, '\0');
        const ssize_t size = ::getxattr(name.c_str(), attribute, value.data(), value.size());
        return value.substr(0, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    };
    constexpr const char* kList = "system.posix_acl_access";
    if (!set(path, "user.note", "kept") || !set(path, kList, list) ||
        !set(folder.string(), "system.posix_acl_default", list))
        GTEST_SKIP() << "the file system has no attributes";
    EXPECT_EQ(Save(path, "new") + Save(plain, "new"), "");
    EXPECT_EQ(get(path, "user.note"), "kept");
    EXPECT_EQ(get(path, kList), list);
    EXPECT_EQ(get(plain, kList), "") << "the folder's list is for new files";
    EXPECT_EQ(std::filesystem::status(plain).permissions(), std::filesystem::perms{0666});
}

// Else the two leave a mixture now and then.
TEST_F(FileWriterTest, SaversOfOneSetTakeTurns)
{
    const Lines names{"m", "a", "b", "c", "d", "e"};
    const auto save = [&](const std::string& content) {
        FileWriter set;
        for (const std::string& name : names)
            Put(set, Path(name), content);
        return !set.Commit();
    };
    for (int round = 0; round < 100; ++round) {
        const pid_t other = ::fork();
        if (other == 0)
            ::_exit(save("other") ? 0 : 1);
        EXPECT_TRUE(save("this"));
        int status = 1;
        ::waitpid(other, &status, 0);
        EXPECT_EQ(status, 0);
        for (const std::string& name : names)
            ASSERT_EQ(Read(Path(name)), Read(Path("m"))) << name;
    }
}

// A file server holds one on a file that a client caches.
TEST_F(FileWriterTest, ALeaseIsWaitedFor)
{
    const std::string path = Write("a", "content");
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t holder = ::fork();
    if (holder == 0) {
        sigset_t broken;
        ::sigemptyset(&broken);
        ::sigaddset(&broken, SIGIO);
        ::sigprocmask(SIG_BLOCK, &broken, nullptr);
        const int file = ::open(path.c_str(), O_RDWR);
        const char isHeld = ::fcntl(file, F_SETLEASE, F_WRLCK) == 0 ? 1 : 0;
        int signal = 0;
        if (::write(ready[1], &isHeld, 1) == 1 && isHeld && ::sigwait(&broken, &signal) == 0)
            ::fcntl(file, F_SETLEASE, F_UNLCK);
        ::_exit(0);
    }
    char isHeld = 0;
    EXPECT_EQ(::read(ready[0], &isHeld, 1), 1);
    Bytes bytes;
    EXPECT_EQ(ReadFile(path.c_str(), bytes).Message(), "");
    EXPECT_EQ(bytes.size(), 7U);
    ::waitpid(holder, nullptr, 0);
    if (!isHeld)
        GTEST_SKIP() << "the file system has no leases";
}

TEST_F(FileWriterTest, ReadsRegularFilesAlone)
{
    Bytes bytes;
    for (const std::string& content : {std::string(100'000, 'x'), std::string()}) {
        const std::string path = Write("with spaces \xC3\xA4", content);
        EXPECT_TRUE(FileStream::ReadAllBinary(path.c_str(), bytes, FILE_SYSTEM_MODEL));
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), content);
    }
    ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0666), 0);
    const std::string changed = "it changed while it was read", other = "it is a pipe or a device";
    const std::pair<std::string, std::string> cases[] = {
        {Path("missing"), "No such file or directory"},
        {folder, "it is a folder"},
        {Path("pipe"), other},
        {"/dev/null", other},
        {"/proc/self/maps", changed},                 // longer than it says
        {"/sys/devices/system/cpu/online", changed},  // shorter
    };
    for (const auto& [path, why] : cases) {
        bytes = {1};
        EXPECT_EQ(ReadFile(path.c_str(), bytes).Message(), std::string(path).append(": ").append(why));
        EXPECT_TRUE(bytes.empty()) << path;
        EXPECT_EQ(FileStream::Exists(path.c_str(), FILE_SYSTEM_ANY), path != cases[0].first);
    }
}

}  // namespace

}  // namespace vlio
