#include "VertexBlock.h"

#include <io/Errors.h>
#include <io/SaveFile.h>

namespace vela::vlgim {

namespace {

std::string Text(std::uint64_t number)
{
    return std::to_string(number);
}

Error WhyRecordUnwritable(const vlMeshVertexData& mesh, const SubmeshRecord& record,
                          std::uint64_t firstVertex)
{
    if (record.uvSetCount > mesh.m_uvSetCount)
        return io::Unwritable("declares " + Text(record.uvSetCount) + " uv sets, and the mesh has " +
                              Text(mesh.m_uvSetCount));
    if (record.hasColors && mesh.m_colorSetCount == 0)
        return io::Unwritable("declares colours, and the mesh has none");
    if (record.vertexCount == 0 || (record.uvSetCount == 0 && !record.hasColors))
        return {};
    // A reader puts the runs where the counts add up to, whatever firstVertex said.
    if (record.firstVertex != firstVertex)
        return io::Unwritable("starts at vertex " + Text(record.firstVertex) +
                              ", and those in front of it have " + Text(firstVertex));
    if (firstVertex + record.vertexCount > mesh.m_vertexCount)
        return io::Unwritable("has uvs or colours up to vertex " + Text(firstVertex + record.vertexCount) +
                              ", and the mesh has " + Text(mesh.m_vertexCount));
    return {};
}

Error WhyVerticesUnwritable(const vlMeshVertexData& mesh)
{
    if (mesh.m_frameCount == 0)
        return io::Unwritable("the mesh has no frame");
    if (mesh.m_uvSetCount > mesh::kMostUvSets)
        return io::Unwritable("the mesh has " + Text(mesh.m_uvSetCount) + " uv sets, and 4 is the most");
    Error why;
    const auto ask = [&why](const char* name, const auto& array, std::uint64_t count) {
        if (!why)
            why = io::WhyShort(array, count, name);
    };
    mesh::VisitArrays(mesh, ask);

    std::uint64_t firstVertex = 0;
    for (std::uint32_t i = 0; !why && i < mesh.m_subCount; ++i) {
        if (Error record = WhyRecordUnwritable(mesh, mesh.m_subRecords[i], firstVertex))
            return io::Inside("submesh " + Text(i), std::move(record));
        firstVertex += mesh.m_subRecords[i].vertexCount;
    }
    return why;
}

Error WhySkinUnwritable(const vlMeshSkelVertexData& mesh)
{
    Error why;
    mesh::VisitSkin(mesh, [&why](const char* name, const auto& array, std::uint64_t count) {
        if (!why)
            why = io::WhyShort(array, count, name);
    });
    if (!why && mesh.m_usedBoneBits > mesh::kMostBits)
        return io::Unwritable("the mask of used bones has " + Text(mesh.m_usedBoneBits) +
                              " bits, and 65535 is the most");
    return why;
}

}  // namespace

Error WhyUnwritable(const vlMeshVertexData& mesh)
{
    Error why = WhyVerticesUnwritable(mesh);
    const auto* skin = dynamic_cast<const vlMeshSkelVertexData*>(&mesh);
    return why || !skin ? why : WhySkinUnwritable(*skin);
}

// The block of this class alone: a derived class has a writer of its own.
void vlMeshVertexData::WriteData(std::FILE* stream)
{
    io::WriteStream(stream, "vertex block can't be written", WhyVerticesUnwritable(*this),
                    [this](io::BlockWriter& out) { mesh::Write(out, *this); });
}

namespace mesh {

std::uint64_t WrittenSize(const vlMeshVertexData& mesh)
{
    const std::uint64_t vertices = mesh.m_vertexCount;
    const std::uint64_t streams = 2 + (mesh.m_tangents ? 1 : 0);  // positions, normals, tangents
    std::uint64_t size = 10 * std::uint64_t{mesh.m_subCount} + 12 +
                         streams * vlMeshVertexData::m_v_sz * vertices * mesh.m_frameCount +
                         std::uint64_t{mesh.m_triangleCount} * vlMeshVertexData::m_tri_sz;
    for (std::uint32_t i = 0; i < mesh.m_subCount; ++i) {
        const SubmeshRecord& record = mesh.m_subRecords[i];
        const unsigned perVertex = unsigned{record.uvSetCount} * vlMeshVertexData::m_uv_sz +
                                   (record.hasColors ? vlMeshVertexData::m_c_sz : 0);
        size += std::uint64_t{record.vertexCount} * perVertex;
    }
    return size;
}

void Write(io::BlockWriter& out, const vlMeshVertexData& mesh)
{
    const std::uint64_t vertices = mesh.m_vertexCount;
    const SubmeshRecord* const records = mesh.m_subRecords.data();
    const SubmeshRecord* const behind = records + mesh.m_subCount;
    for (const SubmeshRecord* record = records; record != behind; ++record) {
        out.Value(record->vertexCount);
        out.Value(record->triangleCount);
        out.Value(record->uvSetCount);
        out.Value(record->hasColors);
    }
    out.Value(std::uint16_t{1});
    out.Value(mesh.m_vertexCount);
    out.Value(mesh.m_triangleCount);
    out.Run(mesh.m_positions.data(), vertices);
    out.Run(mesh.m_normals.data(), vertices);
    out.Value(std::uint16_t{bool(mesh.m_tangents)});
    if (mesh.m_tangents)
        out.Run(mesh.m_tangents.data(), mesh.m_frameCount * vertices);
    out.Run(mesh.m_indices.data(), 3 * std::uint64_t{mesh.m_triangleCount});
    for (const SubmeshRecord* record = records; record != behind; ++record)
        for (std::uint8_t set = 0; record->vertexCount && set < record->uvSetCount; ++set)
            out.Run(mesh.m_uvSets[set].data() + record->firstVertex, record->vertexCount);
    for (const SubmeshRecord* record = records; record != behind; ++record)
        if (record->vertexCount && record->hasColors)
            out.Run(mesh.m_colors.data() + record->firstVertex, record->vertexCount);
    for (std::uint64_t frame = 1; vertices && frame < mesh.m_frameCount; ++frame) {
        out.Run(mesh.m_positions.data() + frame * vertices, vertices);
        out.Run(mesh.m_normals.data() + frame * vertices, vertices);
    }
}

}  // namespace mesh

}  // namespace vela::vlgim
