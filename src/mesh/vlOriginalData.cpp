#include <vlgim/vlOriginalData.h>

#include "MeshBlocks.h"

#include <io/ArrayBlock.h>
#include <io/Errors.h>
#include <io/SaveFile.h>

namespace vela::vlgim {

namespace {

constexpr unsigned int kSkinVersion = 0x30017;  // the skin rows arrived
constexpr std::uint64_t kSlots = 4;             // bone references of a vertex

std::uint64_t Slots(const vlOriginalData& data)
{
    return kSlots * data.m_origVertexCount;
}

bool HasSkin(const vlOriginalData& data)
{
    return data.m_origBones && data.m_origWeights && data.m_origVertexCount != 0;
}

// An array and the run of the file that fills it; null for a count of 0.
template <class T>
struct Run {
    const unsigned char* bytes = nullptr;
    io::ArrayBlock::Slot<T> slot;

    void Measure(io::BlockReader& in, io::ArrayBlock& block, io::Block field, std::uint64_t count)
    {
        bytes = in.Take(field, count, sizeof(T));
        slot = block.Plan<T>(count);
    }

    Array<T> Read(const io::ArrayBlock& block) const
    {
        if (slot.count == 0)
            return nullptr;
        auto array = block.Array(slot);
        io::CopyRun(array.data(), bytes, slot.count);
        return array;
    }
};

}  // namespace

const unsigned char* vlOriginalData::ReadDataNew(const unsigned char* data, const unsigned char* end)
{
    return ReadData(data, kSkinVersion, end);
}

const unsigned char* vlOriginalData::ReadData(const unsigned char* data, unsigned int version,
                                              const unsigned char* end)
{
    io::BlockReader in(data, end);
    const auto scope = in.Enter(io::Block::OriginalData);
    mesh::Read(in, *this, version >= kSkinVersion);
    return in.Position();
}

void vlOriginalData::WriteData(std::FILE* stream, unsigned int)
{
    io::WriteStream(stream, "original data can't be written", WhyUnwritable(*this),
                    [this](io::BlockWriter& out) { mesh::Write(out, *this); });
}

Error WhyUnwritable(const vlOriginalData& data)
{
    Error why;
    const auto ask = [&why](const auto& array, std::uint64_t count, const char* what) {
        if (!why)
            why = io::WhyShort(array, count, what);
    };
    ask(data.m_origPositions, data.m_origVertexCount, "positions");
    ask(data.m_origIndices, data.m_origIndexCount, "indices");
    ask(data.m_origExtra, data.m_origExtraCount, "extra values");
    if (HasSkin(data)) {
        ask(data.m_origBones, Slots(data), "bone references");
        ask(data.m_origWeights, Slots(data), "bone weights");
    }
    return why;
}

namespace mesh {

void Read(io::BlockReader& in, vlOriginalData& data, bool hasSkinRows)
{
    using io::Block;
    io::ArrayBlock block;
    Run<geomath::_Vector3<float>> positions;
    Run<std::uint16_t> indices;
    Run<std::uint32_t> extra;
    Run<unsigned char> bones;
    Run<float> weights;
    vlOriginalData read;
    read.m_origVertexCount = in.Value<std::uint32_t>();
    positions.Measure(in, block, Block::FramePositions, read.m_origVertexCount);
    read.m_origIndexCount = in.Value<std::uint32_t>();
    indices.Measure(in, block, Block::Indices, read.m_origIndexCount);
    read.m_origExtraCount = in.Value<std::uint32_t>();
    extra.Measure(in, block, Block::Extra, read.m_origExtraCount);
    read.m_hasSkin = hasSkinRows ? in.Value<std::uint8_t>() : data.m_hasSkin;
    const std::uint64_t slots = hasSkinRows && read.m_hasSkin != 0 ? Slots(read) : 0;
    bones.Measure(in, block, Block::References, slots);
    weights.Measure(in, block, Block::Weights, slots);
    if (!block.Allocate(in))
        return;

    read.m_type = data.m_type;
    read.m_origPositions = positions.Read(block);
    read.m_origIndices = indices.Read(block);
    read.m_origExtra = extra.Read(block);
    read.m_origBones = bones.Read(block);
    read.m_origWeights = weights.Read(block);
    data = std::move(read);
}

std::uint64_t WrittenSize(const vlOriginalData& data)
{
    const unsigned perVertex = HasSkin(data) ? 32 : 12;
    return 13 + std::uint64_t{data.m_origVertexCount} * perVertex + std::uint64_t{data.m_origIndexCount} * 2 +
           std::uint64_t{data.m_origExtraCount} * 4;
}

void Write(io::BlockWriter& out, vlOriginalData& data)
{
    data.m_hasSkin = HasSkin(data) ? 1 : 0;
    out.Value(data.m_origVertexCount);
    out.Run(data.m_origPositions.data(), data.m_origVertexCount);
    out.Value(data.m_origIndexCount);
    out.Run(data.m_origIndices.data(), data.m_origIndexCount);
    out.Value(data.m_origExtraCount);
    out.Run(data.m_origExtra.data(), data.m_origExtraCount);
    out.Value(data.m_hasSkin);
    if (data.m_hasSkin != 0) {
        out.Run(data.m_origBones.data(), Slots(data));
        out.Run(data.m_origWeights.data(), Slots(data));
    }
}

}  // namespace mesh

}  // namespace vela::vlgim
