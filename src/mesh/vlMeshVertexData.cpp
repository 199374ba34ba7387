#include <vlgim/vlMeshVertexData.h>

#include "HalfToFloat.h"
#include "MeshVersions.h"
#include "VertexBlock.h"

#include <io/ArrayBlock.h>

#include <algorithm>
#include <utility>

namespace vela::vlgim {

namespace mesh {

namespace {

using io::Block;

using Vector3 = geomath::_Vector3<float>;
using Point2 = geomath::_Point2<float>;

constexpr unsigned int kHalfPackMode = 1;  // positions and uvs are half floats
constexpr std::uint64_t kEntrySize = 10;   // u32 vertices, u32 triangles, u8 uv sets, u8 colours

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

SubmeshSums Survey(io::BlockReader& in, const unsigned char* entries, std::uint32_t count)
{
    SubmeshSums all;
    const std::uint64_t start = in.Offset() - count * kEntrySize;
    for (std::uint32_t i = 0; i < count && !in.Failed(); ++i) {
        const SubmeshRecord record = EntryAt(entries, i);
        all.Add(record);
        if (record.uvSetCount > kMostUvSets)
            in.RefuseAt(start + i * kEntrySize + 8, ErrorKind::Limit, record.uvSetCount, kMostUvSets);
    }
    return all;
}

// One attribute over all vertices, filled run by run in ascending order. Vertices without a run get a fill
// byte, so that no vertex is written twice.
template <class T>
class RunFiller {
public:
    RunFiller(T* array, int fillByte) : m_array(array), m_fillByte(fillByte) {}

    // Where the values of vertices first to first + count - 1 belong.
    T* Run(std::uint64_t first, std::uint64_t count)
    {
        FillTo(first);
        m_next = first + count;
        return m_array + first;
    }

