#include "Demo.h"

#include "House.h"
#include "Info.h"
#include "KeyForms.h"

#include <vlio2/FileStream.h>

#include <cstdio>
#include <filesystem>

namespace vela::vlgim::tools {

namespace {

// Lists the model's files in both folders; true if they are the same, byte for byte.
bool SameFiles(const std::string& first, const std::string& second)
{
    bool allSame = true;
    std::printf("  %-18s  %10s  %10s\n", "file", "first", "second");
    for (const char* name : {"house.gim", "house.mesh", "house.mtg", "house_music.ags"}) {
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
    if (loaded.Save((copy + "/house.gim").c_str()) != 0 || !SameFiles(folder, copy))
        return false;

    std::printf("\n");
    return PrintKeyForms();
}

}  // namespace vela::vlgim::tools
