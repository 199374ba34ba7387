#include "support/Files.h"
#include "support/LogCapture.h"

#include <vlio2/FileStream.h>
#include <vlio2/FileWriter.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vlio {

namespace {

using vela::vlgim::test::LogCapture;
using Lines = std::vector<std::string>;

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

    static bool Save(const std::string& path, const std::string& content)
    {
        FileWriter file;
        std::FILE* stream = file.Open(path.c_str());
        if (!stream)
            return false;
        std::fwrite(content.data(), 1, content.size(), stream);
        return file.Commit();
    }

    static int ErrorOf(const std::string& path)
    {
        FileWriter file;
        return file.Open(path.c_str()) ? 0 : file.OpenError();
    }

    static mode_t Mode(const std::string& path)
    {
        struct stat status = {};
        ::stat(path.c_str(), &status);
        return status.st_mode & 07777;
    }
};

TEST_F(FileWriterTest, OldFileIsWholeUntilCommit)
{
    const std::string path = Write("a", "old");
    {
        FileWriter file;
        std::fputs("new", file.Open(path.c_str()));
        EXPECT_EQ(Read(path), "old");
    }
    EXPECT_EQ(Read(path), "old");
    EXPECT_EQ(Names(), Lines{"a"});
    EXPECT_TRUE(Save(path, "new"));
    EXPECT_EQ(Read(path), "new");
    EXPECT_EQ(Names(), Lines{"a"});
}

TEST_F(FileWriterTest, PermissionsStay)
{
    const mode_t mask = ::umask(027);
    EXPECT_TRUE(Save(Path("new"), "x"));
    ::umask(mask);
    EXPECT_EQ(Mode(Path("new")), 0640U);
    const std::string old = Write("old", "x");
    ::chmod(old.c_str(), 0606);
    EXPECT_TRUE(Save(old, "y"));
    EXPECT_EQ(Mode(old), 0606U);
}

TEST_F(FileWriterTest, StreamSeeksAndPatches)
{
    for (const std::string& path : {Path("file"), std::string("/dev/null")}) {
        FileWriter file;
        std::FILE* stream = file.Open(path.c_str());
        std::fputs("0123456789", stream);
        EXPECT_EQ(std::ftell(stream), 10) << path;
        std::fseek(stream, 2, SEEK_SET);
        std::fputs("ab", stream);
        EXPECT_EQ(std::fseek(stream, -20, SEEK_END), -1) << path;
        EXPECT_EQ(std::fseek(stream, -1, SEEK_SET), -1) << path;
        EXPECT_TRUE(file.Commit()) << path;
    }
    EXPECT_EQ(Read(Path("file")), "01ab456789");
}

// A pipe can't seek, so what is written in place is put together in memory.
TEST_F(FileWriterTest, PipesGetTheWholeFile)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    FileWriter file;
    std::FILE* stream = file.Open(("/proc/self/fd/" + std::to_string(ends[1])).c_str());
    std::fputs("xxcd", stream);
    std::fseek(stream, 0, SEEK_SET);
    std::fputs("ab", stream);
    EXPECT_TRUE(file.Commit());
    char got[8] = {};
    EXPECT_EQ(::read(ends[0], got, sizeof got), 4);
    EXPECT_STREQ(got, "abcd");
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST_F(FileWriterTest, WhatCannotBeReplacedIsFoundAtOpen)
{
    const std::string locked = Write("locked", "x");
    ::chmod(locked.c_str(), 0444);
    Write("folder/x", "x");
    EXPECT_EQ(ErrorOf(locked), EACCES);
    EXPECT_EQ(ErrorOf(Path("folder")), EISDIR);
    EXPECT_EQ(ErrorOf(Path("missing/a")), ENOENT);
    EXPECT_EQ(ErrorOf(Path("locked/a")), ENOTDIR);
    EXPECT_EQ(ErrorOf(""), ENOENT);
    EXPECT_TRUE(Save(Path(std::string(255, 'n')), "as long as a name can be"));
    EXPECT_EQ(Names().size(), 3U);
}

TEST_F(FileWriterTest, LinksAreFollowed)
{
    Write("there/old", "old");
    std::filesystem::create_symlink("there/old", Path("link"));
    std::filesystem::create_symlink(Path("link"), Path("linklink"));
    std::filesystem::create_symlink("there/new", Path("dangling"));
    std::filesystem::create_symlink("round", Path("round"));
    EXPECT_TRUE(Save(Path("linklink"), "a"));
    EXPECT_TRUE(Save(Path("dangling"), "b"));
    EXPECT_FALSE(Save(Path("round"), "c"));
    EXPECT_EQ(Read(Path("there/old")), "a");
    EXPECT_EQ(Read(Path("there/new")), "b");
    EXPECT_TRUE(std::filesystem::is_symlink(Path("linklink")));
    EXPECT_TRUE(std::filesystem::is_symlink(Path("dangling")));
}

