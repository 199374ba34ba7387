#include "Info.h"

#include "AnimInfo.h"
#include "Print.h"

#include <basekit/StringAlgo.h>
#include <vlio2/FileStream.h>
#include <vlio2/Path.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <limits>
#include <map>

namespace vela::vlgim::tools {

namespace {

using Vector3 = geomath::_Vector3<float>;

// Where a submesh count came from, for a file that does not hold it.
struct SubmeshCount {
    std::uint32_t count;
    std::string source;
};

std::string Attributes(const vlMeshVertexData& mesh)
{
    std::string text = "positions, normals";
    if (mesh.m_tangents)
        text += ", tangents";
    if (mesh.m_uvSetCount)
        text += ", " + std::to_string(mesh.m_uvSetCount) + (mesh.m_uvSetCount == 1 ? " uv set" : " uv sets");
    const auto hasColors = [](const SubmeshRecord& record) { return record.hasColors != 0; };
    if (std::any_of(mesh.m_subRecords.get(), mesh.m_subRecords.get() + mesh.m_subCount, hasColors))
        text += ", colours";
    return text;
}

std::uint64_t BytesInMemory(const vlMeshVertexData& mesh)
{
    const std::uint64_t vertices = mesh.m_vertexCount;
    const unsigned streams = mesh.m_tangents ? 3 : 2;
    return mesh.m_subCount * sizeof(SubmeshRecord) +
           streams * vertices * mesh.m_frameCount * vlMeshVertexData::m_v_sz +
           std::uint64_t{mesh.m_triangleCount} * vlMeshVertexData::m_tri_sz +
           mesh.m_uvSetCount * vertices * vlMeshVertexData::m_uv_sz +
           (mesh.m_colors ? vertices * vlMeshVertexData::m_c_sz : 0);
}

// NaN is in no box, so it moves none.
void PrintBox(const vlMeshVertexData& mesh)
{
    const std::uint64_t count = std::uint64_t{mesh.m_frameCount} * mesh.m_vertexCount;
    if (count == 0)
        return Row("box", "empty");
    constexpr float inf = std::numeric_limits<float>::infinity();
    Vector3 low{inf, inf, inf}, high{-inf, -inf, -inf};
    for (const Vector3* p = mesh.m_positions.get(); p != mesh.m_positions.get() + count; ++p) {
        low = {std::min(low.x, p->x), std::min(low.y, p->y), std::min(low.z, p->z)};
        high = {std::max(high.x, p->x), std::max(high.y, p->y), std::max(high.z, p->z)};
    }
    Row("box", "(%g, %g, %g) to (%g, %g, %g)", low.x, low.y, low.z, high.x, high.y, high.z);
}

// The reader passes over the magic word, so a wrong one is worth a word.
void PrintHeader(const vlio::Bytes& bytes)
{
    const bool ours = bytes[0] == 0x34 && bytes[1] == 0x80 && bytes[2] == 0xC8 && bytes[3] == 0xBB;
    Row("file", "%s bytes", Grouped(bytes.size()).c_str());
    Row("magic", "%02X %02X %02X %02X%s", bytes[0], bytes[1], bytes[2], bytes[3],
        ours ? "" : ", not that of a mesh");
}

void PrintMesh(const vlMeshData& mesh, const std::string& countSource,
               const std::vector<SubmeshMessage>& names)
{
    const vlMeshVertexData& vertices = *mesh.m_vertexData;
    Row("version", "0x%X, pack mode %u", mesh.m_version, mesh.m_packMode);
    Row("kind", "%s", mesh.m_skeletonFlag ? "skinned mesh" : "static mesh");
    Row("submeshes", "%u, %s", mesh.m_submeshCount, countSource.c_str());
    Row("vertices", "%s", Grouped(vertices.m_vertexCount).c_str());
    Row("triangles", "%s", Grouped(vertices.m_triangleCount).c_str());
    Row("attributes", "%s", Attributes(vertices).c_str());
    PrintBox(vertices);
    Row("in memory", "%s bytes", Grouped(BytesInMemory(vertices)).c_str());

    std::size_t width = 4;
    for (const SubmeshMessage& submesh : names)
        width = std::max(width, submesh.name.size());
    std::printf("\n  %4s  %-*s  %21s  %21s  %7s  %7s\n", "#", static_cast<int>(width), "name", "vertices",
                "triangles", "uv sets", "colours");
    for (std::uint32_t i = 0; i < vertices.m_subCount; ++i) {
        const SubmeshRecord& record = vertices.m_subRecords[i];
        const auto range = [](std::uint32_t first, std::uint32_t count) {
            return count ? Grouped(first) + " to " + Grouped(std::uint64_t{first} + count - 1)
                         : std::string("none");
        };
        std::printf("  %4u  %-*s  %21s  %21s  %7u  %7s\n", i, static_cast<int>(width),
                    i < names.size() ? names[i].name.c_str() : "-",
                    range(record.firstVertex, record.vertexCount).c_str(),
                    range(record.firstTriangle, record.triangleCount).c_str(), record.uvSetCount,
                    record.hasColors ? "yes" : "no");
    }
}

void PrintMaterials(const std::vector<MaterialMessage>& materials)
{
    std::printf("\n  %4s  %s\n", "#", "material");
    for (std::size_t i = 0; i < materials.size(); ++i) {
        std::printf("  %4zu  %s\n", i, materials[i].name.c_str());
        const std::map<std::string, std::string> sorted(materials[i].params.begin(),
                                                        materials[i].params.end());
        std::size_t width = 0;
        for (const auto& [name, value] : sorted)
            width = std::max(width, name.size());
        for (const auto& [name, value] : sorted)
            std::printf("          %-*s  %s\n", static_cast<int>(width), name.c_str(), value.c_str());
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
    std::fprintf(
        stderr,
        "%s: the file does not say how many submeshes it has, and %s counts fit it; use --submeshes N\n",
        path.c_str(), fitting.empty() ? "no" : "several");
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
    Row("mesh", "%s", model.m_meshPath.c_str());
    Row("skeleton", "%s", skeleton.empty() ? "none" : skeleton.c_str());
    Row("materials", "%zu", model.m_materials.size());
    Row("music", "%s", model.m_musicXml.IsEmpty() ? "none" : "yes");
    std::printf("\n  %4s  %s\n", "#", "submesh and its material");
    for (std::size_t i = 0; i < model.m_submeshes.size(); ++i) {
        const SubmeshMessage& submesh = model.m_submeshes[i];
        const std::string material = model.GetMaterial(submesh.mtlIdx).name;
        std::printf("  %4zu  %s: %d%s%s\n", i, submesh.name.c_str(), submesh.mtlIdx,
                    material.empty() ? "" : " ", material.c_str());
    }
    PrintMaterials(model.m_materials);
    std::printf("\n%s\n", model.m_meshPath.c_str());
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
