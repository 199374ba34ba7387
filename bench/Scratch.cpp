#include "Scratch.h"

#include "Floors.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace vela::vlgim::bench {

namespace {

bool IsTmpfs(const std::filesystem::path& folder)
{
    struct statfs status = {};
    return ::statfs(folder.c_str(), &status) == 0 && status.f_type == TMPFS_MAGIC;
}

// The folder for temporary files is on tmpfs on some systems.
std::filesystem::path Folder(Place place)
{
    if (place == Place::kTmpfs)
        return "/dev/shm";
    const std::filesystem::path temporary = std::filesystem::temp_directory_path();
    return IsTmpfs(temporary) ? "/var/tmp" : temporary;
}

std::filesystem::path FolderOf(pid_t process, Place place)
{
    return Folder(place) / ("vlgim-bench-" + std::to_string(process));
}

}  // namespace

std::string ScratchPath(Place place, const char* name)
{
    const std::filesystem::path folder = FolderOf(::getpid(), place);
    std::filesystem::create_directories(folder);
    if (IsTmpfs(folder) != (place == Place::kTmpfs)) {
        std::fprintf(stderr, "%s is not on the kind of file system that this row is about\n", folder.c_str());
        std::abort();
    }
    return folder / name;
}

std::string ScratchFile(const char* name, const std::vector<unsigned char>& bytes)
{
    std::string path = ScratchPath(Place::kDisk, name);
    WriteOnce(path.c_str(), bytes);
    return path;
}

void RemoveScratch(pid_t process)
{
    std::error_code ignored;
    for (const Place place : {Place::kDisk, Place::kTmpfs})
        std::filesystem::remove_all(FolderOf(process, place), ignored);
}

}  // namespace vela::vlgim::bench
