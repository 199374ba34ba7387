#include <vlgim/vlMeshVertexData.h>

#include "io/ArrayBlock.h"
#include "mesh/HalfToFloat.h"
#include "mesh/VertexBlock.h"

#include <algorithm>

namespace vela::vlgim {

namespace {

using Vector3 = geomath::_Vector3<float>;
using Point2 = geomath::_Point2<float>;

constexpr unsigned int kTangentVersion = 0x50001;  // the tangent stream arrived
constexpr unsigned int kHalfPackMode = 1;          // positions and uvs are half floats
constexpr std::uint8_t kMostUvSets = 4;            // as many as there are members for
constexpr std::uint64_t kEntrySize = 10;           // u32 vertices, u32 triangles, u8 uv sets, u8 colours

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
            in.RefuseAt(start + i * kEntrySize + 8, record.uvSetCount, kMostUvSets);
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
    RunFiller<Point2> fillers[] = {{mesh.m_uvSets[0].get(), 0},
                                   {mesh.m_uvSets[1].get(), 0},
                                   {mesh.m_uvSets[2].get(), 0},
                                   {mesh.m_uvSets[3].get(), 0}};
    for (std::uint32_t i = 0; source && i < mesh.m_subCount; ++i) {
        const SubmeshRecord& record = mesh.m_subRecords.get()[i];
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
    RunFiller<std::uint32_t> filler(mesh.m_colors.get(), 0xFF);
    for (std::uint32_t i = 0; source && i < mesh.m_subCount; ++i) {
        const SubmeshRecord& record = mesh.m_subRecords.get()[i];
        if (record.hasColors && record.vertexCount) {
            io::CopyRun(filler.Run(record.firstVertex, record.vertexCount), source, record.vertexCount);
            source += std::uint64_t{record.vertexCount} * sizeof(std::uint32_t);
        }
    }
    filler.FillTo(mesh.m_vertexCount);
}

// Goes from the data flag to the end of the block.
void MeasureData(io::BlockReader& in, VertexSource& source, std::uint64_t frameCount, unsigned int version)
{
    in.Enter("vertex counts");
    source.hasData = in.Value<std::uint16_t>() != 0;
    source.vertexCount = in.Value<std::uint32_t>();
    source.triangleCount = in.Value<std::uint32_t>();
    if (source.submeshes.runEnd > source.vertexCount)
        in.RefuseAt(in.Offset() - 8, source.submeshes.runEnd, source.vertexCount);
    if (!source.hasData)
        return;

    const auto take = [&in](const char* attribute, std::uint64_t count, std::uint64_t size) {
        in.Enter(attribute);
        return in.Take(count, size);
    };
    using Data = vlMeshVertexData;
    source.positions = take("positions", source.vertexCount, Data::m_v_sz);
    source.normals = take("normals", source.vertexCount, Data::m_v_sz);
    in.Enter("tangent flag");
    if (version >= kTangentVersion && in.Value<std::uint16_t>() != 0)
        source.tangents = take("tangents", frameCount * source.vertexCount, Data::m_v_sz);
    source.indices = take("triangles", source.triangleCount, Data::m_tri_sz);
    source.uvs = take("uvs", source.submeshes.uvs, Data::m_uv_sz);
    source.colors = take("colours", source.submeshes.colors, Data::m_c_sz);
    source.frames = take("morph frames", (frameCount - 1) * source.vertexCount, 2 * sizeof(Vector3));
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
    FillRecords(mesh.m_subRecords.get(), source.entries, mesh.m_subCount);
    if (source.hasData) {
        FillFrames(mesh.m_positions.get(), mesh.m_normals.get(), source, mesh.m_frameCount, half);
        io::CopyRun(mesh.m_indices.get(), source.indices, 3 * source.triangleCount);
    } else {
        FillZero(mesh.m_positions.get(), allFrames);
        FillZero(mesh.m_normals.get(), allFrames);
        FillZero(mesh.m_indices.get(), 3 * source.triangleCount);
    }
    if (source.tangents)
        io::CopyRun(mesh.m_tangents.get(), source.tangents, allFrames);
    FillUvs(mesh, source.uvs, half);
    FillColors(mesh, source.colors);
}

}  // namespace

const unsigned char* vlMeshVertexData::ReadDataNew(const unsigned char* data, unsigned int version,
                                                   unsigned int packMode, const unsigned char* end)
{
    io::BlockReader in(data, end, "vertex block");
    Read(in, version, packMode);
    return in.Position();
}

void vlMeshVertexData::Read(io::BlockReader& in, unsigned int version, unsigned int packMode)
{
    const VertexSource source = MeasureVertices(in, m_subCount, m_frameCount, version);
    BuildVertices(in, source, packMode, *this);
}

VertexSource MeasureVertices(io::BlockReader& in, std::uint32_t subCount, std::uint32_t frameCount,
                             unsigned int version)
{
    VertexSource source{};
    in.Enter("submesh entries");
    source.entries = in.Take(subCount, kEntrySize);
    source.submeshes = Survey(in, source.entries, subCount);
    MeasureData(in, source, std::max(frameCount, 1U), version);
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
    in.Enter("vertex block");
    if (!block.Allocate(in))
        return;

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
    target = read;
}

std::vector<std::uint32_t> FittingSubCounts(const unsigned char* data, const unsigned char* end,
                                            const VertexBlockKind& kind)
{
    std::vector<std::uint32_t> fitting;
    const auto size = static_cast<std::uint64_t>(end - data);
    VertexSource source{};
    for (std::uint32_t count = 0; source.submeshes.uvSetCount <= kMostUvSets; ++count) {
        io::BlockReader in(data, end, "vertex block");
        in.Seek(count * kEntrySize);
        MeasureData(in, source, std::max(kind.frameCount, 1U), kind.version);
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

}  // namespace vela::vlgim
