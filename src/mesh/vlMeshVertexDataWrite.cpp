#include <vlgim/vlMeshVertexData.h>

#include <corecommon/Log.h>

#include "io/BlockWriter.h"

namespace vela::vlgim {

namespace {

// Ranges of std::uint32_t numbers and sums of them, as text.
std::string Text(std::uint64_t number)
{
    return std::to_string(number);
}

std::string RecordObstacle(const vlMeshVertexData& mesh, std::uint32_t index, std::uint64_t firstVertex)
{
    const SubmeshRecord& record = mesh.m_subRecords.get()[index];
    const std::string who = "submesh " + Text(index);
    if (record.uvSetCount > mesh.m_uvSetCount)
        return who + " declares " + Text(record.uvSetCount) + " uv sets, and the mesh has " +
               Text(mesh.m_uvSetCount);
    if (record.hasColors && mesh.m_colorSetCount == 0)
        return who + " declares colours, and the mesh has none";
    if (record.vertexCount == 0 || (record.uvSetCount == 0 && !record.hasColors))
        return {};
    // A reader puts the runs where the counts add up to, whatever firstVertex said.
    if (record.firstVertex != firstVertex)
        return who + " starts at vertex " + Text(record.firstVertex) + ", and those ahead of it have " +
               Text(firstVertex);
    if (firstVertex + record.vertexCount > mesh.m_vertexCount)
        return who + " has uvs or colours up to vertex " + Text(firstVertex + record.vertexCount) +
               ", and the mesh has " + Text(mesh.m_vertexCount);
    return {};
}

}  // namespace

std::string vlMeshVertexData::WriteObstacle() const
{
    if (m_frameCount == 0)
        return "the mesh has no frame";
    if (m_uvSetCount > std::size(m_uvSets))
        return "the mesh has " + Text(m_uvSetCount) + " uv sets, and 4 is the most";
    if (m_subCount != 0 && !m_subRecords)
        return "the submesh records are missing";
    if (m_vertexCount != 0 && (!m_positions || !m_normals))
        return "the positions or normals are missing";
    if (m_triangleCount != 0 && !m_indices)
        return "the triangles are missing";
    for (std::uint8_t set = 0; m_vertexCount != 0 && set < m_uvSetCount; ++set)
        if (!m_uvSets[set])
            return "uv set " + Text(set) + " is missing";
    if (m_vertexCount != 0 && m_colorSetCount != 0 && !m_colors)
        return "the colours are missing";

    std::uint64_t firstVertex = 0;
    for (std::uint32_t i = 0; i < m_subCount; ++i) {
        if (std::string obstacle = RecordObstacle(*this, i, firstVertex); !obstacle.empty())
            return obstacle;
        firstVertex += m_subRecords.get()[i].vertexCount;
    }
    return {};
}

std::uint64_t vlMeshVertexData::WrittenSize() const
{
    const std::uint64_t vertices = m_vertexCount;
    const std::uint64_t streams = 2 + (m_tangents ? 1 : 0);  // positions, normals, tangents
    std::uint64_t size = 10 * std::uint64_t{m_subCount} + 12 + streams * m_v_sz * vertices * m_frameCount +
                         std::uint64_t{m_triangleCount} * m_tri_sz;
    for (std::uint32_t i = 0; i < m_subCount; ++i) {
        const SubmeshRecord& record = m_subRecords.get()[i];
        const unsigned perVertex = unsigned{record.uvSetCount} * m_uv_sz + (record.hasColors ? m_c_sz : 0);
        size += std::uint64_t{record.vertexCount} * perVertex;
    }
    return size;
}

void vlMeshVertexData::WriteData(std::FILE* stream)
{
    if (const std::string obstacle = WriteObstacle(); !obstacle.empty()) {
        LogError("vertex block can't be written: %s", obstacle.c_str());
        return;
    }
    io::BlockWriter out(stream);
    WriteBlock(out);
}

void vlMeshVertexData::WriteBlock(io::BlockWriter& out)
{
    const SubmeshRecord* const records = m_subRecords.get();
    const SubmeshRecord* const behind = records + m_subCount;
    for (const SubmeshRecord* record = records; record != behind; ++record) {
        out.Value(record->vertexCount);
        out.Value(record->triangleCount);
        out.Value(record->uvSetCount);
        out.Value(record->hasColors);
    }
    out.Value(std::uint16_t{1});
    out.Value(m_vertexCount);
    out.Value(m_triangleCount);
    out.Run(m_positions.get(), m_vertexCount);
    out.Run(m_normals.get(), m_vertexCount);
    out.Value(std::uint16_t{m_tangents != nullptr});
    if (m_tangents)
        out.Run(m_tangents.get(), std::uint64_t{m_frameCount} * m_vertexCount);
    out.Run(m_indices.get(), 3 * std::uint64_t{m_triangleCount});
    for (const SubmeshRecord* record = records; record != behind; ++record)
        for (std::uint8_t set = 0; record->vertexCount && set < record->uvSetCount; ++set)
            out.Run(m_uvSets[set].get() + record->firstVertex, record->vertexCount);
    for (const SubmeshRecord* record = records; record != behind; ++record)
        if (record->vertexCount && record->hasColors)
            out.Run(m_colors.get() + record->firstVertex, record->vertexCount);
    for (std::uint64_t frame = 1; m_vertexCount && frame < m_frameCount; ++frame) {
        out.Run(m_positions.get() + frame * m_vertexCount, m_vertexCount);
        out.Run(m_normals.get() + frame * m_vertexCount, m_vertexCount);
    }
}

}  // namespace vela::vlgim
