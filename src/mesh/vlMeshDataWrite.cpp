#include <vlgim/vlMeshData.h>

#include <corecommon/Log.h>
#include <vlgim/vlDataShareTable.h>
#include <vlio2/FileWriter.h>

#include "io/BlockWriter.h"
#include "mesh/MeshVersions.h"

#include <limits>

namespace vela::vlgim {

namespace {

// Header, animation flags and table offset of a static mesh.
constexpr std::uint64_t kVertexBlockOffset = 16;

}  // namespace

std::string vlMeshData::WriteObstacle() const
{
    if (!m_vertexData)
        return "there is no vertex object";
    if (m_skeletonFlag != 0)
        return "a skeleton is not written yet";
    if (m_hasMorph != 0)
        return "morph data are not written yet";
    if (m_hasTracks != 0)
        return "tracks are not written yet";
    if (!m_originalData.empty())
        return "original data are not written yet";
    if (m_vertexData->m_frameCount != 1)
        return "the vertex object has " + std::to_string(m_vertexData->m_frameCount) +
               " frames, and there is no morph";
    if (std::string obstacle = m_vertexData->WriteObstacle(); !obstacle.empty())
        return obstacle;
    if (kVertexBlockOffset + m_vertexData->WrittenSize() > std::numeric_limits<std::uint32_t>::max())
        return "the vertex block passes 4 GiB, and offsets in the file have 32 bits";
    return {};
}

int vlMeshData::WriteMeshFile(const char* path)
{
    if (const std::string obstacle = WriteObstacle(); !obstacle.empty()) {
        LogError("mesh file %s can't be written: %s", path, obstacle.c_str());
        return 1;
    }
    vlio::FileWriter file;
    std::FILE* stream = file.Open(path);
    if (!stream) {
        LogError("unable to open %s", path);
        return 1;
    }
    WriteMeshFile(stream);
    return file.Commit() ? 0 : 1;
}

int vlMeshData::WriteMeshFile(std::FILE* stream)
{
    if (const std::string obstacle = WriteObstacle(); !obstacle.empty()) {
        LogError("mesh can't be written: %s", obstacle.c_str());
        return 0;
    }
    if (ftello(stream) < 0) {
        LogError("mesh can't be written: the stream can't seek");
        return 0;
    }
    WriteMeshHeader(stream);
    WriteAnimData(stream);
    WriteMeshVertexData(stream);
    return 0;
}

void vlMeshData::WriteMeshHeader(std::FILE* stream) const
{
    io::BlockWriter out(stream);
    out.Value(kMeshMagic);
    out.Value(kNewestVersion);
    out.Value(m_skeletonFlag);
}

void vlMeshData::WriteAnimData(std::FILE* stream) const
{
    io::BlockWriter out(stream);
    out.Value(m_hasMorph);
    out.Value(m_hasTracks);
}

void vlMeshData::WriteMeshVertexData(std::FILE* stream)
{
    io::BlockWriter out(stream);
    const std::uint64_t tableOffset = out.Position();
    out.Value(std::uint32_t{0});

    vlDataShareTable table;
    const short index = table.PushBlockInfo(static_cast<std::uint32_t>(out.Position()));
    table.PushDataPair(MESH_DATA_VERTEX, index);
    m_vertexData->WriteData(stream);

    const auto tableAt = static_cast<std::uint32_t>(out.Position());
    table.WriteData(stream);
    out.Patch(tableOffset, tableAt);
}

}  // namespace vela::vlgim
