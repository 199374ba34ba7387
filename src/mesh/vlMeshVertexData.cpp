#include <vlgim/vlMeshVertexData.h>

#include "BlockVisitors.h"
#include "HalfToFloat.h"
#include "MeshBlocks.h"
#include "MeshVersions.h"

#include <io/SaveFile.h>

#include <algorithm>
#include <span>
#include <string>
#include <utility>

namespace vela::vlgim {

namespace mesh {

namespace {

using io::Block;

using Vector3 = geomath::_Vector3<float>;
using Point2 = geomath::_Point2<float>;

constexpr std::uint64_t kEntrySize = 10;    // u32 vertices, u32 triangles, u8 uv sets, u8 colours
constexpr std::uint32_t kMostBits = 65535;  // of the mask of used bones: as many as a mesh can have bones
constexpr std::uint32_t kBitsWithoutCount = 255;

// The arrays that the counts of an object ask for, without those of a skin. They lie in memory in this order. With the
// uvs ahead of the colours, as in the file, a load takes 2 % longer: more stores are whole pages away from the loads.
void Visit(auto& mesh, bool hasTangents, auto&& visitor)
{
    const std::uint64_t vertices = mesh.m_vertexCount, allFrames = mesh.m_frameCount * vertices;
    visitor.Array("submesh records", mesh.m_subRecords, mesh.m_subCount);
    visitor.Array("positions", mesh.m_positions, allFrames);
    visitor.Array("normals", mesh.m_normals, allFrames);
    if (hasTangents)
        visitor.Array("tangents", mesh.m_tangents, allFrames);
    visitor.Array("triangles", mesh.m_indices, 3 * std::uint64_t{mesh.m_triangleCount});
    if (mesh.m_colorSetCount != 0)
        visitor.Array("colours", mesh.m_colors, vertices);
    constexpr const char* uvNames[kMostUvSets] = {"uvs of set 0", "uvs of set 1", "uvs of set 2",
                                                  "uvs of set 3"};
    for (unsigned set = 0; set < std::min(mesh.m_uvSetCount, kMostUvSets); ++set)
        visitor.Array(uvNames[set], mesh.m_uvSets[set], vertices);
}

void VisitSkin(auto& mesh, auto&& visitor)
{
    const std::uint64_t slots = std::uint64_t{mesh.m_maxBoneRefCount} * mesh.m_vertexCount;
    visitor.Array("bone references", mesh.m_boneIndices, slots);
    visitor.Array("bone weights", mesh.m_boneWeights, slots);
}

// Whether the block has uvs or colours for the vertices of a submesh.
bool HasRuns(const SubmeshRecord& record)
{
    return record.vertexCount != 0 && (record.uvSetCount != 0 || record.hasColors != 0);
}

// --- reading: a block is measured first, with the skin, and filled when all of it is known to fit ---

// What the submesh entries say together. All sums are 64 bits wide: one that wrapped would lead a run back
// into the vertex list.
struct SubmeshSums {
    std::uint64_t vertices = 0;
    std::uint64_t uvs = 0;        // entries of all uv runs
    std::uint64_t colors = 0;     // entries of all colour runs
    std::uint64_t runEnd = 0;     // one past the last vertex that any run reaches
    std::uint8_t uvSetCount = 0;  // the largest of them

