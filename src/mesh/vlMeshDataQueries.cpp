#include <vlgim/vlMeshData.h>

#include "MeshBlocks.h"

#include <algorithm>

namespace vela::vlgim {

namespace {

const SubmeshRecord* RecordAt(const std::shared_ptr<vlMeshVertexData>& vertices, std::uint32_t submesh)
{
    const bool exists =
        vertices && submesh < std::min<std::size_t>(vertices->m_subCount, vertices->m_subRecords.size());
    return exists ? &vertices->m_subRecords[submesh] : nullptr;
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
    positions.push_back(mesh.m_positions.data());
    normals.push_back(mesh.m_normals.data());
    const std::size_t count =
        std::min<std::size_t>(3 * std::size_t{mesh.m_triangleCount}, mesh.m_indices.size());
    indices.emplace_back(mesh.m_indices.begin(), mesh.m_indices.begin() + count);
    uvs0.push_back(mesh.m_uvSets[0].data());
    uvs1.push_back(mesh.m_uvSets[1].data());
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
    const std::size_t slots = std::min<std::size_t>(
        {std::size_t{std::min(skin->m_maxBoneRefCount, 4U)} * std::size_t{skin->m_vertexCount},
         skin->m_boneIndices.size(), skin->m_boneWeights.size()});
    boneIndices.insert(boneIndices.end(), skin->m_boneIndices.begin(), skin->m_boneIndices.begin() + slots);
    weights.insert(weights.end(), skin->m_boneWeights.begin(), skin->m_boneWeights.begin() + slots);
    const std::uint16_t bones = mesh::BoneCount(*this);
    for (std::uint16_t bone = 0; bone < std::min<std::size_t>(bones, m_boneMatrices.size()); ++bone)
        matrices[bone] = m_boneMatrices[bone];
    for (std::uint16_t bone = 0; bone < std::min<std::size_t>(bones, m_boneNames.size()); ++bone)
        names.emplace_back(m_boneNames[bone].View());
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
