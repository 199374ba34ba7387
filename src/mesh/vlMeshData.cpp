#include <vlgim/vlMeshData.h>

#include "MeshBlocks.h"
#include "MeshVersions.h"

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
    for (std::size_t i = table.m_pairs.size(); i-- > 0;) {
        const DataPair& pair = table.m_pairs[i];
        const auto index = static_cast<std::size_t>(pair.index);  // a negative one is past every block
        if (index < types.size())
            types[index] = pair.type != MESH_DATA_VERTEX ? pair.type : MESH_DATA_ORIGINAL;
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

// Returns where the table lies.
std::uint32_t ReadTable(io::BlockReader& in, vlDataShareTable& table)
{
    const auto offset = in.Value<std::uint32_t>(Block::TableOffset);
    in.Seek(offset);
    const auto scope = in.Enter(Block::ShareTable);
    Read(in, table);
    if (table.m_blocks.empty())
        in.RefuseAt(offset, ErrorKind::Reference, 1, 0);
    return offset;
}

// The submesh count is not in the file, nor is the frame count in the block.
std::uint32_t FrameCount(const vlMeshData& mesh)
{
    return mesh.m_morph && mesh.m_morph->m_singleFrame == 0 ? mesh.m_morph->m_times.GetKeyCount() : 1;
}

void ReadVertices(io::BlockReader& in, vlMeshData& mesh)
{
    const auto skin = mesh.m_skeletonFlag != 0 ? std::make_shared<vlMeshSkelVertexData>() : nullptr;
    mesh.m_skelVertexBlocks = skin ? 1 : 0;
    mesh.m_vertexData = skin ? skin : std::make_shared<vlMeshVertexData>();
    mesh.m_vertexData->m_subCount = mesh.m_submeshCount;
    mesh.m_vertexData->m_frameCount = FrameCount(mesh);
    if (skin)
        Read(in, *skin, mesh.m_version, mesh.m_packMode);
    else
        Read(in, *mesh.m_vertexData, mesh.m_version, mesh.m_packMode);
    // The mask is as long as the skeleton, whatever the vertex block says of it.
    if (mesh.m_skeletonFlag == kSkinned)
        skin->m_usedBoneBits = mesh.m_boneCount;
}

// first  of the blocks of original data
void ReadOriginalData(io::BlockReader& in, const vlDataShareTable& table, std::size_t first, vlMeshData& mesh)
{
    constexpr std::size_t objectSize = sizeof(vlOriginalData) + 64;  // with its owner and its count of owners
    if (!in.Spend((table.m_blocks.size() - first) * objectSize))
        return;
    const std::vector<MESH_DATA_TYPE> types = TypesOf(table);
    mesh.m_originalData.reserve(table.m_blocks.size() - first);
    for (std::size_t i = first; i < table.m_blocks.size() && !in.Failed(); ++i) {
        in.Seek(table.m_blocks[i]);
        const auto scope = in.Enter(Block::OriginalData, static_cast<std::int64_t>(i - first));
        vlOriginalData& data = *mesh.m_originalData.emplace_back(std::make_shared<vlOriginalData>());
        data.m_type = types[i];
        Read(in, data, true);
    }
}

Error WarnOfPassedOver(std::ptrdiff_t vertexPairs, const std::vector<std::uint32_t>& passedOver)
{
    std::string places;
    for (const std::uint32_t offset : passedOver)
        places += (places.empty() ? ": at byte " : ", ") + std::to_string(offset);
    const std::string text = "lists " + std::to_string(vertexPairs) +
                             " vertex blocks; only the first is read, and a save drops the others" + places;
    return {ErrorKind::Warning, 0, {}, io::NameOf(Block::ShareTable), {}, text};
}

// Everything behind the header.
void ReadBlocks(io::BlockReader& in, vlMeshData& mesh, std::vector<std::uint32_t>* passedOver,
                std::vector<Error>* warnings)
{
    ReadAnimation(in, mesh);
    ReadSkeleton(in, mesh);
    vlDataShareTable table;
    ReadTable(in, table);
    if (in.Failed())
        return;
    const auto vertexPairs = std::ranges::count(table.m_pairs, MESH_DATA_VERTEX, &DataPair::type);
    // Block 0 is read as the vertex block whatever the pairs say.
    const auto originals = std::clamp<std::ptrdiff_t>(vertexPairs, 1, std::ssize(table.m_blocks));
    const std::vector<std::uint32_t> others(table.m_blocks.begin() + 1, table.m_blocks.begin() + originals);
    for (const std::uint32_t offset : others) {
        in.Seek(offset);
        in.Take(1, 1);  // nothing more of it is read
    }
    in.Seek(table.m_blocks[0]);
    ReadVertices(in, mesh);
    ReadOriginalData(in, table, static_cast<std::size_t>(originals), mesh);
    if (vertexPairs > 1 && !in.Failed())
        io::Append(warnings, {WarnOfPassedOver(vertexPairs, others)});
    if (passedOver)
        *passedOver = others;
}

// The documented read, which logs.
bool ReadAndLog(io::BlockReader in, vlMeshData& mesh)
{
    std::vector<Error> warnings;
    const Error error = ReadFile(in, mesh, nullptr, &warnings);
    if (error)
        LogRead(error, mesh);
    for (const Error& warning : warnings)
        LogReadWarning(warning);
    return !error;
}

const SubmeshRecord* RecordAt(const std::shared_ptr<vlMeshVertexData>& vertices, std::uint32_t submesh)
{
    const bool exists =
        vertices && submesh < std::min<std::size_t>(vertices->m_subCount, vertices->m_subRecords.size());
    return exists ? &vertices->m_subRecords[submesh] : nullptr;
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

Error ReadFile(io::BlockReader& in, vlMeshData& mesh, std::vector<std::uint32_t>* passedOver,
               std::vector<Error>* warnings)
{
    vlMeshData header;
    header.m_submeshCount = mesh.m_submeshCount;
    header.m_spareIndex = mesh.m_spareIndex;
    ReadHeader(in, header);
    vlMeshData read = header;
    Error error;
    if (in.Failed() || HasReadVersion(read)) {
        ReadBlocks(in, read, passedOver, warnings);
        error = in.WhyRefused().AsError();
    } else {
        error = io::BadVersion("meshes of version 0x50000 to 0x50004", read.m_version);
    }
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
    return mesh::ReadFile(in, mesh, nullptr, warnings);
}

Error Load(vlMeshData& mesh, const char* path, const LoadOptions& options, std::vector<Error>* warnings)
{
    vlio::Bytes bytes;
    std::vector<Error> told;
    Error error = vlio::ReadFile(path, bytes);
    if (!error)
        error = Load(mesh, bytes, options, &told);
    for (Error& warning : told)
        warning.file = path;
    io::Append(warnings, told);
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
    mesh::ReadSkeleton(in, mesh);
    vlDataShareTable table;
    const std::uint64_t tableOffset = mesh::ReadTable(in, table);
    if (in.Failed() || table.m_blocks[0] > length)
        return {};

    // The vertex block ends where the next block begins, wherever that stands in the table.
    const std::uint64_t start = table.m_blocks[0];
    std::uint64_t end = tableOffset > start ? tableOffset : length;
    for (const std::uint32_t offset : table.m_blocks)
        if (offset > start)
            end = std::min<std::uint64_t>(end, offset);
    return mesh::FittingSubCounts({data + start, data + end}, mesh.m_version, mesh::FrameCount(mesh),
                                  mesh.m_skeletonFlag != 0);
}

void vlMeshData::CollectSegGeometryInfo(std::vector<geomath::_Vector3<float>*>& positions,
                                        std::vector<geomath::_Vector3<float>*>& normals,
                                        std::vector<std::vector<std::uint16_t>>& indices,
                                        std::vector<geomath::_Point2<float>*>& uvs0,
                                        std::vector<geomath::_Point2<float>*>& uvs1,
                                        std::vector<std::uint16_t>& vertexCounts,
                                        std::vector<std::uint16_t>& triangleCounts) const
{
    if (!m_vertexData || mesh::WhyArraysShort(*m_vertexData))
        return;
    const vlMeshVertexData& mesh = *m_vertexData;
    positions.push_back(mesh.m_positions.data());
    normals.push_back(mesh.m_normals.data());
    indices.emplace_back(mesh.m_indices.begin(),
                         mesh.m_indices.begin() + 3 * std::size_t{mesh.m_triangleCount});
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
    const std::uint16_t bones = mesh::BoneCount(*this);
    if (!skin || mesh::WhySkinShort(*skin) || !io::Holds(m_boneMatrices, bones) ||
        !io::Holds(m_boneNames, bones))
        return false;
    const auto slots = std::size_t{std::min(skin->m_maxBoneRefCount, 4U)} * std::size_t{skin->m_vertexCount};
    boneIndices.insert(boneIndices.end(), skin->m_boneIndices.begin(), skin->m_boneIndices.begin() + slots);
    weights.insert(weights.end(), skin->m_boneWeights.begin(), skin->m_boneWeights.begin() + slots);
    for (std::uint16_t bone = 0; bone < bones; ++bone) {
        matrices[bone] = m_boneMatrices[bone];
        names.emplace_back(m_boneNames[bone].View());
    }
    return true;
}

void vlMeshData::GetSubIBInfo(std::uint32_t& start, std::uint32_t& count,
                              std::uint32_t submesh) const noexcept
{
    const SubmeshRecord* record = mesh::RecordAt(m_vertexData, submesh);
    start = record ? 3 * record->firstTriangle : 0;
    count = record ? 3 * record->triangleCount : 0;
}

void vlMeshData::GetSubVBInfo(std::uint32_t& start, std::uint32_t& count,
                              std::uint32_t submesh) const noexcept
{
    const SubmeshRecord* record = mesh::RecordAt(m_vertexData, submesh);
    start = record ? record->firstVertex : 0;
    count = record ? record->vertexCount : 0;
}

}  // namespace vela::vlgim
