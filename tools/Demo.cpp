#include "Demo.h"

#include "AnimInfo.h"
#include "House.h"
#include "Info.h"
#include "KeyForms.h"
#include "Walker.h"

#include <vlio2/FileStream.h>

#include <cstdio>
#include <filesystem>
#include <initializer_list>

namespace vela::vlgim::tools {

namespace {

// Lists files of the first folder with their namesakes in the second; true if they are the same, byte for byte.
bool SameFiles(const std::string& first, const std::string& second, std::initializer_list<const char*> names)
{
    bool allSame = true;
    std::printf("  %-18s  %10s  %10s\n", "file", "first", "second");
    for (const char* name : names) {
        vlio::Bytes one, two;
        const bool read =
            vlio::FileStream::ReadAllBinary((first + "/" + name).c_str(), one, vlio::FILE_SYSTEM_ANY) &&
            vlio::FileStream::ReadAllBinary((second + "/" + name).c_str(), two, vlio::FILE_SYSTEM_ANY);
        const bool same = read && one == two;
        std::printf("  %-18s  %10zu  %10zu  %s\n", name, one.size(), two.size(),
                    same ? "same bytes" : "DIFFERENT");
        allSame = allSame && same;
    }
    return allSame;
}

bool RunModel(const std::string& folder, const std::string& copy)
{
    const std::string manifest = folder + "/house.gim";
    std::printf("Writing a small house to %s\n", manifest.c_str());
    GimData house;
    BuildHouse(house);
    house.m_meshPath = folder + "/house.mesh";
    if (house.Save(manifest.c_str()) != 0)
        return false;

    std::printf("Loading it back\n\n");
    GimData loaded;
    if (loaded.Load(manifest.c_str()) != 0)
        return false;
    PrintModel(manifest, loaded);

    std::printf("\nSaving it to %s\n\n", copy.c_str());
    loaded.m_meshPath = copy + "/house.mesh";
    return loaded.Save((copy + "/house.gim").c_str()) == 0 &&
           SameFiles(folder, copy, {"house.gim", "house.mesh", "house.mtg", "house_music.ags"});
}

bool RunSkeleton(const std::string& folder, const std::string& copy)
{
    const std::string path = folder + "/walker.gis";
    std::printf("\nWriting a walking stick figure to %s\n", path.c_str());
    GisData walker;
    BuildWalker(walker);
    walker.m_anim.m_path = path;
    if (walker.Save(path.c_str()) != 0)
        return false;

    std::printf("Loading it back\n\n");
    GisData loaded;
    if (loaded.Load(path.c_str()) != 0)
        return false;
    PrintAnimation(path, loaded);

    const std::string copyPath = copy + "/walker.gis";
    std::printf("\nSaving it to %s with its clips in side files, loading that\n\n", copy.c_str());
    loaded.m_anim.m_path = copyPath;
    loaded.m_anim.m_async = 1;
    std::filesystem::create_directory(copy + "/walker_gis");
    GisData again;
    if (loaded.Save(copyPath.c_str()) != 0 || again.Load(copyPath.c_str()) != 0)
        return false;
    PrintAnimation(copyPath, again);

    std::printf("\nSaving that in one file again\n\n");
    again.m_anim.m_async = 0;
    return again.Save(copyPath.c_str()) == 0 && SameFiles(folder, copy, {"walker.gis", "walker.ags"});
}

}  // namespace

bool RunDemo(const std::string& folder)
{
    const std::string copy = folder + "/copy";
    std::error_code error;
    std::filesystem::create_directories(copy, error);
    if (error) {
        std::fprintf(stderr, "%s: %s\n", copy.c_str(), error.message().c_str());
        return false;
    }
    if (!RunModel(folder, copy) || !RunSkeleton(folder, copy))
        return false;
    std::printf("\n");
    return PrintKeyForms();
}

}  // namespace vela::vlgim::tools
