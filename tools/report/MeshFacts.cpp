#include "report/MeshFacts.h"

#include "report/AnimFacts.h"

#include <algorithm>
#include <cmath>

namespace vela::vlgim::tools {

namespace {

using Vector3 = geomath::_Vector3<float>;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

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
        size += tools::BytesInMemory(mesh.m_tracks[i]);
    for (const auto& data : mesh.m_originalData)
        size += BytesInMemory(*data);
    return size;
}

std::optional<Box> BoxOf(const vlMeshVertexData& mesh)
{
    const std::uint64_t count = std::uint64_t{mesh.m_frameCount} * mesh.m_vertexCount;
    if (count == 0)
        return std::nullopt;
    Vector3 low{kInfinity, kInfinity, kInfinity}, high{-kInfinity, -kInfinity, -kInfinity};
    for (const Vector3* p = mesh.m_positions.get(); p != mesh.m_positions.get() + count; ++p) {
        low = {std::min(low.x, p->x), std::min(low.y, p->y), std::min(low.z, p->z)};
        high = {std::max(high.x, p->x), std::max(high.y, p->y), std::max(high.z, p->z)};
    }
    return Box{low, high};
}

bool HasColors(const vlMeshVertexData& mesh)
{
    const SubmeshRecord* records = mesh.m_subRecords.get();
    return std::any_of(records, records + mesh.m_subCount,
                       [](const SubmeshRecord& record) { return record.hasColors != 0; });
}

std::uint64_t BadIndices(const vlMeshVertexData& mesh)
{
    const std::uint16_t* indices = mesh.m_indices.get();
    return static_cast<std::uint64_t>(
        std::count_if(indices, indices + std::uint64_t{3} * mesh.m_triangleCount,
                      [&mesh](std::uint16_t index) { return index >= mesh.m_vertexCount; }));
}

// A mesh without bones refers to those of another.
void Tally(SkinFacts& skin, const std::vector<std::uint32_t>& bones, const std::vector<float>& weights)
{
    const std::size_t boneCount = skin.boneNames.size();
    for (std::size_t first = 0; first < bones.size(); first += kSlots) {
        unsigned influences = 0;
        float sum = 0;
        for (std::size_t slot = first; slot < first + kSlots; ++slot) {
            if (bones[slot] == kNone)
                continue;
            influences += weights[slot] != 0.0F ? 1 : 0;
            sum += weights[slot];
            skin.missingBones += boneCount != 0 && bones[slot] >= boneCount ? 1 : 0;
        }
        ++skin.byInfluences[influences];
        skin.nanSums += std::isnan(sum) ? 1 : 0;
        skin.lowest = std::min(skin.lowest, sum);  // which a NaN leaves as it is
        skin.highest = std::max(skin.highest, sum);
    }
}

std::optional<SkinFacts> SkinOf(const vlMeshData& mesh)
{
    std::vector<std::uint32_t> bones;
    std::vector<float> weights;
    std::unordered_map<std::uint16_t, geomath::_Matrix<float>> matrices;
    SkinFacts skin;
    if (!mesh.CollectSegSkinInfo(bones, weights, matrices, skin.boneNames))
        return std::nullopt;
    Tally(skin, bones, weights);
    skin.usedBones = static_cast<const vlMeshSkelVertexData&>(*mesh.m_vertexData).m_usedBones;
    return skin;
}

}  // namespace

MeshFacts GatherFacts(const vlMeshData& mesh)
{
    const vlMeshVertexData& vertices = *mesh.m_vertexData;
    return {BoxOf(vertices), HasColors(vertices), BadIndices(vertices), BytesInMemory(mesh), SkinOf(mesh)};
}

}  // namespace vela::vlgim::tools
