#include <vlgim/vlMeshData.h>

#include <corecommon/Log.h>
#include <vlgim/vlDataShareTable.h>

#include "io/BlockReader.h"
#include "mesh/MeshVersions.h"

#include <algorithm>

namespace vela::vlgim {

namespace {

// Which blocks of the file are read as what.
struct BlockList {
    std::uint32_t vertexBlock;
    std::ptrdiff_t vertexPairs;  // how many vertex blocks the table tells of
    std::vector<std::uint32_t> passedOver;
    std::vector<std::uint32_t> originalData;
};

BlockList Sort(const vlDataShareTable& table)
{
    const auto isVertex = [](const DataPair& pair) { return pair.type == MESH_DATA_VERTEX; };
    const auto vertexPairs = std::count_if(table.m_pairs.begin(), table.m_pairs.end(), isVertex);
    const auto blocks = table.m_blocks.begin();
    // Block 0 is read as the vertex block whatever the pairs say.
    const auto firstOriginal =
        blocks + std::clamp<std::ptrdiff_t>(vertexPairs, 1, std::ssize(table.m_blocks));
    return {
        table.m_blocks[0], vertexPairs, {blocks + 1, firstOriginal}, {firstOriginal, table.m_blocks.end()}};
}

void WarnOfPassedOver(const BlockList& blocks)
{
    if (blocks.vertexPairs <= 1)
        return;
    std::string places;
    const std::size_t named = std::min<std::size_t>(blocks.passedOver.size(), 8);
    for (std::size_t i = 0; i < named; ++i)
        places += (i == 0 ? ": at byte " : ", ") + std::to_string(blocks.passedOver[i]);
    LogWarning("gim file tells of %td vertex blocks, of which the first is read and the others are lost at a "
               "write%s%s",
               blocks.vertexPairs, places.c_str(), named < blocks.passedOver.size() ? ", ..." : "");
}

}  // namespace

bool vlMeshData::ReadMeshFile(const unsigned char* data)
{
    io::BlockReader in(data, nullptr, "header");
    return Read(in);
}

bool vlMeshData::ReadMeshFile(const unsigned char* data, std::size_t length)
{
    io::BlockReader in(data, data ? data + length : nullptr, "header");
    return Read(in);
}

bool vlMeshData::Read(io::BlockReader& in)
{
    vlMeshData read;
    read.m_submeshCount = m_submeshCount;
    read.m_spareIndex = m_spareIndex;
    read.ReadMeshHeader(in);
    vlMeshData header = read;

    const bool whole = read.ReadBlocks(in);
    if (in.Failed())
        LogError("gim file is damaged: %s", Describe(in.WhyRefused()).c_str());
    *this = std::move(whole ? read : header);
    return whole;
}

bool vlMeshData::ReadBlocks(io::BlockReader& in)
{
    if (in.Failed())
        return false;
    if (m_version > kNewestVersion) {
        LogError("%s", "gim file version is too new");
        return false;
    }
    if (m_version < kOldestVersion) {
        LogError("%s", "gim file version is too old");
        return false;
    }
    if (m_skeletonFlag != 0) {
        LogError("%s", "gim file has a skeleton, which is not read yet");
        return false;
    }
    m_vertexData = std::make_shared<vlMeshVertexData>();
    m_vertexData->m_subCount = m_submeshCount;
    return ReadAnimDataNew(in) && ReadVertexData(in);
}

// The magic word is passed over: files of this format have always been read whatever it says.
void vlMeshData::ReadMeshHeader(io::BlockReader& in)
{
    in.Take(1, 4);
    const auto version = in.Value<std::uint32_t>();
    const auto skeletonFlag = in.Value<std::uint16_t>();
    if (in.Failed())
        return;
    m_version = version & 0xFFFFFF;
    m_packMode = version >> 24;
    m_skeletonFlag = skeletonFlag;
}

bool vlMeshData::ReadAnimDataNew(io::BlockReader& in)
{
    in.Enter("animation block");
    m_hasMorph = in.Value<std::uint8_t>();
    if (m_hasMorph != 0) {
        LogError("%s", "gim file has morph data, which is not read yet");
        return false;
    }
    m_hasTracks = in.Value<std::uint8_t>();
    if (m_hasTracks != 0) {
        LogError("%s", "gim file has tracks, which are not read yet");
        return false;
    }
    return !in.Failed();
}

vlDataShareTable vlMeshData::ReadTable(io::BlockReader& in)
{
    in.Enter("table offset");
    const auto offset = in.Value<std::uint32_t>();
    in.Seek(offset);
    in.Enter("share table");
    vlDataShareTable table;
    table.Read(in);
    if (table.m_blocks.empty())
        in.RefuseAt(offset, 1, 0);
    return table;
}

bool vlMeshData::ReadVertexData(io::BlockReader& in)
{
    const vlDataShareTable table = ReadTable(in);
    if (in.Failed())
        return false;
    const BlockList blocks = Sort(table);
    if (!blocks.originalData.empty()) {
        LogError("%s", "gim file has original data, which is not read yet");
        return false;
    }
    m_vertexData->m_frameCount = 1;
    in.Seek(blocks.vertexBlock);
    m_vertexData->Read(in, m_version, m_packMode);
    if (in.Failed())
        return false;
    WarnOfPassedOver(blocks);
    return true;
}

std::vector<std::uint32_t> vlMeshData::FittingSubmeshCounts(const unsigned char* data, std::size_t length)
{
    io::BlockReader in(data, data ? data + length : nullptr, "header");
    vlMeshData mesh;
    mesh.ReadMeshHeader(in);
    if (mesh.m_version < kOldestVersion || mesh.m_version > kNewestVersion || mesh.m_skeletonFlag != 0)
        return {};
    const bool isStatic = in.Value<std::uint16_t>() == 0;  // neither morph nor tracks
    const std::uint64_t tableAt = in.Offset();
    const auto tableOffset = in.Value<std::uint32_t>();
    in.Seek(tableAt);
    const vlDataShareTable table = ReadTable(in);
    if (in.Failed() || !isStatic || table.m_blocks[0] > length)
        return {};

    // The vertex block ends where the next block begins, wherever that stands in the table.
    std::uint64_t end = tableOffset > table.m_blocks[0] ? tableOffset : length;
    for (const std::uint32_t offset : table.m_blocks)
        if (offset > table.m_blocks[0])
            end = std::min<std::uint64_t>(end, offset);
    return vlMeshVertexData::FittingSubCounts(data + table.m_blocks[0], data + end, mesh.m_version);
}

}  // namespace vela::vlgim
