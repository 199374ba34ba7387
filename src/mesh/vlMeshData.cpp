#include <vlgim/vlMeshData.h>

#include "MeshBlocks.h"
#include "MeshVersions.h"
#include "VertexBlock.h"

#include <corecommon/Log.h>
#include <io/Errors.h>
#include <io/SaveFile.h>
#include <vlio2/FileStream.h>

#include <algorithm>

namespace vela::vlgim {

namespace mesh {

namespace {

using io::Block;

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

// The magic word is passed over: files of this format have always been read whatever it says.
void ReadHeader(io::BlockReader& in, vlMeshData& mesh)
{
    const auto scope = in.Enter(Block::Header);
    in.Take(1, 4);
    const auto version = in.Value<std::uint32_t>(Block::VersionWord);
    const auto skeletonFlag = in.Value<std::uint16_t>();
    if (in.Failed())
        return;
    mesh.m_version = version & 0xFFFFFF;
    mesh.m_packMode = version >> 24;
    mesh.m_skeletonFlag = skeletonFlag;
}

bool HasReadVersion(const vlMeshData& mesh)
{
    return mesh.m_version >= kOldestVersion && mesh.m_version <= kNewestVersion;
}

vlDataShareTable ReadTable(io::BlockReader& in)
{
    const auto offset = in.Value<std::uint32_t>(Block::TableOffset);
    in.Seek(offset);
    const auto scope = in.Enter(Block::ShareTable);
    vlDataShareTable table;
    Read(in, table);
    if (table.m_blocks.empty())
        in.RefuseAt(offset, ErrorKind::Reference, 1, 0);
    return table;
}

// The submesh count is not in the file, nor is the frame count in the block.
std::uint32_t FrameCount(const vlMeshData& mesh)
{
    return mesh.m_morph && mesh.m_morph->m_singleFrame == 0 ? mesh.m_morph->m_times.GetKeyCount() : 1;
}

void ReadVertices(io::BlockReader& in, vlMeshData& mesh)
{
    const auto read = [&](auto vertices) {
        vertices->m_subCount = mesh.m_submeshCount;
        vertices->m_frameCount = FrameCount(mesh);
        Read(in, *vertices, mesh.m_version, mesh.m_packMode);
        mesh.m_vertexData = vertices;
        return vertices;
    };
    if (mesh.m_skeletonFlag == 0) {
        read(std::make_shared<vlMeshVertexData>());
        return;
    }
    mesh.m_skelVertexBlocks = 1;
    const auto skin = read(std::make_shared<vlMeshSkelVertexData>());
    // The mask is as long as the skeleton, whatever the vertex block says of it.
    if (mesh.m_skeletonFlag == kSkinned)
        skin->m_usedBoneBits = mesh.m_boneCount;
}

void ReadOriginalData(io::BlockReader& in, const BlockList& blocks, vlMeshData& mesh)
{
    constexpr std::size_t objectSize = sizeof(vlOriginalData) + 64;  // with its owner and its count of owners
    if (in.Spend(blocks.originalData.size() * objectSize))
        mesh.m_originalData.reserve(blocks.originalData.size());
    for (std::size_t i = 0; i < blocks.originalData.size() && !in.Failed(); ++i) {
        in.Seek(blocks.originalData[i]);
        const auto scope = in.Enter(Block::OriginalData, static_cast<std::int64_t>(i));
        auto data = std::make_shared<vlOriginalData>();
        data->m_type = blocks.originalTypes[i];
        Read(in, *data, true);
        mesh.m_originalData.push_back(std::move(data));
    }
}

// Everything behind the header.
Error ReadBlocks(io::BlockReader& in, vlMeshData& mesh, BlockList* blocks)
{
    ReadAnimation(in, mesh);
    ReadBones(in, mesh);
    ReadAnimBI(in, mesh);
    const vlDataShareTable table = ReadTable(in);
    if (!in.Failed()) {
        BlockList list = Sort(table);
        in.Seek(list.vertexBlock);
        ReadVertices(in, mesh);
        ReadOriginalData(in, list, mesh);
        if (blocks)
            *blocks = std::move(list);
    }
    return in.WhyRefused().AsError();
}

// The documented read, which logs.
bool ReadAndLog(io::BlockReader in, vlMeshData& mesh)
{
    BlockList blocks{};
    const Error error = ReadFile(in, mesh, &blocks);
    if (error)
        LogRead(error, mesh);
    else if (const Error warning = WarnOfPassedOver(blocks))
        LogReadWarning(warning);
    return !error;
}

}  // namespace

void LogRead(const Error& error, const vlMeshData& mesh)
{
    if (error.kind == ErrorKind::Version)
        LogError("gim file version is too %s", mesh.m_version > kNewestVersion ? "new" : "old");
    else
        LogError("gim file is damaged: %s", vlio::WithoutFile(error).c_str());
}

void LogReadWarning(const Error& warning)
{
    LogWarning("gim file %s", warning.text.c_str());
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

Error WarnOfPassedOver(const BlockList& blocks)
{
    if (blocks.vertexPairs <= 1)
        return {};
    std::string places;
    for (const std::uint32_t offset : blocks.passedOver)
        places += (places.empty() ? ": at byte " : ", ") + std::to_string(offset);
    Error warning;
    warning.kind = ErrorKind::Limit;
    warning.block = "share table";
    warning.text = "tells of " + std::to_string(blocks.vertexPairs) +
                   " vertex blocks, of which the first is read and the others are lost at a write" + places;
    return warning;
}

Error ReadFile(io::BlockReader& in, vlMeshData& mesh, BlockList* blocks)
{
    vlMeshData header;
    header.m_submeshCount = mesh.m_submeshCount;
    header.m_spareIndex = mesh.m_spareIndex;
    ReadHeader(in, header);
    vlMeshData read = header;
    Error error;
    if (!in.Failed() && !HasReadVersion(read))
        error = {ErrorKind::Version,
                 0,
                 {},
                 "header",
                 4,
                 "meshes of version 0x50000 to 0x50004 are read, and this is " + io::Hex(read.m_version)};
    else
        error = ReadBlocks(in, read, blocks);
    mesh = std::move(error ? header : read);
    return error;
}

}  // namespace mesh

Error Load(vlMeshData& mesh, std::span<const unsigned char> file, const LoadOptions& options,
           std::vector<Error>* warnings)
{
    io::BlockReader in(file);
    in.LimitMemory(options.memoryLimit);
    if (options.submeshCount)
        mesh.m_submeshCount = *options.submeshCount;
    mesh::BlockList blocks{};
    if (Error error = mesh::ReadFile(in, mesh, &blocks))
        return error;
    if (Error warning = mesh::WarnOfPassedOver(blocks))
        io::Append(warnings, {std::move(warning)});
    return {};
}

Error Load(vlMeshData& mesh, const char* path, const LoadOptions& options, std::vector<Error>* warnings)
{
    vlio::Bytes bytes;
    const std::size_t before = warnings ? warnings->size() : 0;
    Error error = vlio::ReadFile(path, bytes);
    if (!error)
        error = Load(mesh, bytes, options, warnings);
    for (std::size_t i = before; warnings && i < warnings->size(); ++i)
        (*warnings)[i].file = path;
    return io::InFile(std::move(error), path);
}

bool vlMeshData::ReadMeshFile(const unsigned char* data)
{
    return mesh::ReadAndLog({data, nullptr}, *this);
}

bool vlMeshData::ReadMeshFile(const unsigned char* data, std::size_t length)
{
    return mesh::ReadAndLog({data, data ? data + length : nullptr}, *this);
}

std::vector<std::uint32_t> vlMeshData::FittingSubmeshCounts(const unsigned char* data, std::size_t length)
{
    io::BlockReader in(data, data ? data + length : nullptr);
    vlMeshData mesh;
    mesh::ReadHeader(in, mesh);
    if (!mesh::HasReadVersion(mesh))
        return {};
    mesh::ReadAnimation(in, mesh);
    // How far tracks, and the records that old files have for each key, reach depends on the count itself.
    if (mesh.m_hasTracks || (mesh.m_version < kNoKeyRecordsVersion && mesh.m_hasMorph))
        return {};
    mesh::ReadBones(in, mesh);
    mesh::ReadAnimBI(in, mesh);
    const std::uint64_t tableAt = in.Offset();
    const auto tableOffset = in.Value<std::uint32_t>();
    in.Seek(tableAt);
    const vlDataShareTable table = mesh::ReadTable(in);
    if (in.Failed() || table.m_blocks[0] > length)
        return {};

    // The vertex block ends where the next block begins, wherever that stands in the table.
    std::uint64_t end = tableOffset > table.m_blocks[0] ? tableOffset : length;
    for (const std::uint32_t offset : table.m_blocks)
        if (offset > table.m_blocks[0])
            end = std::min<std::uint64_t>(end, offset);
    return mesh::FittingSubCounts(data + table.m_blocks[0], data + end,
                                  {mesh.m_version, mesh::FrameCount(mesh), mesh.m_skeletonFlag != 0});
}

}  // namespace vela::vlgim
