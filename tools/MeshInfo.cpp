#include "MeshInfo.h"

#include "AnimInfo.h"
#include "Print.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace vela::vlgim::tools {

namespace {

using Vector3 = geomath::_Vector3<float>;

constexpr std::uint16_t kNone = 0xFFFF;  // no bone, no parent
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr std::uint32_t kSlots = 4;  // bone references a vertex

std::string Kind(std::uint16_t skeletonFlag)
{
    if (skeletonFlag == 0)
        return "static mesh";
    return skeletonFlag == 1 ? "skinned mesh"
                             : "skinned mesh without bones, flag " + std::to_string(skeletonFlag);
}

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

std::uint64_t BytesInMemory(const vlOriginalData& data)
{
    const std::uint64_t vertices = data.m_origVertexCount;
    return sizeof data + 12 * vertices + 2 * std::uint64_t{data.m_origIndexCount} +
           4 * std::uint64_t{data.m_origExtraCount} + (data.m_origBones ? 20 * vertices : 0);
}

// Of all arrays, most of which are the vertices'.
std::uint64_t BytesInMemory(const vlMeshData& mesh)
{
    const vlMeshVertexData& vertices = *mesh.m_vertexData;
    const std::uint64_t slots = std::uint64_t{kSlots} * vertices.m_vertexCount;
    std::uint64_t size = BytesInMemory(vertices) + (mesh.m_skeletonFlag ? 6 * slots : 0);
    size += mesh.m_boneParents.size() * (2 + 32 + 4 + sizeof(geomath::_Matrix<float>));
    size += mesh.m_boneBounds ? mesh.m_boneParents.size() * sizeof(BoundingInfo) : 0;
    size += mesh.m_morph ? 4 * (std::uint64_t{mesh.m_morph->m_times.GetKeyCount()} + 1) : 0;
    for (std::uint32_t i = 0; mesh.m_tracks && i < mesh.m_submeshCount; ++i)
        size += TrackBytesInMemory(mesh.m_tracks[i]);
    for (const auto& data : mesh.m_originalData)
        size += BytesInMemory(*data);
    return size;
}

// NaN is in no box, so it moves none.
void PrintBox(const vlMeshVertexData& mesh)
{
    const std::uint64_t count = std::uint64_t{mesh.m_frameCount} * mesh.m_vertexCount;
    if (count == 0)
        return Row("box", "empty");
    Vector3 low{kInfinity, kInfinity, kInfinity}, high{-kInfinity, -kInfinity, -kInfinity};
    for (const Vector3* p = mesh.m_positions.get(); p != mesh.m_positions.get() + count; ++p) {
        low = {std::min(low.x, p->x), std::min(low.y, p->y), std::min(low.z, p->z)};
        high = {std::max(high.x, p->x), std::max(high.y, p->y), std::max(high.z, p->z)};
    }
    Row("box", "(%g, %g, %g) to (%g, %g, %g)", low.x, low.y, low.z, high.x, high.y, high.z);
}

void PrintBadIndices(const vlMeshVertexData& mesh)
{
    const std::uint16_t* indices = mesh.m_indices.get();
    const auto bad = std::count_if(indices, indices + std::uint64_t{3} * mesh.m_triangleCount,
                                   [&mesh](std::uint16_t index) { return index >= mesh.m_vertexCount; });
    if (bad != 0)
        Row("bad indices", "beyond the last vertex: %td", bad);
}

void PrintSubmeshes(const vlMeshVertexData& vertices, const std::vector<SubmeshMessage>& names)
{
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
                    i < names.size() ? Shown(names[i].name).c_str() : "-",
                    range(record.firstVertex, record.vertexCount).c_str(),
                    range(record.firstTriangle, record.triangleCount).c_str(), record.uvSetCount,
                    record.hasColors ? "yes" : "no");
    }
}

// What the slots of all vertices come to.
struct SkinTally {
    std::uint64_t byInfluences[kSlots + 1] = {};     // vertices with 0 to 4
    float lowest = kInfinity, highest = -kInfinity;  // sum of a vertex' weights, but for NaN
    std::uint64_t nanSums = 0;
    std::uint64_t missingBones = 0;  // slots that refer to a bone that does not exist
};

