#include "report/MeshInfo.h"

#include "report/AnimFacts.h"
#include "report/MeshFacts.h"
#include "report/Print.h"

#include <algorithm>
#include <cstdio>

namespace vela::vlgim::tools {

namespace {

std::string Kind(std::uint16_t skeletonFlag)
{
    if (skeletonFlag == 0)
        return "static mesh";
    return skeletonFlag == 1 ? "skinned mesh"
                             : "skinned mesh without bones, flag " + std::to_string(skeletonFlag);
}

std::string Attributes(const vlMeshVertexData& mesh, bool hasColors)
{
    std::string text = "positions, normals";
    if (mesh.m_tangents)
        text += ", tangents";
    if (mesh.m_uvSetCount)
        text += ", " + std::to_string(mesh.m_uvSetCount) + (mesh.m_uvSetCount == 1 ? " uv set" : " uv sets");
    return hasColors ? text + ", colours" : text;
}

void PrintBox(const std::optional<Box>& box)
{
    if (!box)
        return Row("box", "empty");
    Row("box", "(%g, %g, %g) to (%g, %g, %g)", box->low.x, box->low.y, box->low.z, box->high.x, box->high.y,
        box->high.z);
}

void PrintSubmeshes(const vlMeshVertexData& vertices, const std::vector<SubmeshMessage>& names)
{
    std::size_t width = 4;
    for (const SubmeshMessage& submesh : names)
        width = std::max(width, Shown(submesh.name).size());
    std::printf("\n  %4s  %-*s  %21s  %21s  %7s  %7s\n", "#", static_cast<int>(width), "name", "vertices",
                "triangles", "uv sets", "colours");
    for (std::uint32_t i = 0; i < vertices.m_subCount; ++i) {
        const SubmeshRecord& record = vertices.m_subRecords[i];
        const auto range = [](std::uint32_t first, std::uint32_t count) {
            return count ? Grouped(first) + " to " + Grouped(std::uint64_t{first} + count - 1)
                         : std::string("none");
        };
        std::printf("  %4u  %-*s  %21s  %21s  %7u  %7s\n", i, static_cast<int>(width),
                    i < names.size() ? Shown(names[i].name).c_str() : "-",
                    range(record.firstVertex, record.vertexCount).c_str(),
                    range(record.firstTriangle, record.triangleCount).c_str(), record.uvSetCount,
                    record.hasColors ? "yes" : "no");
    }
}

void PrintWeights(const SkinFacts& skin)
{
    if (skin.HasSums())
        Row("weights", "%u a vertex, sums %g to %g", kSlots, skin.lowest, skin.highest);
    else
        Row("weights", "%u a vertex, no sums", kSlots);
    std::string influences;
    for (std::size_t i = 0; i <= kSlots; ++i)
        if (skin.byInfluences[i] != 0)
            influences += (influences.empty() ? "" : ", ") + Grouped(skin.byInfluences[i]) + " with " +
                          std::to_string(i);
    Row("influences", "%s", influences.empty() ? "none" : influences.c_str());
    if (skin.nanSums != 0)
        Row("bad weights", "sums that are not a number: %s", Grouped(skin.nanSums).c_str());
    if (skin.missingBones != 0)
        Row("bad bones", "references to a bone that does not exist: %s", Grouped(skin.missingBones).c_str());
}

std::string NameAt(const std::vector<std::string>& names, std::uint16_t bone)
{
    if (bone == kNone)
        return "-";
    return bone < names.size() ? Shown(names[bone]) : std::to_string(bone) + ", which does not exist";
}

// 0 stands for no root as well as for the first bone.
std::string Root(const vlMeshData& mesh, const std::vector<std::string>& names)
{
    if (mesh.m_rootBone == kNone)
        return "several roots";
    return mesh.m_rootBone == 0 && mesh.m_boneParents[0] != kNone ? "no root"
                                                                  : "root " + NameAt(names, mesh.m_rootBone);
}

void PrintBones(const vlMeshData& mesh, const SkinFacts& skin)
{
    const std::vector<std::string>& names = skin.boneNames;
    const std::vector<bool>& used = skin.usedBones;
    Row("used bones", "%td, in a mask of %zu", std::count(used.begin(), used.end(), true), used.size());
    if (names.empty())
        return Row("bones", "none");
    Row("bones", "%zu, %s, %s bounds", names.size(), Root(mesh, names).c_str(),
        mesh.m_boneBounds ? "with" : "without");
    std::printf("\n  %4s  %-20s  %-20s  %4s  %7s\n", "#", "bone", "parent", "used", "radius");
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::printf("  %4zu  %-20s  %-20s  %4s", i, Shown(names[i]).c_str(),
                    NameAt(names, mesh.m_boneParents[i]).c_str(), skin.IsUsed(i) ? "yes" : "no");
        if (mesh.m_boneBounds)
            std::printf("  %7.3g", static_cast<double>(mesh.m_boneBounds.get()[i].m_radius));
        std::printf("\n");
    }
}

void PrintMorph(const vlMorphData& morph, std::uint32_t frameCount)
{
    constexpr unsigned short shown = 8;
    std::string times;
    const unsigned short count = morph.m_times.GetKeyTimes() ? morph.m_times.GetKeyCount() : 0;
    for (unsigned short key = 0; key < std::min(count, shown); ++key) {
        char text[32];
        std::snprintf(text, sizeof text, " %g", static_cast<double>(morph.m_times.GetKeyTime(key)));
        times += text;
    }
    std::printf("\n");
    Row("morph", "mode %u, frames %u", morph.m_morphMode, frameCount);
    Row("keys", "%u, at%s%s", count, times.c_str(), count > shown ? " ..." : "");
}

void PrintTracks(const vlTrackData* tracks, std::uint32_t count)
{
    std::printf("\n  %4s  %-16s  %5s  %8s  %8s  %6s\n", "#", "track", "keys", "length", "channels", "moving");
    for (std::uint32_t i = 0; i < count; ++i) {
        const vlTrackData& track = tracks[i];
        const auto moving =
            std::count_if(track.m_channels.get(), track.m_channels.get() + track.m_channelCount, Moves);
        std::printf("  %4u  %-16s  %5u  %8g  %8u  %6td\n", i, Shown(track.m_name).c_str(),
                    track.GetKeyCount(), track.m_times.GetLength(), track.m_channelCount, moving);
    }
}

void PrintOriginalData(const std::vector<std::shared_ptr<vlOriginalData>>& blocks)
{
    std::printf("\n  %4s  %-16s  %10s  %10s  %10s  %4s\n", "#", "original data", "vertices", "indices",
                "extra", "skin");
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const vlOriginalData& data = *blocks[i];
        std::printf("  %4zu  type %-11u  %10s  %10s  %10s  %4s\n", i, data.m_type,
                    Grouped(data.m_origVertexCount).c_str(), Grouped(data.m_origIndexCount).c_str(),
                    Grouped(data.m_origExtraCount).c_str(), data.m_origBones ? "yes" : "no");
    }
}

}  // namespace