TEST_F(FileWriterTest, ASetChangesTogether)
{
    Write("manifest", "old");
    LogCapture log;
    for (const bool full : {true, false}) {
        FileWriter set;
        std::fputs("new", set.Open(Path("manifest").c_str()));
        if (full)
            std::fputs("new", set.Open("/dev/full"));
        std::fputs("new", set.Open(Path("side").c_str()));
        EXPECT_EQ(set.Commit(), !full);
        EXPECT_EQ(Read(Path("manifest")), full ? "old" : "new");
        EXPECT_EQ(Names(), full ? Lines{"manifest"} : Lines({"manifest", "side"}));
    }
    EXPECT_EQ(log.lines, Lines{"E failed to write /dev/full: No space left on device"});
    EXPECT_EQ(Names(), (Lines{"manifest", "side"}));

    // The first is renamed last: when the second can't be, the first is as it was.
    FileWriter set;
    std::fputs("newer", set.Open(Path("manifest").c_str()));
    std::fputs("newer", set.Open(Path("side").c_str()));
    std::filesystem::remove(Path("side"));
    Write("side/in/the/way", "");
    EXPECT_FALSE(set.Commit());
    EXPECT_EQ(Read(Path("manifest")), "new");
    EXPECT_EQ(log.lines.back(), "E failed to write " + Path("side") + ": Is a directory");
}

TEST_F(FileWriterTest, OneTargetTwiceIsRefused)
{
    std::filesystem::create_directory(Path("f"));
    std::filesystem::create_symlink("a", Path("link"));
    LogCapture log;
    for (const char* spelling : {"a", "f/../a", "./a", "link"}) {
        FileWriter set;
        ASSERT_TRUE(set.Open(Path("a").c_str()));
        EXPECT_EQ(set.Open(Path(spelling).c_str()), nullptr) << spelling;
        EXPECT_EQ(set.OpenError(), EEXIST);
        EXPECT_TRUE(set.Open(Path("f/a").c_str()));
    }
    EXPECT_EQ(log.lines.size(), 4U);
}

// On a file system of 64 KiB or, where none can be mounted, under a limit on the size of a file.
TEST_F(FileWriterTest, AFullDiskLeavesTheOldFile)
{
    const bool mounted = ::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k") == 0;
    const std::string path = Write("a", "old");
    rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit low = {65536, limit.rlim_max};
    const auto previous = ::signal(SIGXFSZ, SIG_IGN);
    if (!mounted)
        ::setrlimit(RLIMIT_FSIZE, &low);

    LogCapture log;
    for (const std::size_t size : {70'000U, 1'000'000U}) {  // one within a buffer of its end, one large write
        EXPECT_FALSE(Save(path, std::string(size, 'x')));
        EXPECT_EQ(Read(path), "old");
        EXPECT_EQ(Names(), Lines{"a"});
    }
    const std::string reason = mounted ? "No space left on device" : "File too large";
    EXPECT_EQ(log.lines, Lines(2, "E failed to write " + path + ": " + reason));

    ::setrlimit(RLIMIT_FSIZE, &limit);
    ::signal(SIGXFSZ, previous);
    if (mounted)
        ::umount(folder.c_str());
}

// Needs a user whom permissions bind.
TEST_F(FileWriterTest, AFolderThatTakesNoFileIsWrittenInPlace)
{
    const std::string path = Write("a", "a longer old file");
    const std::string foreign = Write("foreign", "old");
    ::chmod(path.c_str(), 0666);
    ::chmod(foreign.c_str(), 0644);
    ::chmod(folder.c_str(), 0555);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::geteuid() == 0 && ::setuid(65534) != 0)
            ::_exit(1);
        LogCapture log;
        FileWriter abandoned;
        std::fputs("lost", abandoned.Open(path.c_str()));
        const bool kept = Read(path) == "a longer old file";
        const bool saved = Save(path, "new");
        const bool refused =
            ErrorOf(Path("b")) == EACCES && (::geteuid() != 65534 || ErrorOf(foreign) == EACCES);
        const std::string warning =
            "W " + path + " is written in place: its folder takes no new file: Permission denied";
        ::_exit(kept && saved && refused && log.lines == Lines{warning, warning} ? 0 : 2);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Read(path), "new");
}

TEST_F(FileWriterTest, ReadsRegularFilesAlone)
{
    Bytes bytes;
    const auto read = [&](const std::string& path) {
        return FileStream::ReadAllBinary(path.c_str(), bytes, FILE_SYSTEM_MODEL);
    };
    const std::string content(100'000, 'x');
    EXPECT_TRUE(read(Write("with spaces \xC3\xA4", content)));
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), content);
    EXPECT_TRUE(read(Write("empty", "")));
    EXPECT_TRUE(bytes.empty());

    ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0666), 0);
    for (const std::string& path : {Path("missing"), folder.string(), Path("pipe"), std::string("/dev/null"),
                                    std::string("/proc/self/maps")}) {  // which says that it has 0 bytes
        bytes = {1};
        EXPECT_FALSE(read(path)) << path;
        EXPECT_TRUE(bytes.empty()) << path;
    }
    EXPECT_TRUE(FileStream::Exists(Path("empty").c_str(), FILE_SYSTEM_ANY));
    EXPECT_FALSE(FileStream::Exists(Path("missing").c_str(), FILE_SYSTEM_ANY));
}

}  // namespace

}  // namespace vlio
