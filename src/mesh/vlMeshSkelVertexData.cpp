#include "io/ArrayBlock.h"
#include "io/BlockWriter.h"
#include "mesh/VertexBlock.h"

#include <corecommon/Log.h>

namespace vela::vlgim {

namespace {

constexpr unsigned int kMaskVersion = 0x50003;           // the mask of used bones arrived
constexpr unsigned int kWideReferenceVersion = 0x50004;  // references of two bytes, and the mask's bit count
constexpr unsigned int kEightSlotVersion = 0x50005;      // never in a .mesh file
constexpr std::uint32_t kBitsWithoutCount = 255;
constexpr std::uint32_t kMostBits = 65535;  // as many as a mesh can have bones
constexpr std::uint16_t kNoBone = 0xFFFF;

void FillReferences(std::uint16_t* indices, const unsigned char* source, std::uint64_t count,
                    unsigned int version)
{
    if (version >= kWideReferenceVersion)
        return io::CopyRun(indices, source, count);
    for (std::uint64_t i = 0; i < count; ++i)
        indices[i] = source[i] == 255 ? kNoBone : source[i];
}

std::vector<bool> MaskBits(const SkinSource& source)
{
    std::vector<bool> bits(source.bits);
    for (std::uint32_t bit = 0; source.mask && bit < source.bits; ++bit)
        bits[bit] = (source.mask[bit / 8] >> (bit % 8) & 1) != 0;
    return bits;
}

}  // namespace

SkinSource MeasureSkin(io::BlockReader& in, std::uint64_t vertexCount, unsigned int version)
{
    SkinSource source{};
    source.slots = version == kEightSlotVersion ? 8 : 4;
    const std::uint64_t count = vertexCount * source.slots;
    in.Enter("bone references");
    source.references = in.Take(count, version >= kWideReferenceVersion ? 2 : 1);
    in.Enter("bone weights");
    source.weights = in.Take(count, sizeof(float));
    in.Enter("used bones");
    const std::uint64_t at = in.Offset();
    source.bits = version >= kWideReferenceVersion ? in.Value<std::uint32_t>() : kBitsWithoutCount;
    if (source.bits > kMostBits)
        in.RefuseAt(at, source.bits, kMostBits);
    if (version >= kMaskVersion)
        source.mask = in.Take((source.bits + 7) / 8, 1);
    return source;
}

const unsigned char* vlMeshSkelVertexData::ReadDataNew(const unsigned char* data, unsigned int version,
                                                       unsigned int packMode, const unsigned char* end)
{
    return vlMeshVertexData::ReadDataNew(data, version, packMode, end);  // which calls Read
}

void vlMeshSkelVertexData::Read(io::BlockReader& in, unsigned int version, unsigned int packMode)
{
    const VertexSource vertices = MeasureVertices(in, m_subCount, m_frameCount, version);
    const SkinSource skin = MeasureSkin(in, vertices.vertexCount, version);
    if (in.Failed())
        return;

    const std::uint64_t count = vertices.vertexCount * skin.slots;
    io::ArrayBlock block;
    const auto indices = block.Plan<std::uint16_t>(count);
    const auto weights = block.Plan<float>(count);
    if (!block.Allocate(in))
        return;
    vlMeshSkelVertexData read;
    read.m_boneIndices = block.Array(indices);
    FillReferences(read.m_boneIndices.get(), skin.references, count, version);
    read.m_boneWeights = block.Array(weights);
    io::CopyRun(read.m_boneWeights.get(), skin.weights, count);
    read.m_usedBoneBits = skin.bits;
    read.m_usedBones = MaskBits(skin);

    read.m_subCount = m_subCount;
    read.m_frameCount = m_frameCount;
    read.m_maxBoneRefCount = skin.slots;
    BuildVertices(in, vertices, packMode, read);
    if (!in.Failed())
        *this = std::move(read);
}

std::string vlMeshSkelVertexData::WriteObstacle() const
{
    std::string obstacle = vlMeshVertexData::WriteObstacle();
    if (!obstacle.empty())
        return obstacle;
    if (m_vertexCount != 0 && m_maxBoneRefCount != 0 && (!m_boneIndices || !m_boneWeights))
        return "the bone references or weights are missing";
    if (m_usedBoneBits > kMostBits)
        return "the mask of used bones has " + std::to_string(m_usedBoneBits) +
               " bits, and 65535 is the most";
    return {};
}

std::uint64_t vlMeshSkelVertexData::WrittenSize() const
{
    const std::uint64_t slots = std::uint64_t{m_maxBoneRefCount} * m_vertexCount;
    return vlMeshVertexData::WrittenSize() + slots * 6 + 4 + (m_usedBoneBits + 7) / 8;
}

void vlMeshSkelVertexData::WriteData(std::FILE* stream)
{
    vlMeshVertexData::WriteData(stream);  // which calls WriteBlock
}

void vlMeshSkelVertexData::WriteBlock(io::BlockWriter& out)
{
    vlMeshVertexData::WriteBlock(out);
    const std::uint64_t count = std::uint64_t{m_maxBoneRefCount} * m_vertexCount;
    out.Run(m_boneIndices.get(), count);
    out.Run(m_boneWeights.get(), count);

    // Stores alone, at no bone's place where the weight is 0: slots are too many for a branch or for single bits.
    std::vector<unsigned char> used(kNoBone + 1U);
    for (std::uint64_t slot = 0; slot < count; ++slot)
        used[m_boneWeights.get()[slot] != 0.0F ? m_boneIndices.get()[slot] : kNoBone] = 1;
    m_usedBones.resize(m_usedBoneBits);
    std::vector<unsigned char> mask((m_usedBoneBits + 7) / 8);
    for (std::uint32_t bit = 0; bit < m_usedBoneBits; ++bit) {
        m_usedBones[bit] = m_usedBones[bit] || used[bit] != 0;
        mask[bit / 8] = static_cast<unsigned char>(mask[bit / 8] | unsigned{m_usedBones[bit]} << bit % 8);
    }
    out.Value(m_usedBoneBits);
    out.Run(mask.data(), mask.size());
}

}  // namespace vela::vlgim
