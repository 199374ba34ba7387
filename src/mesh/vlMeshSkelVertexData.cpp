#include "MeshVersions.h"
#include "VertexBlock.h"

#include <io/ArrayBlock.h>
#include <io/SaveFile.h>

#include <utility>

namespace vela::vlgim {

namespace mesh {

namespace {

using io::Block;

constexpr std::uint32_t kBitsWithoutCount = 255;
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
    source.references = in.Take(Block::BoneReferences, count, version >= kWideReferenceVersion ? 2 : 1);
    source.weights = in.Take(Block::BoneWeights, count, sizeof(float));
    const auto scope = in.Enter(Block::UsedBones);
    source.bits = version >= kWideReferenceVersion ? in.Count<std::uint32_t>(kMostBits) : kBitsWithoutCount;
    if (version >= kMaskVersion)
        source.mask = in.Take((source.bits + 7) / 8, 1);
    return source;
}

void Read(io::BlockReader& in, vlMeshSkelVertexData& mesh, unsigned int version, unsigned int packMode)
{
    const VertexSource vertices = MeasureVertices(in, mesh.m_subCount, mesh.m_frameCount, version, packMode);
    const SkinSource skin = MeasureSkin(in, vertices.vertexCount, version);
    if (in.Failed())
        return;

    const std::uint64_t count = vertices.vertexCount * skin.slots;
    io::ArrayBlock block;
    const auto indices = block.Plan<std::uint16_t>(count);
    const auto weights = block.Plan<float>(count);
    {
        const auto scope = in.Enter(Block::VertexBlock);
        if (!block.Allocate(in))
            return;
    }
    vlMeshSkelVertexData read;
    read.m_boneIndices = block.Array(indices);
    FillReferences(read.m_boneIndices.data(), skin.references, count, version);
    read.m_boneWeights = block.Array(weights);
    io::CopyRun(read.m_boneWeights.data(), skin.weights, count);
    read.m_usedBoneBits = skin.bits;
    read.m_usedBones = MaskBits(skin);

    read.m_subCount = mesh.m_subCount;
    read.m_frameCount = mesh.m_frameCount;
    read.m_maxBoneRefCount = skin.slots;
    BuildVertices(in, vertices, packMode, read);
    if (!in.Failed())
        mesh = std::move(read);
}

std::uint64_t WrittenSize(const vlMeshSkelVertexData& mesh)
{
    const std::uint64_t slots = std::uint64_t{mesh.m_maxBoneRefCount} * mesh.m_vertexCount;
    return WrittenSize(static_cast<const vlMeshVertexData&>(mesh)) + slots * 6 + 4 +
           (mesh.m_usedBoneBits + 7) / 8;
}

void Write(io::BlockWriter& out, vlMeshSkelVertexData& mesh)
{
    Write(out, static_cast<const vlMeshVertexData&>(mesh));
    const std::uint64_t count = std::uint64_t{mesh.m_maxBoneRefCount} * mesh.m_vertexCount;
    const std::uint16_t* const bones = mesh.m_boneIndices.data();
    const float* const weights = mesh.m_boneWeights.data();
    out.Run(bones, count);
    out.Run(weights, count);

    // Stores alone, at no bone's place where the weight is 0: slots are too many for a branch or for single bits.
    std::vector<unsigned char> used(kNoBone + 1U);
    for (std::uint64_t slot = 0; slot < count; ++slot)
        used[weights[slot] != 0.0F ? bones[slot] : kNoBone] = 1;
    mesh.m_usedBones.resize(mesh.m_usedBoneBits);
    std::vector<unsigned char> mask((mesh.m_usedBoneBits + 7) / 8);
    for (std::uint32_t bit = 0; bit < mesh.m_usedBoneBits; ++bit) {
        mesh.m_usedBones[bit] = mesh.m_usedBones[bit] || used[bit] != 0;
        mask[bit / 8] =
            static_cast<unsigned char>(mask[bit / 8] | unsigned{mesh.m_usedBones[bit]} << bit % 8);
    }
    out.Value(mesh.m_usedBoneBits);
    out.Run(mask.data(), mask.size());
}

}  // namespace mesh

const unsigned char* vlMeshSkelVertexData::ReadDataNew(const unsigned char* data, unsigned int version,
                                                       unsigned int packMode, const unsigned char* end)
{
    io::BlockReader in(data, end);
    mesh::Read(in, *this, version, packMode);
    return in.Position();
}

void vlMeshSkelVertexData::WriteData(std::FILE* stream)
{
    io::WriteStream(stream, "vertex block can't be written", WhyUnwritable(*this),
                    [this](io::BlockWriter& out) { mesh::Write(out, *this); });
}

}  // namespace vela::vlgim