    void Add(const SubmeshRecord& record)
    {
        vertices += record.vertexCount;
        uvs += std::uint64_t{record.uvSetCount} * record.vertexCount;
        colors += record.hasColors ? record.vertexCount : 0;
        uvSetCount = std::max(uvSetCount, record.uvSetCount);
        if (HasRuns(record))
            runEnd = vertices;
    }
};

// What a block holds, proven to fit before anything is allocated; attributes that it does not hold are null.
struct VertexSource {
    vlMeshVertexData mesh;  // its counts alone
    SubmeshSums submeshes;
    bool hasHalves;
    const unsigned char *entries, *positions, *normals, *tangents, *indices, *uvs, *colors, *frames;
};

// Bytes of an entry of a uv run. The runs of half floats stand one behind the other, at half the stride of the float runs.
constexpr std::uint64_t UvSize(bool hasHalves)
{
    return hasHalves ? sizeof(Point2) / 2 : sizeof(Point2);
}

SubmeshRecord EntryAt(const unsigned char* entries, std::uint64_t index)
{
    const unsigned char* entry = entries + index * kEntrySize;
    SubmeshRecord record;
    io::CopyRun(&record.vertexCount, entry, 1);
    io::CopyRun(&record.triangleCount, entry + 4, 1);
    record.uvSetCount = entry[8];
    record.hasColors = entry[9];
    return record;
}

void MeasureEntries(io::BlockReader& in, VertexSource& source)
{
    const auto scope = in.Enter(Block::SubmeshEntries);
    const std::uint64_t start = in.Offset();
    source.entries = in.Take(source.mesh.m_subCount, kEntrySize);
    SubmeshSums all;
    for (std::uint32_t i = 0; i < source.mesh.m_subCount && !in.Failed(); ++i) {
        const SubmeshRecord record = EntryAt(source.entries, i);
        all.Add(record);
        if (record.uvSetCount > kMostUvSets)
            in.RefuseAt(start + i * kEntrySize + 8, ErrorKind::Limit, record.uvSetCount, kMostUvSets);
    }
    source.submeshes = all;
}

// Returns the data flag.
bool MeasureCounts(io::BlockReader& in, VertexSource& source)
{
    const auto scope = in.Enter(Block::VertexCounts);
    const bool hasData = in.Value<std::uint16_t>() != 0;
    const std::uint64_t at = in.Offset();
    source.mesh.m_vertexCount = in.Value<std::uint32_t>();
    source.mesh.m_triangleCount = in.Value<std::uint32_t>();
    in.Note(Block::Totals, at, in.Offset());
    if (source.submeshes.runEnd > source.mesh.m_vertexCount)
        in.RefuseAt(at, ErrorKind::Limit, source.submeshes.runEnd, source.mesh.m_vertexCount);
    return hasData;
}

// Takes the uvs, each run of a submesh and a set as a field. Those of half floats fill half the room.
const unsigned char* TakeUvs(io::BlockReader& in, const VertexSource& source)
{
    const auto scope = in.Enter(Block::Uvs);
    std::uint64_t offset = in.Offset();
    const unsigned char* const uvs = in.Take(source.submeshes.uvs, vlMeshVertexData::m_uv_sz);
    for (std::uint32_t i = 0; in.IsTraced() && i < source.mesh.m_subCount; ++i) {
        const SubmeshRecord record = EntryAt(source.entries, i);
        const std::uint64_t size = record.vertexCount * UvSize(source.hasHalves);
        for (unsigned set = 0; size != 0 && set < record.uvSetCount; ++set, offset += size)
            in.Note(Block::Run, offset, offset + size);
    }
    return uvs;
}

// Takes the frames behind the first, the positions and the normals of each as fields.
const unsigned char* TakeFrames(io::BlockReader& in, const VertexSource& source)
{
    const auto scope = in.Enter(Block::MorphFrames);
    const std::uint64_t size = source.mesh.m_vertexCount * sizeof(Vector3),
                        count = source.mesh.m_frameCount - 1;
    std::uint64_t offset = in.Offset();
    const unsigned char* const frames = in.Take(count * source.mesh.m_vertexCount, 2 * sizeof(Vector3));
    for (std::uint64_t run = 0; in.IsTraced() && size != 0 && run < 2 * count; ++run, offset += size)
        in.Note(Block::Run, offset, offset + size);
    return frames;
}

// Goes from the data flag to the end of the block.
void MeasureData(io::BlockReader& in, VertexSource& source, unsigned int version)
{
    if (!MeasureCounts(in, source))
        return;
    const std::uint64_t vertices = source.mesh.m_vertexCount, frames = source.mesh.m_frameCount;
    using Data = vlMeshVertexData;
    source.positions = in.Take(Block::Positions, vertices, Data::m_v_sz);
    source.normals = in.Take(Block::Normals, vertices, Data::m_v_sz);
    if (version >= kTangentVersion && in.Value<std::uint16_t>(Block::TangentFlag) != 0)
        source.tangents = in.Take(Block::Tangents, frames * vertices, Data::m_v_sz);
    source.indices = in.Take(Block::Triangles, source.mesh.m_triangleCount, Data::m_tri_sz);
    source.uvs = TakeUvs(in, source);
    source.colors = in.Take(Block::Colors, source.submeshes.colors, Data::m_c_sz);
    source.frames = TakeFrames(in, source);
}

// What it gives is of use only where `in` has not failed.
VertexSource MeasureVertices(io::BlockReader& in, const vlMeshVertexData& target, unsigned int version,
                             unsigned int packMode)
{
    VertexSource source{};
    source.hasHalves = packMode == kHalfPackMode;
    source.mesh.m_subCount = target.m_subCount;
    source.mesh.m_frameCount = std::max(target.m_frameCount, 1U);
    source.mesh.m_maxBoneRefCount = target.m_maxBoneRefCount;
    MeasureEntries(in, source);
    MeasureData(in, source, version);
    source.mesh.m_uvSetCount = source.submeshes.uvSetCount;
    source.mesh.m_colorSetCount = 1;
    source.mesh.m_hasTangents = source.tangents ? 1 : 0;
    return source;
}

void FillRecords(vlMeshVertexData& mesh, const unsigned char* entries)
{
    std::uint32_t vertex = 0, triangle = 0;
    for (std::uint32_t i = 0; i < mesh.m_subCount; ++i) {
        SubmeshRecord& record = mesh.m_subRecords[i] = EntryAt(entries, i);
        record.firstVertex = std::exchange(vertex, vertex + record.vertexCount);
        record.firstTriangle = std::exchange(triangle, triangle + record.triangleCount);
    }
}

// Copies values of an attribute. Null: the file has none, and all their bytes become `missing`.
template <class T>
void Fill(T* to, const unsigned char* from, std::uint64_t count, int missing = 0)
{
    if (from)
        io::CopyRun(to, from, count);
    else if (count != 0)
        std::memset(static_cast<void*>(to), missing, count * sizeof(T));
}

template <class Vector>
void FillVectors(Vector* to, const unsigned char* from, std::uint64_t count, bool hasHalves)
{
    if (from && hasHalves)
        HalfToFloat(reinterpret_cast<float*>(to), from, count * (sizeof(Vector) / sizeof(float)));
    else
        Fill(to, from, count);
}

void FillFrames(vlMeshVertexData& mesh, const VertexSource& source)
{
    const std::uint64_t count = mesh.m_vertexCount, size = count * sizeof(Vector3);
    FillVectors(mesh.m_positions.data(), source.positions, count, source.hasHalves);
    Fill(mesh.m_normals.data(), source.normals, count);
    for (std::uint64_t frame = 1; frame < mesh.m_frameCount; ++frame) {
        const unsigned char* const run = source.frames ? source.frames + 2 * (frame - 1) * size : nullptr;
        Fill(mesh.m_positions.data() + frame * count, run, count);
        Fill(mesh.m_normals.data() + frame * count, run ? run + size : nullptr, count);
    }
}

// Vertices without values, those behind the submeshes too, are filled as they are passed, so that none is written
// twice.
void FillRuns(vlMeshVertexData& mesh, const VertexSource& source)
{
    const unsigned char *uvs = source.uvs, *colors = source.colors;
    std::uint64_t first = 0;
    const auto fill = [&](const SubmeshRecord& record, std::uint64_t count) {
        for (unsigned set = 0; set < mesh.m_uvSetCount; ++set) {
            const unsigned char* const run = set < record.uvSetCount ? uvs : nullptr;
            FillVectors(mesh.m_uvSets[set].data() + first, run, count, source.hasHalves);
            uvs += run ? count * UvSize(source.hasHalves) : 0;
        }
        const unsigned char* const run = record.hasColors ? colors : nullptr;
        Fill(mesh.m_colors.data() + first, run, count, 0xFF);
        colors += run ? count * sizeof(std::uint32_t) : 0;
        first += count;
    };
    for (std::uint32_t i = 0; i < mesh.m_subCount; ++i)
        if (const SubmeshRecord& record = mesh.m_subRecords[i]; record.vertexCount != 0)
            fill(record, std::min<std::uint64_t>(record.vertexCount, mesh.m_vertexCount - first));
    fill(SubmeshRecord(), mesh.m_vertexCount - first);
}

// Makes the arrays of a measured block, in one allocation, and fills them. Where `in` has failed, or the memory budget
// does not allow it, the target stays as it was.
void BuildVertices(io::BlockReader& in, VertexSource& source, vlMeshVertexData& target)
{
    vlMeshVertexData& mesh = source.mesh;
    const auto scope = in.Enter(Block::VertexBlock);
    io::ReadTwice(in, [&](const io::Pass& pass) { Visit(mesh, mesh.m_hasTangents != 0, ArrayReader{pass}); });
    if (in.Failed())
        return;
    FillRecords(mesh, source.entries);
    FillFrames(mesh, source);
    Fill(mesh.m_tangents.data(), source.tangents, mesh.m_tangents.size());
    Fill(mesh.m_indices.data(), source.indices, mesh.m_indices.size());
    FillRuns(mesh, source);
    target = std::move(mesh);
}

// The skin behind the vertices, proven to fit.
struct SkinSource {
    std::uint32_t slots;  // for each vertex
    std::uint32_t bits;   // of the mask
    const unsigned char *references, *weights, *mask;
};

SkinSource MeasureSkin(io::BlockReader& in, std::uint64_t vertexCount, unsigned int version)
{
    SkinSource source{};
    source.slots = version == kEightSlotVersion ? 8 : 4;
    const std::uint64_t count = vertexCount * source.slots;
    source.references = in.Take(Block::BoneReferences, count, version >= kWideReferenceVersion ? 2 : 1);
    source.weights = in.Take(Block::BoneWeights, count, sizeof(float));
    const auto scope = in.Enter(Block::UsedBones);
    source.bits = version >= kWideReferenceVersion ? in.Count<std::uint32_t>(kMostBits) : kBitsWithoutCount;
    if (version >= kMaskVersion)
        source.mask = in.Take((source.bits + 7) / 8, 1);
    return source;
}

// The same for a skin, in an allocation of its own. The counts are set.
void BuildSkin(io::BlockReader& in, const SkinSource& source, unsigned int version,
               vlMeshSkelVertexData& mesh)
{
    const auto scope = in.Enter(Block::VertexBlock);
    io::ReadTwice(in, [&](const io::Pass& pass) { VisitSkin(mesh, ArrayReader{pass}); });
    if (in.Failed())
        return;
    CopyBoneIndices(mesh.m_boneIndices.data(), source.references, mesh.m_boneIndices.size(),
                    version >= kWideReferenceVersion);
    io::CopyRun(mesh.m_boneWeights.data(), source.weights, mesh.m_boneWeights.size());
    mesh.m_usedBoneBits = source.bits;
    mesh.m_usedBones.assign(source.bits, false);
    for (std::uint32_t bit = 0; source.mask && bit < source.bits; ++bit)
        mesh.m_usedBones[bit] = (source.mask[bit / 8] >> (bit % 8) & 1) != 0;
}

// --- writing ---

Error WhyRecordUnwritable(const vlMeshVertexData& mesh, const SubmeshRecord& record,
                          std::uint64_t firstVertex)
{
    const auto text = [](std::uint64_t number) { return std::to_string(number); };
    if (record.uvSetCount > mesh.m_uvSetCount)
        return io::Unwritable("declares " + text(record.uvSetCount) + " uv sets, but the mesh has " +
                              text(mesh.m_uvSetCount));
    if (record.hasColors && mesh.m_colorSetCount == 0)
        return io::Unwritable("declares colours, but the mesh has none");
    if (!HasRuns(record))
        return {};
    // A reader puts the runs where the counts add up to, whatever firstVertex said.
    if (record.firstVertex != firstVertex)
        return io::Unwritable("starts at vertex " + text(record.firstVertex) +
                              ", and those in front of it have " + text(firstVertex));
    if (firstVertex + record.vertexCount > mesh.m_vertexCount)
        return io::Unwritable("has uvs or colours up to vertex " + text(firstVertex + record.vertexCount) +
                              ", but the mesh has " + text(mesh.m_vertexCount));
    return {};
}

Error WhyVerticesUnwritable(const vlMeshVertexData& mesh)
{
    if (mesh.m_frameCount == 0)
        return io::Unwritable("the mesh has no frame");
    if (mesh.m_uvSetCount > kMostUvSets)
        return io::Unwritable("the mesh has " + std::to_string(mesh.m_uvSetCount) +
                              " uv sets, which exceeds the limit of 4");
    if (Error why = WhyArraysShort(mesh))
        return why;
    std::uint64_t firstVertex = 0;
    for (std::uint32_t i = 0; i < mesh.m_subCount; ++i) {
        const SubmeshRecord& record = mesh.m_subRecords[i];
        if (Error why = WhyRecordUnwritable(mesh, record, firstVertex))
            return io::Inside({Block::Submesh, i}, std::move(why));
        firstVertex += record.vertexCount;
    }
    return {};
}

// out  a BlockWriter or a ByteCount
void WriteVertices(auto& out, const vlMeshVertexData& mesh)
{
    const std::uint64_t vertices = mesh.m_vertexCount;
    const std::span<const SubmeshRecord> records(mesh.m_subRecords.data(), mesh.m_subCount);
    for (const SubmeshRecord& record : records) {
        out.Value(record.vertexCount);
        out.Value(record.triangleCount);
        out.Value(record.uvSetCount);
        out.Value(record.hasColors);
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
    for (const SubmeshRecord& record : records)
        for (std::uint8_t set = 0; record.vertexCount && set < record.uvSetCount; ++set)
            out.Run(mesh.m_uvSets[set].data() + record.firstVertex, record.vertexCount);
    for (const SubmeshRecord& record : records)
        if (record.vertexCount && record.hasColors)
            out.Run(mesh.m_colors.data() + record.firstVertex, record.vertexCount);
    for (std::uint64_t frame = 1; vertices && frame < mesh.m_frameCount; ++frame) {
        out.Run(mesh.m_positions.data() + frame * vertices, vertices);
        out.Run(mesh.m_normals.data() + frame * vertices, vertices);
    }
}

// mask  m_usedBones as the file has it
void WriteSkin(auto& out, const vlMeshSkelVertexData& mesh, const unsigned char* mask)
{
    VisitSkin(mesh, ArrayWriter{out});
    out.Value(mesh.m_usedBoneBits);
    out.Run(mask, (mesh.m_usedBoneBits + 7) / 8);
}

// Sets the bits of the bones that have a weight, and returns the mask as the file has it.
std::vector<unsigned char> UpdateMask(vlMeshSkelVertexData& mesh)
{
    const std::uint64_t count = std::uint64_t{mesh.m_maxBoneRefCount} * mesh.m_vertexCount;
    const std::uint16_t* const bones = mesh.m_boneIndices.data();
    const float* const weights = mesh.m_boneWeights.data();
    // Stores alone, at no bone's place where the weight is 0: slots are too many for a branch or for single bits.
    std::vector<unsigned char> used(kNoBone + 1U);
    for (std::uint64_t slot = 0; slot < count; ++slot)
        used[weights[slot] != 0.0F ? bones[slot] : kNoBone] = 1;
    mesh.m_usedBones.resize(mesh.m_usedBoneBits);
    std::vector<unsigned char> mask((mesh.m_usedBoneBits + 7) / 8);
    for (std::uint32_t bit = 0; bit < mesh.m_usedBoneBits; ++bit) {
        const bool isUsed = mesh.m_usedBones[bit] || used[bit] != 0;
        mesh.m_usedBones[bit] = isUsed;
        mask[bit / 8] = static_cast<unsigned char>(mask[bit / 8] | unsigned{isUsed} << bit % 8);
    }
    return mask;
}

}  // namespace

Error WhyArraysShort(const vlMeshVertexData& mesh)
{
    ShortArray check;
    Visit(mesh, bool(mesh.m_tangents), check);
    return check.why;
}

Error WhySkinShort(const vlMeshSkelVertexData& mesh)
{
    ShortArray check;
    VisitSkin(mesh, check);
    return check.why;
}

void CopyBoneIndices(std::uint16_t* to, const unsigned char* from, std::uint64_t count, bool isWide)
{
    if (isWide)
        return io::CopyRun(to, from, count);
    for (std::uint64_t i = 0; i < count; ++i)
        to[i] = from[i] == 255 ? kNoBone : from[i];
}

void Read(io::BlockReader& in, vlMeshVertexData& mesh, unsigned int version, unsigned int packMode)
{
    VertexSource source = MeasureVertices(in, mesh, version, packMode);
    BuildVertices(in, source, mesh);
}

void Read(io::BlockReader& in, vlMeshSkelVertexData& mesh, unsigned int version, unsigned int packMode)
{
    VertexSource vertices = MeasureVertices(in, mesh, version, packMode);
    const SkinSource skin = MeasureSkin(in, vertices.mesh.m_vertexCount, version);
    vlMeshSkelVertexData read;
    read.m_vertexCount = vertices.mesh.m_vertexCount;
    read.m_maxBoneRefCount = vertices.mesh.m_maxBoneRefCount = skin.slots;
    BuildSkin(in, skin, version, read);
    BuildVertices(in, vertices, read);
    if (!in.Failed())
        mesh = std::move(read);
}

void Write(io::BlockWriter& out, vlMeshVertexData& mesh)
{
    WriteVertices(out, mesh);
    if (auto* const skin = dynamic_cast<vlMeshSkelVertexData*>(&mesh))
        WriteSkin(out, *skin, UpdateMask(*skin).data());
}

std::uint64_t WrittenSize(const vlMeshVertexData& mesh)
{
    ByteCount count;
    WriteVertices(count, mesh);
    if (const auto* const skin = dynamic_cast<const vlMeshSkelVertexData*>(&mesh))
        WriteSkin(count, *skin, nullptr);
    return count.bytes;
}

std::vector<std::uint32_t> FittingSubCounts(std::span<const unsigned char> block, unsigned int version,
                                            std::uint32_t frameCount, bool isSkinned)
{
    std::vector<std::uint32_t> fitting;
    VertexSource source{};
    source.mesh.m_frameCount = std::max(frameCount, 1U);
    for (std::uint32_t count = 0; source.submeshes.uvSetCount <= kMostUvSets; ++count) {
        io::BlockReader in(block);
        in.Seek(count * kEntrySize);
        MeasureData(in, source, version);
        if (isSkinned)
            MeasureSkin(in, source.mesh.m_vertexCount, version);
        if (!in.Failed() && in.Offset() == block.size())
            fitting.push_back(count);
        if ((count + 1) * kEntrySize > block.size())
            break;
        source.submeshes.Add(EntryAt(block.data(), count));
    }
    return fitting;
}

}  // namespace mesh

Error WhyUnwritable(const vlMeshVertexData& mesh)
{
    Error why = mesh::WhyVerticesUnwritable(mesh);
    const auto* const skin = dynamic_cast<const vlMeshSkelVertexData*>(&mesh);
    if (why || !skin)
        return why;
    why = mesh::WhySkinShort(*skin);
    if (!why && skin->m_usedBoneBits > mesh::kMostBits)
        return io::Unwritable("the mask of used bones has " + std::to_string(skin->m_usedBoneBits) +
                              " bits, which exceeds the limit of 65535");
    return why;
}

const unsigned char* vlMeshVertexData::ReadDataNew(const unsigned char* data, unsigned int version,
                                                   unsigned int packMode, const unsigned char* end)
{
    io::BlockReader in(data, end);
    mesh::Read(in, *this, version, packMode);
    return in.Position();
}

const unsigned char* vlMeshSkelVertexData::ReadDataNew(const unsigned char* data, unsigned int version,
                                                       unsigned int packMode, const unsigned char* end)
{
    io::BlockReader in(data, end);
    mesh::Read(in, *this, version, packMode);
    return in.Position();
}

// The block of this class alone: a derived class has a writer of its own.
void vlMeshVertexData::WriteData(std::FILE* stream)
{
    io::WriteStream(stream, "vertex block can't be written", mesh::WhyVerticesUnwritable(*this),
                    [this](io::BlockWriter& out) { mesh::WriteVertices(out, *this); });
}

void vlMeshSkelVertexData::WriteData(std::FILE* stream)
{
    io::WriteStream(stream, "vertex block can't be written", WhyUnwritable(*this),
                    [this](io::BlockWriter& out) { mesh::Write(out, *this); });
}

}  // namespace vela::vlgim
