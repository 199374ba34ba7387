#include "commands/Commands.h"
#include "demo/MeshBuilder.h"
#include "demo/Models.h"
#include "report/Info.h"

#include <vlio2/FileStream.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <initializer_list>

namespace vela::vlgim::tools {

namespace {

// Lists files of the first folder with their namesakes in the second; true if they are the same, byte for byte.
bool SameFiles(const std::filesystem::path& first, const std::filesystem::path& second,
               std::initializer_list<std::string> names)
{
    bool allSame = true;
    std::printf("  %-18s  %10s  %10s\n", "file", "first", "second");
    for (const std::string& name : names) {
        vlio::Bytes one, two;
        const bool same = !vlio::ReadFile((first / name).c_str(), one) &&
                          !vlio::ReadFile((second / name).c_str(), two) && one == two;
        std::printf("  %-18s  %10zu  %10zu  %s\n", name.c_str(), one.size(), two.size(),
                    same ? "same bytes" : "DIFFERENT");
        allSame = allSame && same;
    }
    return allSame;
}

Vector3 TranslationOf(const geomath::_Matrix<float>& matrix)
{
    return {matrix.m[3][0], matrix.m[3][1], matrix.m[3][2]};
}

// One of the demo's models; its files are named after it.
struct Model {
    const char* name;
    const char* what;
    void (*build)(GimData&);
};
constexpr Model kModels[] = {
    {"house", "a small house with a track for each submesh", BuildHouse},
    {"flag", "a flag that waves in three morph frames", BuildFlag},
    {"walker", "a figure that is skinned to a skeleton", BuildWalkerBody},
};

// Saves what was built, loads it back and prints it.
template <class Data>
bool SaveAndLoad(const char* what, const std::string& path, Data& built, Data& loaded)
{
    std::printf("Writing %s to %s\n", what, path.c_str());
    if (built.Save(path.c_str()) != 0)
        return false;
    std::printf("Loading it back\n\n");
    if (loaded.Load(path.c_str()) != 0)
        return false;
    PrintInfo(InfoOf(path, loaded));
    return true;
}

bool RunModel(const std::string& folder, const std::string& copy, const Model& model)
{
    const std::string name = model.name;
    GimData built, loaded;
    model.build(built);
    built.m_meshPath = folder + "/" + name + ".mesh";
    if (!SaveAndLoad(model.what, folder + "/" + name + ".gim", built, loaded))
        return false;

    std::printf("\nSaving it to %s\n\n", copy.c_str());
    loaded.m_meshPath = copy + "/" + name + ".mesh";
    const bool same =
        loaded.Save((copy + "/" + name + ".gim").c_str()) == 0 &&
        SameFiles(folder, copy, {name + ".gim", name + ".mesh", name + ".mtg", name + "_music.ags"});
    std::printf("\n");
    return same;
}

bool RunSkeleton(const std::string& folder, const std::string& copy)
{
    GisData walker, loaded, again;
    BuildWalker(walker);
    walker.m_anim.m_path = folder + "/walker.gis";
    if (!SaveAndLoad("a walking stick figure", walker.m_anim.m_path, walker, loaded))
        return false;

    const std::string copyPath = copy + "/walker.gis";
    std::printf("\nSaving it to %s with its clips in side files, loading that\n\n", copy.c_str());
    loaded.m_anim.m_path = copyPath;
    loaded.m_anim.m_async = 1;
    std::filesystem::create_directory(copy + "/walker_gis");
    if (loaded.Save(copyPath.c_str()) != 0 || again.Load(copyPath.c_str()) != 0)
        return false;
    PrintInfo(InfoOf(copyPath, again));

    std::printf("\nSaving that in one file again\n\n");
    again.m_anim.m_async = 0;
    return again.Save(copyPath.c_str()) == 0 && SameFiles(folder, copy, {"walker.gis", "walker.ags"});
}

// Whether the bones of the body stand in the skeleton under the same name, at the same place from their parent.
bool CheckFit(const std::string& folder)
{
    GimData body;
    if (body.Load((folder + "/walker.gim").c_str()) != 0)
        return false;
    GisData skeleton;
    if (skeleton.Load((folder + "/" + body.GetSkeletonName()).c_str()) != 0)
        return false;
    const vlMeshData& mesh = body.m_mesh;
    const vlAnimData& anim = skeleton.m_anim;
    int fitting = 0;
    for (std::uint16_t bone = 0; bone < mesh.m_boneCount; ++bone) {
        const std::int32_t* ids = anim.m_boneNameIds;
        const auto at = std::find(ids, ids + anim.m_boneCount, mesh.m_boneNameIds[bone]) - ids;
        if (at == anim.m_boneCount)
            continue;
        const std::uint16_t parent = mesh.m_boneParents[bone];
        Vector3 place = Vector3{} - TranslationOf(mesh.m_boneMatrices[bone]);
        if (parent < mesh.m_boneCount)
            place = place + TranslationOf(mesh.m_boneMatrices[parent]);
        const Vector3 off = place - anim.m_boneTrans[static_cast<std::size_t>(at)].m_pos;
        fitting += std::max({std::fabs(off.x), std::fabs(off.y), std::fabs(off.z)}) < 1e-6F ? 1 : 0;
    }
    std::printf("\n%d of %u bones of walker.gim fit %s\n", fitting, mesh.m_boneCount,
                body.GetSkeletonName().c_str());
    return fitting == mesh.m_boneCount;
}

// Writes three models and an animated skeleton into folder, loads them, prints them, saves them to folder/copy and
// compares; then shows the forms of rotation keys. False if any of it failed. Throws std::filesystem::filesystem_error.
bool RunDemo(const std::string& folder)
{
    const std::string copy = folder + "/copy";
    std::filesystem::create_directories(copy);
    for (const Model& model : kModels)
        if (!RunModel(folder, copy, model))
            return false;
    if (!RunSkeleton(folder, copy) || !CheckFit(folder))
        return false;
    std::printf("\n");
    return PrintKeyForms();
}

}  // namespace

void AddDemo(CLI::App& app, std::function<int()>& run)
{
    const auto folder = std::make_shared<std::string>("demo");
    CLI::App* demo = app.add_subcommand(
        "demo", "Write small example models, load and print them, and compare saved copies");
    demo->add_option("FOLDER", *folder, "Folder to write to; created if needed")->capture_default_str();
    demo->footer(R"(Examples:
  vlgim demo             write to the folder demo
  vlgim demo try         write to the folder try)");
    demo->callback([folder, &run] { run = [folder] { return RunDemo(*folder) ? kClean : kFindings; }; });
}

}  // namespace vela::vlgim::tools
