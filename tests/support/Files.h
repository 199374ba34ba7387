#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <sys/resource.h>

namespace vela::vlgim::test {

/// An empty folder of its own for each test, removed at the end.
class FolderTest : public ::testing::Test {
protected:
    FolderTest()
    {
        std::string name = std::filesystem::temp_directory_path() / "vlgim-test-XXXXXX";
        folder = mkdtemp(name.data());
    }
    ~FolderTest() override
    {
        std::error_code ignored;
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(folder, ignored);
    }

    std::string Path(std::string_view name) const { return (folder / name).string(); }

    std::string Write(std::string_view name, std::string_view content) const
    {
        std::filesystem::create_directories((folder / name).parent_path());
        std::ofstream(folder / name, std::ios::binary) << content;
        return Path(name);
    }

    static std::string Read(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::filesystem::path folder;
};

/// While it lives no file can be written behind so many bytes.
class ShortDisk {
public:
    explicit ShortDisk(rlim_t room) : m_previous(::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &m_limit);
        const rlimit low = {room, m_limit.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &low);
    }
    ShortDisk(const ShortDisk&) = delete;
    ShortDisk& operator=(const ShortDisk&) = delete;
    ~ShortDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_limit);
        ::signal(SIGXFSZ, m_previous);
    }

private:
    rlimit m_limit = {};
    sighandler_t m_previous;
};

}  // namespace vela::vlgim::test
