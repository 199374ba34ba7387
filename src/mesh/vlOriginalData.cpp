#include <vlgim/vlOriginalData.h>

#include "BlockVisitors.h"
#include "MeshBlocks.h"
#include "MeshVersions.h"

#include <io/SaveFile.h>

namespace vela::vlgim {

namespace {

constexpr std::uint64_t kSlots = 4;  // bone references of a vertex

// hasSkinRows  false in files that end ahead of the skin flag
void Visit(auto&& data, bool hasSkinRows, auto&& visitor)
{
    using io::Block;
    visitor.Value(data.m_origVertexCount);
    visitor.Array("positions", data.m_origPositions, data.m_origVertexCount, Block::FramePositions);
    visitor.Value(data.m_origIndexCount);
    visitor.Array("indices", data.m_origIndices, data.m_origIndexCount, Block::Indices);
    visitor.Value(data.m_origExtraCount);
    visitor.Array("extra values", data.m_origExtra, data.m_origExtraCount, Block::Extra);
    if (hasSkinRows)
        visitor.Value(data.m_hasSkin);
    const std::uint64_t slots = hasSkinRows && data.m_hasSkin != 0 ? kSlots * data.m_origVertexCount : 0;
    visitor.Array("bone references", data.m_origBones, slots, Block::References);
    visitor.Array("bone weights", data.m_origWeights, slots, Block::Weights);
}

// The data as a write leaves them.
vlOriginalData AsWritten(vlOriginalData data)
{
    data.m_hasSkin = data.m_origBones && data.m_origWeights && data.m_origVertexCount != 0;
    return data;
}

}  // namespace

const unsigned char* vlOriginalData::ReadDataNew(const unsigned char* data, const unsigned char* end)
{
    return ReadData(data, kSkinRowsVersion, end);
}

const unsigned char* vlOriginalData::ReadData(const unsigned char* data, unsigned int version,
                                              const unsigned char* end)
{
    io::BlockReader in(data, end);
    const auto scope = in.Enter(io::Block::OriginalData);
    mesh::Read(in, *this, version >= kSkinRowsVersion);
    return in.Position();
}

void vlOriginalData::WriteData(std::FILE* stream, unsigned int)
{
    io::WriteStream(stream, "original data can't be written", WhyUnwritable(*this),
                    [this](io::BlockWriter& out) { mesh::Write(out, *this); });
}

Error WhyUnwritable(const vlOriginalData& data)
{
    mesh::ShortArray check;
    Visit(AsWritten(data), true, check);
    return check.why;
}

namespace mesh {

void Read(io::BlockReader& in, vlOriginalData& data, bool hasSkinRows)
{
    vlOriginalData read;
    read.m_type = data.m_type;
    read.m_hasSkin = data.m_hasSkin;
    if (ArrayReader(in).Read([&](auto& reader) { Visit(read, hasSkinRows, reader); }))
        data = std::move(read);
}

void Write(io::BlockWriter& out, vlOriginalData& data)
{
    data.m_hasSkin = AsWritten(data).m_hasSkin;
    Visit(data, true, ArrayWriter{out});
}

std::uint64_t WrittenSize(const vlOriginalData& data)
{
    ByteCount count;
    Visit(AsWritten(data), true, ArrayWriter{count});
    return count.bytes;
}

}  // namespace mesh

}  // namespace vela::vlgim
