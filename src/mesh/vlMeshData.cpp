#include <vlgim/vlMeshData.h>

#include <corecommon/Log.h>
#include <vlgim/vlDataShareTable.h>

#include "io/BlockReader.h"
#include "mesh/MeshVersions.h"
#include "mesh/VertexBlock.h"

#include <algorithm>

namespace vela::vlgim {

// Which blocks of the file are read as what, and what the table says of them.
struct BlockList {
    std::uint32_t vertexBlock;
    std::ptrdiff_t vertexPairs;  // how many vertex blocks the table tells of
    std::vector<std::uint32_t> passedOver;
    std::vector<std::uint32_t> originalData;
    std::vector<MESH_DATA_TYPE> originalTypes;
};

namespace {

// What the first pair of each block says it is; original data where there is none, or where it says a vertex block,
// so that a block that was read is read again once it is written.
std::vector<MESH_DATA_TYPE> TypesOf(const vlDataShareTable& table)
{
    std::vector<MESH_DATA_TYPE> types(table.m_blocks.size(), MESH_DATA_ORIGINAL);
    std::vector<bool> told(types.size());
    for (const DataPair& pair : table.m_pairs) {
        const auto index = static_cast<std::size_t>(pair.index);  // a negative one is past every block
        if (index >= types.size() || told[index])
            continue;
        told[index] = true;
        if (pair.type != MESH_DATA_VERTEX)
            types[index] = pair.type;
    }
    return types;
}

BlockList Sort(const vlDataShareTable& table)
{
    const auto isVertex = [](const DataPair& pair) { return pair.type == MESH_DATA_VERTEX; };
    const auto vertexPairs = std::count_if(table.m_pairs.begin(), table.m_pairs.end(), isVertex);
    // Block 0 is read as the vertex block whatever the pairs say.
    const auto originals = std::clamp<std::ptrdiff_t>(vertexPairs, 1, std::ssize(table.m_blocks));
    const auto blocks = table.m_blocks.begin();
    const std::vector<MESH_DATA_TYPE> types = TypesOf(table);
    return {table.m_blocks[0],
            vertexPairs,
            {blocks + 1, blocks + originals},
            {blocks + originals, table.m_blocks.end()},
            {types.begin() + originals, types.end()}};
}

void WarnOfPassedOver(const BlockList& blocks)
{
    if (blocks.vertexPairs <= 1)
        return;
    std::string places;
    for (const std::uint32_t offset : blocks.passedOver)
        places += (places.empty() ? ": at byte " : ", ") + std::to_string(offset);
    LogWarning("gim file tells of %td vertex blocks, of which the first is read and the others are lost at a "
               "write%s",
               blocks.vertexPairs, places.c_str());
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
    if (m_skeletonFlag != 0)
        m_vertexData = std::make_shared<vlMeshSkelVertexData>();
    else
        m_vertexData = std::make_shared<vlMeshVertexData>();
    m_skelVertexBlocks = m_skeletonFlag != 0 ? 1 : 0;
    m_vertexData->m_subCount = m_submeshCount;
    ReadAnimDataNew(in);
    ReadBonesData(in);
    ReadAnimBIData(in);
    ReadVertexData(in);
    return !in.Failed();
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

void vlMeshData::ReadVertexData(io::BlockReader& in)
{
    const vlDataShareTable table = ReadTable(in);
    if (in.Failed())
        return;
    const BlockList blocks = Sort(table);
    m_vertexData->m_frameCount = FrameCount();
    in.Seek(blocks.vertexBlock);
    m_vertexData->Read(in, m_version, m_packMode);
    // The mask is as long as the skeleton, whatever the vertex block says of it.
    if (m_skeletonFlag == kSkinned)
        static_cast<vlMeshSkelVertexData&>(*m_vertexData).m_usedBoneBits = m_boneCount;
    ReadOriginalData(in, blocks);
    if (!in.Failed())
        WarnOfPassedOver(blocks);
}

std::uint32_t vlMeshData::FrameCount() const
{
    return m_morph && m_morph->m_singleFrame == 0 ? m_morph->m_times.GetKeyCount() : 1;
}

void vlMeshData::ReadOriginalData(io::BlockReader& in, const BlockList& blocks)
{
    constexpr std::size_t objectSize = sizeof(vlOriginalData) + 64;  // with its owner and its count of owners
    if (in.Spend(blocks.originalData.size() * objectSize))
        m_originalData.reserve(blocks.originalData.size());
    for (std::size_t i = 0; i < blocks.originalData.size() && !in.Failed(); ++i) {
        in.Seek(blocks.originalData[i]);
        in.Enter("original data", static_cast<std::int64_t>(i));
        auto data = std::make_shared<vlOriginalData>();
        data->m_type = blocks.originalTypes[i];
        data->Read(in, true);
        m_originalData.push_back(std::move(data));
    }
}

std::vector<std::uint32_t> vlMeshData::FittingSubmeshCounts(const unsigned char* data, std::size_t length)
{
    io::BlockReader in(data, data ? data + length : nullptr, "header");
    vlMeshData mesh;
    mesh.ReadMeshHeader(in);
    if (mesh.m_version < kOldestVersion || mesh.m_version > kNewestVersion)
        return {};
    mesh.ReadAnimDataNew(in);
    // How far tracks, and the records that old files have for each key, reach depends on the count itself.
    if (mesh.m_hasTracks || (mesh.m_version < kNoKeyRecordsVersion && mesh.m_hasMorph))
        return {};
    mesh.ReadBonesData(in);
    mesh.ReadAnimBIData(in);
    const std::uint64_t tableAt = in.Offset();
    const auto tableOffset = in.Value<std::uint32_t>();
    in.Seek(tableAt);
    const vlDataShareTable table = ReadTable(in);
    if (in.Failed() || table.m_blocks[0] > length)
        return {};

    // The vertex block ends where the next block begins, wherever that stands in the table.
    std::uint64_t end = tableOffset > table.m_blocks[0] ? tableOffset : length;
    for (const std::uint32_t offset : table.m_blocks)
        if (offset > table.m_blocks[0])
            end = std::min<std::uint64_t>(end, offset);
    return FittingSubCounts(data + table.m_blocks[0], data + end,
                            {mesh.m_version, mesh.FrameCount(), mesh.m_skeletonFlag != 0});
}

}  // namespace vela::vlgim
