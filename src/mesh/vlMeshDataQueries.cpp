#include <vlgim/vlMeshData.h>

#include <algorithm>
#include <cstring>

namespace vela::vlgim {

namespace {

const SubmeshRecord* RecordAt(const std::shared_ptr<vlMeshVertexData>& vertices, std::uint32_t submesh)
{
    const bool exists = vertices && vertices->m_subRecords && submesh < vertices->m_subCount;
    return exists ? &vertices->m_subRecords.get()[submesh] : nullptr;
}

}  // namespace

void vlMeshData::CollectSegGeometryInfo(std::vector<geomath::_Vector3<float>*>& positions,
                                        std::vector<geomath::_Vector3<float>*>& normals,
                                        std::vector<std::vector<std::uint16_t>>& indices,
                                        std::vector<geomath::_Point2<float>*>& uvs0,
                                        std::vector<geomath::_Point2<float>*>& uvs1,
                                        std::vector<std::uint16_t>& vertexCounts,
                                        std::vector<std::uint16_t>& triangleCounts) const
{
    if (!m_vertexData)
        return;
    const vlMeshVertexData& mesh = *m_vertexData;
    positions.push_back(mesh.m_positions.get());
    normals.push_back(mesh.m_normals.get());
    const std::uint16_t* values = mesh.m_indices.get();
    const std::uint64_t count = values ? 3 * std::uint64_t{mesh.m_triangleCount} : 0;
    indices.emplace_back(values, values + count);
    uvs0.push_back(mesh.m_uvSets[0].get());
    uvs1.push_back(mesh.m_uvSets[1].get());
    vertexCounts.push_back(static_cast<std::uint16_t>(mesh.m_vertexCount));
    triangleCounts.push_back(static_cast<std::uint16_t>(mesh.m_triangleCount));
}

bool vlMeshData::CollectSegSkinInfo(std::vector<std::uint32_t>& boneIndices, std::vector<float>& weights,
                                    std::unordered_map<std::uint16_t, geomath::_Matrix<float>>& matrices,
                                    std::vector<std::string>& names) const
{
    const auto* skin = dynamic_cast<const vlMeshSkelVertexData*>(m_vertexData.get());
    if (!skin)
        return false;
    const bool hasSlots = skin->m_boneIndices && skin->m_boneWeights;
    const std::uint64_t slots =
        hasSlots ? std::min(skin->m_maxBoneRefCount, 4U) * std::uint64_t{skin->m_vertexCount} : 0;
    boneIndices.insert(boneIndices.end(), skin->m_boneIndices.get(), skin->m_boneIndices.get() + slots);
    weights.insert(weights.end(), skin->m_boneWeights.get(), skin->m_boneWeights.get() + slots);
    for (std::uint16_t bone = 0; m_boneMatrices && bone < StoredBones(); ++bone)
        matrices[bone] = m_boneMatrices.get()[bone];
    for (std::uint16_t bone = 0; m_boneNames && bone < StoredBones(); ++bone)
        names.emplace_back(m_boneNames[bone], strnlen(m_boneNames[bone], sizeof m_boneNames[bone]));
    return true;
}

void vlMeshData::GetSubIBInfo(std::uint32_t& start, std::uint32_t& count, std::uint32_t submesh) const
{
    const SubmeshRecord* record = RecordAt(m_vertexData, submesh);
    start = record ? 3 * record->firstTriangle : 0;
    count = record ? 3 * record->triangleCount : 0;
}

void vlMeshData::GetSubVBInfo(std::uint32_t& start, std::uint32_t& count, std::uint32_t submesh) const
{
    const SubmeshRecord* record = RecordAt(m_vertexData, submesh);
    start = record ? record->firstVertex : 0;
    count = record ? record->vertexCount : 0;
}

}  // namespace vela::vlgim
