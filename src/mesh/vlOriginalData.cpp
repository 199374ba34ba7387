#include <vlgim/vlOriginalData.h>

#include "BlockVisitors.h"
#include "MeshBlocks.h"
#include "MeshVersions.h"

#include <io/SaveFile.h>

namespace vela::vlgim {

namespace {

// hasSkin  null in files that end ahead of this flag
void Visit(auto& data, auto* hasSkin, auto&& visitor)
{
    using io::Block;
    visitor.Value(data.m_origVertexCount);
    visitor.Array("positions", data.m_origPositions, data.m_origVertexCount, Block::FramePositions);
    visitor.Value(data.m_origIndexCount);
    visitor.Array("indices", data.m_origIndices, data.m_origIndexCount, Block::Indices);
    visitor.Value(data.m_origExtraCount);
    visitor.Array("extra values", data.m_origExtra, data.m_origExtraCount, Block::Extra);
    if (hasSkin)
        visitor.Value(*hasSkin);
    const std::uint64_t slots = hasSkin && *hasSkin != 0 ? kSlots * data.m_origVertexCount : 0;
    visitor.Array("bone references", data.m_origBones, slots, Block::References);
    visitor.Array("bone weights", data.m_origWeights, slots, Block::Weights);
}

// The flag that a write gives the data.
std::uint8_t HasSkin(const vlOriginalData& data)
{
    return data.m_origBones && data.m_origWeights && data.m_origVertexCount != 0;
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
    const std::uint8_t hasSkin = HasSkin(data);
    Visit(data, &hasSkin, check);
    return check.why;
}

namespace mesh {

void Read(io::BlockReader& in, vlOriginalData& data, bool hasSkinRows)
{
    vlOriginalData read;
    read.m_type = data.m_type;
    read.m_hasSkin = data.m_hasSkin;
    io::ReadTwice(in, [&](const io::Pass& pass) {
        Visit(read, hasSkinRows ? &read.m_hasSkin : nullptr, ArrayReader{pass});
    });
    if (!in.Failed())
        data = std::move(read);
}

void Write(io::BlockWriter& out, vlOriginalData& data)
{
    data.m_hasSkin = HasSkin(data);
    Visit(data, &data.m_hasSkin, ArrayWriter{out});
}

std::uint64_t WrittenSize(const vlOriginalData& data)
{
    ByteCount count;
    const std::uint8_t hasSkin = HasSkin(data);
    Visit(data, &hasSkin, ArrayWriter{count});
    return count.bytes;
}

}  // namespace mesh

}  // namespace vela::vlgim