    void FillTo(std::uint64_t end)
    {
        if (end > m_next)
            std::memset(static_cast<void*>(m_array + m_next), m_fillByte, (end - m_next) * sizeof(T));
    }

private:
    T* m_array;
    int m_fillByte;
    std::uint64_t m_next = 0;
};

void FillRecords(SubmeshRecord* records, const unsigned char* entries, std::uint32_t count)
{
    SubmeshRecord next;
    for (std::uint32_t i = 0; i < count; ++i) {
        records[i] = EntryAt(entries, i);
        records[i].firstVertex = next.firstVertex;
        records[i].firstTriangle = next.firstTriangle;
        next.firstVertex += records[i].vertexCount;
        next.firstTriangle += records[i].triangleCount;
    }
}

// The uv runs of half floats stand one behind the other, at half the stride of the float runs.
void FillUvs(vlMeshVertexData& mesh, const unsigned char* source, bool half)
{
    RunFiller<Point2> fillers[] = {{mesh.m_uvSets[0].data(), 0},
                                   {mesh.m_uvSets[1].data(), 0},
                                   {mesh.m_uvSets[2].data(), 0},
                                   {mesh.m_uvSets[3].data(), 0}};
    for (std::uint32_t i = 0; source && i < mesh.m_subCount; ++i) {
        const SubmeshRecord& record = mesh.m_subRecords[i];
        const std::uint64_t count = record.vertexCount;
        for (std::uint8_t set = 0; count && set < record.uvSetCount; ++set) {
            Point2* target = fillers[set].Run(record.firstVertex, count);
            if (half)
                HalfToFloat(&target->u, source, 2 * count);
            else
                io::CopyRun(target, source, count);
            source += count * (half ? sizeof(Point2) / 2 : sizeof(Point2));
        }
    }
    for (std::uint8_t set = 0; set < mesh.m_uvSetCount; ++set)
        fillers[set].FillTo(mesh.m_vertexCount);
}

void FillColors(vlMeshVertexData& mesh, const unsigned char* source)
{
    RunFiller<std::uint32_t> filler(mesh.m_colors.data(), 0xFF);
    for (std::uint32_t i = 0; source && i < mesh.m_subCount; ++i) {
        const SubmeshRecord& record = mesh.m_subRecords[i];
        if (record.hasColors && record.vertexCount) {
            io::CopyRun(filler.Run(record.firstVertex, record.vertexCount), source, record.vertexCount);
            source += std::uint64_t{record.vertexCount} * sizeof(std::uint32_t);
        }
    }
    filler.FillTo(mesh.m_vertexCount);
}

// The runs of the uvs, for whoever has to say where one of them lies.
void NoteUvs(io::BlockReader& in, const VertexSource& source, std::uint32_t subCount, bool half)
{
    const std::uint64_t stride = half ? sizeof(Point2) / 2 : sizeof(Point2);
    std::uint64_t offset = in.Offset() - source.submeshes.uvs * sizeof(Point2);
    for (std::uint32_t i = 0; i < subCount; ++i) {
        const SubmeshRecord record = EntryAt(source.entries, i);
        for (std::uint8_t set = 0; record.vertexCount != 0 && set < record.uvSetCount; ++set) {
            const std::uint64_t end = offset + record.vertexCount * stride;
            in.Note(Block::UvRun, offset, end, std::int64_t{i} * kMostUvSets + set);
            offset = end;
        }
    }
}

// The frames behind the first, each of positions and normals.
void NoteFrames(io::BlockReader& in, const VertexSource& source, std::uint64_t frameCount)
{
    const std::uint64_t size = source.vertexCount * sizeof(Vector3);
    std::uint64_t offset = in.Offset() - (frameCount - 1) * 2 * size;
    for (std::uint64_t frame = 1; size != 0 && frame < frameCount; ++frame, offset += 2 * size) {
        in.Note(Block::FramePositions, offset, offset + size, static_cast<std::int64_t>(frame));
        in.Note(Block::FrameNormals, offset + size, offset + 2 * size, static_cast<std::int64_t>(frame));
    }
}

void MeasureCounts(io::BlockReader& in, VertexSource& source)
{
    const auto scope = in.Enter(Block::VertexCounts);
    source.hasData = in.Value<std::uint16_t>() != 0;
    const std::uint64_t at = in.Offset();
    source.vertexCount = in.Value<std::uint32_t>();
    source.triangleCount = in.Value<std::uint32_t>();
    in.Note(Block::Totals, at, in.Offset());
    if (source.submeshes.runEnd > source.vertexCount)
        in.RefuseAt(at, ErrorKind::Limit, source.submeshes.runEnd, source.vertexCount);
}

// Goes from the data flag to the end of the block.
// subCount  of which the runs are noted
void MeasureData(io::BlockReader& in, VertexSource& source, std::uint64_t frameCount, unsigned int version,
                 std::uint32_t subCount, bool half)
{
    MeasureCounts(in, source);
    if (!source.hasData)
        return;
    using Data = vlMeshVertexData;
    source.positions = in.Take(Block::Positions, source.vertexCount, Data::m_v_sz);
    source.normals = in.Take(Block::Normals, source.vertexCount, Data::m_v_sz);
    if (version >= kTangentVersion && in.Value<std::uint16_t>(Block::TangentFlag) != 0)
        source.tangents = in.Take(Block::Tangents, frameCount * source.vertexCount, Data::m_v_sz);
    source.indices = in.Take(Block::Triangles, source.triangleCount, Data::m_tri_sz);
    {
        const auto scope = in.Enter(Block::Uvs);
        source.uvs = in.Take(source.submeshes.uvs, Data::m_uv_sz);
        if (in.IsTraced())
            NoteUvs(in, source, subCount, half);
    }
    source.colors = in.Take(Block::Colors, source.submeshes.colors, Data::m_c_sz);
    const auto scope = in.Enter(Block::MorphFrames);
    source.frames = in.Take((frameCount - 1) * source.vertexCount, 2 * sizeof(Vector3));
    if (in.IsTraced())
        NoteFrames(in, source, frameCount);
}

void FillFrames(Vector3* positions, Vector3* normals, const VertexSource& source, std::uint64_t frameCount,
                bool half)
{
    const std::uint64_t count = source.vertexCount;
    if (half)
        HalfToFloat(&positions->x, source.positions, 3 * count);
    else
        io::CopyRun(positions, source.positions, count);
    io::CopyRun(normals, source.normals, count);

    const unsigned char* next = source.frames;
    for (std::uint64_t frame = 1; count && frame < frameCount; ++frame) {
        io::CopyRun(positions + frame * count, next, count);
        io::CopyRun(normals + frame * count, next + count * sizeof(Vector3), count);
        next += 2 * count * sizeof(Vector3);
    }
}

template <class T>
void FillZero(T* array, std::uint64_t count)
{
    std::memset(static_cast<void*>(array), 0, count * sizeof(T));
}

void Fill(vlMeshVertexData& mesh, const VertexSource& source, bool half)
{
    const std::uint64_t allFrames = std::uint64_t{mesh.m_frameCount} * mesh.m_vertexCount;
    FillRecords(mesh.m_subRecords.data(), source.entries, mesh.m_subCount);
    if (source.hasData) {
        FillFrames(mesh.m_positions.data(), mesh.m_normals.data(), source, mesh.m_frameCount, half);
        io::CopyRun(mesh.m_indices.data(), source.indices, 3 * source.triangleCount);
    } else {
        FillZero(mesh.m_positions.data(), allFrames);
        FillZero(mesh.m_normals.data(), allFrames);
        FillZero(mesh.m_indices.data(), 3 * source.triangleCount);
    }
    if (source.tangents)
        io::CopyRun(mesh.m_tangents.data(), source.tangents, allFrames);
    FillUvs(mesh, source.uvs, half);
    FillColors(mesh, source.colors);
}

}  // namespace

VertexSource MeasureVertices(io::BlockReader& in, std::uint32_t subCount, std::uint32_t frameCount,
                             unsigned int version, unsigned int packMode)
{
    VertexSource source{};
    {
        const auto scope = in.Enter(Block::SubmeshEntries);
        source.entries = in.Take(subCount, kEntrySize);
        source.submeshes = Survey(in, source.entries, subCount);
    }
    MeasureData(in, source, std::max(frameCount, 1U), version, subCount, packMode == kHalfPackMode);
    return source;
}

void BuildVertices(io::BlockReader& in, const VertexSource& source, unsigned int packMode,
                   vlMeshVertexData& target)
{
    const std::uint64_t frameCount = std::max(target.m_frameCount, 1U);
    const std::uint64_t vertexCount = source.vertexCount;
    const std::uint64_t allFrames = frameCount * vertexCount;
    const std::uint8_t uvSetCount = source.submeshes.uvSetCount;
    if (in.Failed())
        return;

    io::ArrayBlock block;
    const auto records = block.Plan<SubmeshRecord>(target.m_subCount);
    const auto positions = block.Plan<Vector3>(allFrames);
    const auto normals = block.Plan<Vector3>(allFrames);
    const auto tangents = block.Plan<Vector3>(source.tangents ? allFrames : 0);
    const auto indices = block.Plan<std::uint16_t>(3 * source.triangleCount);
    const auto colors = block.Plan<std::uint32_t>(vertexCount);
    io::ArrayBlock::Slot<Point2> uvs[kMostUvSets];
    for (std::uint8_t set = 0; set < uvSetCount; ++set)
        uvs[set] = block.Plan<Point2>(vertexCount);
    {
        const auto scope = in.Enter(Block::VertexBlock);
        if (!block.Allocate(in))
            return;
    }

    vlMeshVertexData read;
    read.m_subRecords = block.Array(records);
    read.m_frameCount = static_cast<std::uint32_t>(frameCount);
    read.m_subCount = target.m_subCount;
    read.m_vertexCount = static_cast<std::uint32_t>(vertexCount);
    read.m_triangleCount = static_cast<std::uint32_t>(source.triangleCount);
    read.m_uvSetCount = uvSetCount;
    read.m_colorSetCount = 1;
    read.m_hasTangents = source.tangents ? 1 : 0;
    read.m_positions = block.Array(positions);
    read.m_normals = block.Array(normals);
    read.m_indices = block.Array(indices);
    for (std::uint8_t set = 0; set < uvSetCount; ++set)
        read.m_uvSets[set] = block.Array(uvs[set]);
    read.m_colors = block.Array(colors);
    if (source.tangents)
        read.m_tangents = block.Array(tangents);
    read.m_maxBoneRefCount = target.m_maxBoneRefCount;
    Fill(read, source, packMode == kHalfPackMode);
    target = std::move(read);
}

void Read(io::BlockReader& in, vlMeshVertexData& mesh, unsigned int version, unsigned int packMode)
{
    const VertexSource source = MeasureVertices(in, mesh.m_subCount, mesh.m_frameCount, version, packMode);
    BuildVertices(in, source, packMode, mesh);
}

std::vector<std::uint32_t> FittingSubCounts(const unsigned char* data, const unsigned char* end,
                                            const VertexBlockKind& kind)
{
    std::vector<std::uint32_t> fitting;
    const auto size = static_cast<std::uint64_t>(end - data);
    VertexSource source{};
    for (std::uint32_t count = 0; source.submeshes.uvSetCount <= kMostUvSets; ++count) {
        io::BlockReader in(data, end);
        in.Seek(count * kEntrySize);
        MeasureData(in, source, std::max(kind.frameCount, 1U), kind.version, 0, false);
        if (kind.skinned)
            MeasureSkin(in, source.vertexCount, kind.version);
        if (!in.Failed() && in.Offset() == size)
            fitting.push_back(count);
        if ((count + 1) * kEntrySize > size)
            break;
        source.submeshes.Add(EntryAt(data, count));
    }
    return fitting;
}

}  // namespace mesh

const unsigned char* vlMeshVertexData::ReadDataNew(const unsigned char* data, unsigned int version,
                                                   unsigned int packMode, const unsigned char* end)
{
    io::BlockReader in(data, end);
    mesh::Read(in, *this, version, packMode);
    return in.Position();
}

}  // namespace vela::vlgim
