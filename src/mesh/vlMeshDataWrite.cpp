#include <vlgim/vlMeshData.h>

#include <corecommon/Log.h>
#include <vlgim/vlDataShareTable.h>
#include <vlio2/FileWriter.h>

#include "io/BlockWriter.h"
#include "mesh/MeshVersions.h"

#include <algorithm>
#include <limits>

namespace vela::vlgim {

namespace {

constexpr std::size_t kMostOriginalData = 32766;  // with the vertex block, as many as the table's counts hold

// A track in full, before any component collapses to one key.
std::uint64_t LargestSize(const vlTrackData& track)
{
    const std::uint64_t keys = track.GetKeyCount();
    return 42 + 4 * keys + std::uint64_t{track.m_channelCount} * (4 + 40 * std::max<std::uint64_t>(keys, 1));
}

}  // namespace

std::string vlMeshData::WriteObstacle() const
{
    if (!m_vertexData)
        return "there is no vertex object";
    const auto* skin = dynamic_cast<const vlMeshSkelVertexData*>(m_vertexData.get());
    if (m_skeletonFlag != 0 && !skin)
        return "the skeleton flag is set, and the vertex object has no skin";
    if (m_skeletonFlag == 0 && skin)
        return "the vertex object has a skin, and the skeleton flag is not set";
    if (skin && skin->m_maxBoneRefCount != 4)
        return "a vertex has " + std::to_string(skin->m_maxBoneRefCount) + " bone slots, and files have 4";
    if (std::string obstacle = AnimObstacle(); !obstacle.empty())
        return obstacle;
    if (std::string obstacle = BonesObstacle(); !obstacle.empty())
        return obstacle;
    // A reader takes the frame count from the morph's keys; the single-frame word is not in the file.
    const std::uint32_t keys =
        m_hasMorph && m_morph->m_times.GetKeyTimes() ? m_morph->m_times.GetKeyCount() : 1U;
    if (m_vertexData->m_frameCount != std::max(keys, 1U))
        return "the vertex object has " + std::to_string(m_vertexData->m_frameCount) + " frames, and " +
               (m_hasMorph ? "the morph has " + std::to_string(keys) + " keys" : "there is no morph");
    if (std::string obstacle = m_vertexData->WriteObstacle(); !obstacle.empty())
        return obstacle;
    if (m_originalData.size() > kMostOriginalData)
        return "there are " + std::to_string(m_originalData.size()) +
               " blocks of original data, and 32766 is the most";
    for (const auto& data : m_originalData)
        if (std::string obstacle = data ? data->WriteObstacle() : "an object of original data is null";
            !obstacle.empty())
            return obstacle;
    if (LargestOffset() > std::numeric_limits<std::uint32_t>::max())
        return "the file passes 4 GiB, and offsets in it have 32 bits";
    return {};
}

// Of the share table, which stands last.
std::uint64_t vlMeshData::LargestOffset() const
{
    std::uint64_t offset = 16 + m_vertexData->WrittenSize();  // header, flags, table offset
    if (m_hasMorph)
        offset += 3 + 4 * std::uint64_t{m_morph->m_times.GetKeyCount()};
    for (std::uint32_t i = 0; m_hasTracks && i < m_vertexData->m_subCount; ++i)
        offset += LargestSize(m_tracks[i]);
    offset += m_hasTracks ? 4 : 0;
    offset += m_skeletonFlag == kSkinned ? 4 + StoredBones() * std::uint64_t{2 + 32 + 28 + 64} : 0;
    for (const auto& data : m_originalData)
        offset += data->WrittenSize();
    return offset;
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
    WriteBlocks(stream, 0);
    return file.Commit() ? 0 : 1;
}

int vlMeshData::WriteMeshFile(std::FILE* stream)
{
    if (const std::string obstacle = WriteObstacle(); !obstacle.empty()) {
        LogError("mesh can't be written: %s", obstacle.c_str());
        return 0;
    }
    const off_t start = ftello(stream);
    if (start < 0) {
        LogError("mesh can't be written: the stream can't seek");
        return 0;
    }
    WriteBlocks(stream, static_cast<std::uint64_t>(start));
    return 0;
}

void vlMeshData::WriteBlocks(std::FILE* stream, std::uint64_t start) const
{
    io::BlockWriter out(stream, start);
    WriteMeshHeader(out);
    WriteAnimData(out);
    WriteBonesData(out);
    WriteAnimBIData(out);
    WriteMeshVertexData(out);
}

void vlMeshData::WriteMeshHeader(io::BlockWriter& out) const
{
    out.Value(kMeshMagic);
    out.Value(kNewestVersion);
    out.Value(m_skeletonFlag);
}

void vlMeshData::WriteMeshVertexData(io::BlockWriter& out) const
{
    const std::uint64_t tableOffset = out.Position();
    out.Value(std::uint32_t{0});

    vlDataShareTable table;
    const auto push = [&](MESH_DATA_TYPE type) {
        table.PushDataPair(type, table.PushBlockInfo(static_cast<std::uint32_t>(out.Position())));
    };
    push(MESH_DATA_VERTEX);
    m_vertexData->WriteBlock(out);
    std::size_t asVertex = 0;
    for (const auto& data : m_originalData) {
        push(data->m_type);
        asVertex += data->m_type == MESH_DATA_VERTEX ? 1 : 0;
        data->Write(out);
    }
    if (asVertex != 0)
        LogWarning(
            "%zu blocks of original data are marked as vertex data: a reader passes over as many blocks",
            asVertex);

    const auto tableAt = static_cast<std::uint32_t>(out.Position());
    table.Write(out);
    out.Patch(tableOffset, tableAt);
}

}  // namespace vela::vlgim
