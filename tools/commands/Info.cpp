#include "commands/Info.h"

#include "commands/Commands.h"
#include "report/AnimInfo.h"
#include "report/InfoJson.h"
#include "report/MeshInfo.h"
#include "report/Print.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <map>

namespace vela::vlgim::tools {

namespace {

// The reader passes over the magic word, so a wrong one is worth a word.
void PrintHeader(const MeshFile& file)
{
    constexpr std::array<unsigned char, 4> ours{0x34, 0x80, 0xC8, 0xBB};
    Row("file", "%s bytes", Grouped(file.size).c_str());
    Row("magic", "%02X %02X %02X %02X%s", file.magic[0], file.magic[1], file.magic[2], file.magic[3],
        file.magic == ours ? "" : ", not that of a mesh");
}

void PrintMaterials(const std::vector<MaterialMessage>& materials)
{
    std::printf("\n  %4s  %s\n", "#", "material");
    for (std::size_t i = 0; i < materials.size(); ++i) {
        std::printf("  %4zu  %s\n", i, Shown(materials[i].name).c_str());
        const std::map<std::string, std::string> sorted(materials[i].params.begin(),
                                                        materials[i].params.end());
        std::size_t width = 0;
        for (const auto& [name, value] : sorted)
            width = std::max(width, Shown(name).size());
        for (const auto& [name, value] : sorted)
            std::printf("          %-*s  %s\n", static_cast<int>(width), Shown(name).c_str(),
                        Shown(value).c_str());
    }
}

struct Options {
    std::vector<std::string> files;
    LoadOptions load;
    bool isJson = false;
};

// Whether the file could be read; if not, stderr says why.
bool PrintFile(const std::string& path, const Options& options)
try {
    const std::optional<LoadedFile> file = LoadFile(path, options.load);
    if (!file)
        return false;
    std::visit(
        [&path, &options](const auto& loaded) {
            if (options.isJson)
                PrintLine(InfoLine(path, *loaded));
            else
                PrintInfo(path, *loaded);
        },
        *file);
    return true;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", Shown(path).c_str(), error.what());
    return false;
}

int PrintAll(const Options& options)
{
    int code = kClean;
    for (const std::string& file : options.files) {
        if (!options.isJson && &file != &options.files.front())
            std::printf("\n");
        if (!PrintFile(file, options))
            code = kFindings;
    }
    return code;
}

}  // namespace

void PrintInfo(const std::string& path, const GimData& model)
{
    std::printf("%s\n", Shown(path).c_str());
    const std::string skeleton = model.GetSkeletonName();
    Row("mesh", "%s", Shown(model.m_meshPath).c_str());
    Row("skeleton", "%s", skeleton.empty() ? "none" : Shown(skeleton).c_str());
    Row("materials", "%zu", model.m_materials.size());
    Row("music", "%s", model.m_musicXml.IsEmpty() ? "none" : "yes");
    std::printf("\n  %4s  %s\n", "#", "submesh and its material");
    for (std::size_t i = 0; i < model.m_submeshes.size(); ++i) {
        const SubmeshMessage& submesh = model.m_submeshes[i];
        const std::string material = Shown(model.GetMaterial(submesh.mtlIdx).name);
        std::printf("  %4zu  %s: %d%s%s\n", i, Shown(submesh.name).c_str(), submesh.mtlIdx,
                    material.empty() ? "" : " ", material.c_str());
    }
    PrintMaterials(model.m_materials);
    std::printf("\n%s\n", Shown(model.m_meshPath).c_str());
    PrintMesh(model.m_mesh, "as the manifest says", model.m_submeshes);
}

void PrintInfo(const std::string& path, const MeshFile& file)
{
    std::printf("%s\n", Shown(path).c_str());
    PrintHeader(file);
    PrintMesh(file.mesh, file.countSource, {});
}

void AddInfo(CLI::App& app, std::function<int()>& run)
{
    const auto options = std::make_shared<Options>();
    CLI::App* info = app.add_subcommand("info", "Print an account of .gim, .mesh, .gis and track files");
    info->add_option("FILE", options->files, "Model manifests, meshes, animations, tracks")->required();
    info->add_flag("--json", options->isJson,
                   "Print one JSON object a file and line, as share/vlgim/vlgim.schema.json describes it");
    AddLoadOptions(*info, options->load);
    info->footer(R"(Examples:
  vlgim info hero.gim hero.gis             what is in the two
  vlgim info --base res/ char/hero.gim     its manifest names files relative to res/
  vlgim info --submeshes 3 lost.mesh       no manifest is left that tells the count
  vlgim info --json *.gis | jq -r '.file + " " + .clips[].name')");
    info->callback([options, &run] { run = [options] { return PrintAll(*options); }; });
}

}  // namespace vela::vlgim::tools
