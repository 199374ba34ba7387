#include "report/ModelInfo.h"

#include "report/MeshInfo.h"
#include "report/Print.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace vela::vlgim::tools {

namespace {

// The reader passes over the magic word, so a wrong one is worth a word.
void PrintHeader(const MeshFile& file)
{
    constexpr std::array<unsigned char, 4> ours{0x34, 0x80, 0xC8, 0xBB};
    Row("file", "%s bytes", Grouped(file.size).c_str());
    Row("magic", "%s%s", HexBytes(file.magic).c_str(), file.magic == ours ? "" : ", not that of a mesh");
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

}  // namespace vela::vlgim::tools