void PrintMesh(const vlMeshData& mesh, const std::string& countSource,
               const std::vector<SubmeshMessage>& names)
{
    const vlMeshVertexData& vertices = *mesh.m_vertexData;
    const MeshFacts facts = GatherFacts(mesh);
    Row("version", "%s, pack mode %u", Hex(mesh.m_version).c_str(), mesh.m_packMode);
    Row("kind", "%s", Kind(mesh.m_skeletonFlag).c_str());
    Row("submeshes", "%u, %s", mesh.m_submeshCount, countSource.c_str());
    Row("vertices", "%s", Grouped(vertices.m_vertexCount).c_str());
    Row("triangles", "%s", Grouped(vertices.m_triangleCount).c_str());
    Row("attributes", "%s", Attributes(vertices, facts.hasColors).c_str());
    PrintBox(facts.box);
    if (facts.badIndices != 0)
        Row("bad indices", "beyond the last vertex: %s", Grouped(facts.badIndices).c_str());
    Row("in memory", "%s bytes", Grouped(facts.bytesInMemory).c_str());
    PrintSubmeshes(vertices, names);
    if (facts.skin) {
        std::printf("\n");
        PrintWeights(*facts.skin);
        PrintBones(mesh, *facts.skin);
    }
    if (mesh.m_morph)
        PrintMorph(*mesh.m_morph, vertices.m_frameCount);
    if (mesh.m_tracks)
        PrintTracks(mesh.m_tracks.get(), mesh.m_submeshCount);
    if (!mesh.m_originalData.empty())
        PrintOriginalData(mesh.m_originalData);
}

}  // namespace vela::vlgim::tools
