#include "Info.h"

#include "AnimInfo.h"
#include "MeshInfo.h"
#include "Print.h"

#include <basekit/StringAlgo.h>
#include <vlio2/FileStream.h>
#include <vlio2/Path.h>

#include <algorithm>
#include <cstdio>
#include <map>

namespace vela::vlgim::tools {

namespace {

// Where a submesh count came from, for a file that does not hold it.
struct SubmeshCount {
    std::uint32_t count;
    std::string source;
};

// The reader passes over the magic word, so a wrong one is worth a word.
void PrintHeader(const vlio::Bytes& bytes)
{
    const bool ours = bytes[0] == 0x34 && bytes[1] == 0x80 && bytes[2] == 0xC8 && bytes[3] == 0xBB;
    Row("file", "%s bytes", Grouped(bytes.size()).c_str());
    Row("magic", "%02X %02X %02X %02X%s", bytes[0], bytes[1], bytes[2], bytes[3],
        ours ? "" : ", not that of a mesh");
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
            width = std::max(width, name.size());
        for (const auto& [name, value] : sorted)
            std::printf("          %-*s  %s\n", static_cast<int>(width), Shown(name).c_str(),
                        Shown(value).c_str());
    }
}

bool PrintManifest(const std::string& path, const InfoOptions& options)
{
    GimData model;
    const int result = model.Load(path.c_str(), options.base ? options.base->c_str() : nullptr);
    if (result != 0 && result != -1)
        return false;
    if (result == -1)
        std::fprintf(stderr, "%s: a submesh has no name or no material index; the list ends ahead of it\n",
                     path.c_str());
    PrintModel(path, model);
    return true;
}

std::uint32_t CountInManifest(const std::string& path)
{
    vlio::XmlData manifest;
    std::vector<tinyxml2::XMLElement*> submeshes;
    if (vlio::FileStream::Exists(path.c_str(), vlio::FILE_SYSTEM_ANY) && manifest.Load(path.c_str()) == 0)
        if (const tinyxml2::XMLElement* list = manifest.FindElement("Vela/SubMesh", nullptr))
            manifest.GetChildElementList(submeshes, list, nullptr);
    return static_cast<std::uint32_t>(submeshes.size());
}

std::optional<SubmeshCount> FindSubmeshCount(const std::string& path, const vlio::Bytes& bytes,
                                             const InfoOptions& options)
{
    if (options.submeshes)
        return SubmeshCount{*options.submeshes, "as given"};
    const std::string manifest = vlio::ReplaceFileExtension(path.c_str(), ".gim");
    if (const std::uint32_t count = CountInManifest(manifest))
        return SubmeshCount{count, "as " + manifest + " says"};
    const std::vector<std::uint32_t> fitting = vlMeshData::FittingSubmeshCounts(bytes.data(), bytes.size());
    if (fitting.size() == 1)
        return SubmeshCount{fitting[0], "the one count that fits the file"};
    std::fprintf(stderr, "%s: the file does not say how many submeshes it has, and %s; use --submeshes N\n",
                 path.c_str(), fitting.empty() ? "they can't be worked out" : "several counts fit it");
    return std::nullopt;
}

bool PrintMeshFile(const std::string& path, const vlio::Bytes& bytes, const InfoOptions& options)
{
    const std::optional<SubmeshCount> submeshes = FindSubmeshCount(path, bytes, options);
    if (!submeshes)
        return false;
    vlMeshData mesh;
    mesh.m_submeshCount = submeshes->count;
    if (!mesh.ReadMeshFile(bytes.data(), bytes.size()))
        return false;
    std::printf("%s\n", path.c_str());
    PrintHeader(bytes);
    PrintMesh(mesh, submeshes->source, {});
    return true;
}

bool PrintAnimationFile(const std::string& path, const InfoOptions& options)
{
    GisData skeleton;
    if (skeleton.Load(path.c_str(), options.base ? options.base->c_str() : nullptr) != 0)
        return false;
    PrintAnimation(path, skeleton);
    return true;
}

bool PrintTrackFile(const std::string& path)
{
    vlTrackData track;
    if (!track.Load(path.c_str()))
        return false;
    PrintTrack(path, track);
    return true;
}

bool HasExtension(const std::string& path, std::string_view extension)
{
    std::string lower = path;
    kit::StringAlgo::ToLower(lower.data());
    return lower.ends_with(extension);
}

bool StartsWith(const vlio::Bytes& bytes, std::string_view magic)
{
    return bytes.size() >= magic.size() && std::equal(magic.begin(), magic.end(), bytes.begin());
}

}  // namespace

void PrintModel(const std::string& path, const GimData& model)
{
    std::printf("%s\n", path.c_str());
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

bool PrintFile(const std::string& path, const InfoOptions& options)
{
    if (HasExtension(path, ".gim"))
        return PrintManifest(path, options);
    if (HasExtension(path, ".gis"))
        return PrintAnimationFile(path, options);
    vlio::Bytes bytes;
    if (!vlio::FileStream::ReadAllBinary(path.c_str(), bytes, vlio::FILE_SYSTEM_MODEL)) {
        std::fprintf(stderr, "%s: can't be read\n", path.c_str());
        return false;
    }
    if (HasExtension(path, ".mesh"))
        return PrintMeshFile(path, bytes, options);
    if (StartsWith(bytes, "VTRK"))
        return PrintTrackFile(path);
    if (StartsWith(bytes, "RGIS"))
        return PrintAnimationFile(path, options);
    return PrintManifest(path, options);
}

}  // namespace vela::vlgim::tools