// Slots without a bone count for nothing. A mesh without bones refers to those of another.
SkinTally Tally(const std::vector<std::uint32_t>& bones, const std::vector<float>& weights,
                std::size_t boneCount)
{
    SkinTally tally;
    for (std::size_t first = 0; first < bones.size(); first += kSlots) {
        unsigned influences = 0;
        float sum = 0;
        for (std::size_t slot = first; slot < first + kSlots; ++slot) {
            if (bones[slot] == kNone)
                continue;
            influences += weights[slot] != 0.0F ? 1 : 0;
            sum += weights[slot];
            tally.missingBones += boneCount != 0 && bones[slot] >= boneCount ? 1 : 0;
        }
        ++tally.byInfluences[influences];
        tally.nanSums += std::isnan(sum) ? 1 : 0;
        tally.lowest = std::min(tally.lowest, sum);  // which a NaN leaves as it is
        tally.highest = std::max(tally.highest, sum);
    }
    return tally;
}

void PrintWeights(const SkinTally& tally)
{
    if (tally.lowest <= tally.highest)
        Row("weights", "%u a vertex, sums %g to %g", kSlots, tally.lowest, tally.highest);
    else
        Row("weights", "%u a vertex, no sums", kSlots);
    std::string influences;
    for (std::size_t i = 0; i <= kSlots; ++i)
        if (tally.byInfluences[i] != 0)
            influences += (influences.empty() ? "" : ", ") + Grouped(tally.byInfluences[i]) + " with " +
                          std::to_string(i);
    Row("influences", "%s", influences.empty() ? "none" : influences.c_str());
    if (tally.nanSums != 0)
        Row("bad weights", "sums that are not a number: %s", Grouped(tally.nanSums).c_str());
    if (tally.missingBones != 0)
        Row("bad bones", "references to a bone that does not exist: %s", Grouped(tally.missingBones).c_str());
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

void PrintBones(const vlMeshData& mesh, const std::vector<std::string>& names, const std::vector<bool>& used)
{
    Row("used bones", "%td, in a mask of %zu", std::count(used.begin(), used.end(), true), used.size());
    if (names.empty())
        return Row("bones", "none");
    Row("bones", "%zu, %s, %s bounds", names.size(), Root(mesh, names).c_str(),
        mesh.m_boneBounds ? "with" : "without");
    std::printf("\n  %4s  %-20s  %-20s  %4s  %7s\n", "#", "bone", "parent", "used", "radius");
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::printf("  %4zu  %-20s  %-20s  %4s", i, Shown(names[i]).c_str(),
                    NameAt(names, mesh.m_boneParents[i]).c_str(), i < used.size() && used[i] ? "yes" : "no");
        if (mesh.m_boneBounds)
            std::printf("  %7.3g", static_cast<double>(mesh.m_boneBounds.get()[i].m_radius));
        std::printf("\n");
    }
}

void PrintSkin(const vlMeshData& mesh)
{
    std::vector<std::uint32_t> bones;
    std::vector<float> weights;
    std::unordered_map<std::uint16_t, geomath::_Matrix<float>> matrices;
    std::vector<std::string> names;
    if (!mesh.CollectSegSkinInfo(bones, weights, matrices, names))
        return;
    std::printf("\n");
    PrintWeights(Tally(bones, weights, names.size()));
    PrintBones(mesh, names, static_cast<const vlMeshSkelVertexData&>(*mesh.m_vertexData).m_usedBones);
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
    Row("version", "0x%X, pack mode %u", mesh.m_version, mesh.m_packMode);
    Row("kind", "%s", Kind(mesh.m_skeletonFlag).c_str());
    Row("submeshes", "%u, %s", mesh.m_submeshCount, countSource.c_str());
    Row("vertices", "%s", Grouped(vertices.m_vertexCount).c_str());
    Row("triangles", "%s", Grouped(vertices.m_triangleCount).c_str());
    Row("attributes", "%s", Attributes(vertices).c_str());
    PrintBox(vertices);
    PrintBadIndices(vertices);
    Row("in memory", "%s bytes", Grouped(BytesInMemory(mesh)).c_str());
    PrintSubmeshes(vertices, names);
    PrintSkin(mesh);
    if (mesh.m_morph)
        PrintMorph(*mesh.m_morph, vertices.m_frameCount);
    if (mesh.m_tracks)
        PrintTracks(mesh.m_tracks.get(), mesh.m_submeshCount);
    if (!mesh.m_originalData.empty())
        PrintOriginalData(mesh.m_originalData);
}

}  // namespace vela::vlgim::tools
