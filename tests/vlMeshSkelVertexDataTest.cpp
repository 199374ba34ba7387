#include "support/LogCapture.h"
#include "support/MeshBytes.h"

#include <vlgim/vlMeshVertexData.h>

#include <gtest/gtest.h>

#include <cstring>

using namespace vela::vlgim;
using namespace vela::vlgim::test;

namespace {

Bytes Block(std::uint32_t version)
{
    return ByteBuilder().Raw(SmallVertexBlock(version, 1)).Raw(SkinSlots(version)).Raw(SkinMask(version));
}

const Bytes kBlock = Block(0x50004);
const std::size_t kBitsAt = kBlock.size() - 6;

bool Read(vlMeshSkelVertexData& mesh, const Bytes& block, unsigned version = 0x50004)
{
    const unsigned char* const end = block.data() + block.size();
    mesh.m_subCount = 2;
    return mesh.ReadDataNew(block.data(), version, 0, end) == end;
}

Bytes Written(vlMeshVertexData& mesh)
{
    return vela::vlgim::test::Written([&](std::FILE* stream) { mesh.WriteData(stream); });
}

std::vector<std::uint32_t> UsedBones(const vlMeshSkelVertexData& mesh)
{
    std::vector<std::uint32_t> used;
    for (std::uint32_t bone = 0; bone < mesh.m_usedBones.size(); ++bone)
        if (mesh.m_usedBones[bone])
            used.push_back(bone);
    return used;
}

TEST(vlMeshSkelVertexData, EachVersion)
{
    using Bones = std::vector<std::uint32_t>;
    const std::tuple<unsigned, std::uint32_t, Bones, Bones> cases[] = {
        {0x50000, 255, {}, {0, 2, 254}},
        {0x50002, 255, {}, {0, 2, 254}},
        {0x50003, 255, {1, 8}, {0, 1, 2, 8, 254}},
        {0x50004, 9, {1, 8}, {0, 1, 2, 8}},
    };
    for (const auto& [version, bits, used, usedOnceWritten] : cases) {
        vlMeshSkelVertexData copy;
        {
            vlMeshSkelVertexData mesh;
            ASSERT_TRUE(Read(mesh, Block(version), version)) << std::hex << version;
            copy = mesh;
            EXPECT_EQ(copy.m_boneWeights, mesh.m_boneWeights);
        }
        const std::uint16_t references[] = {0, 2, 0xFFFF, 1, 254, 2, 0xFFFF, 0};
        EXPECT_EQ(std::memcmp(copy.m_boneIndices.get(), references, sizeof references), 0);
        EXPECT_EQ(std::memcmp(copy.m_boneWeights.get(), &SkinSlots(0x50004).Bytes()[16], 32), 0);
        EXPECT_EQ(std::tuple(copy.m_usedBoneBits, copy.m_usedBones.size(), copy.GetMaxBoneRefCount()),
                  std::tuple(bits, bits, 4U));
        EXPECT_EQ(UsedBones(copy), used);
        EXPECT_EQ(copy.m_positions[1].z, 6.0F);

        const Bytes written = ByteBuilder()
                                  .Raw(SmallVertexBlock(0x50004, 1))
                                  .Raw(SkinSlots(0x50004))
                                  .Raw(WrittenMask(version, 2));
        EXPECT_EQ(Written(copy), written);
        EXPECT_EQ(copy.WrittenSize(), written.size());
        EXPECT_EQ(UsedBones(copy), usedOnceWritten);
        copy.m_usedBoneBits = 0;
        EXPECT_EQ(Written(copy).size(), written.size() - (bits + 7) / 8) << "no bone, no mask";
    }
}

// Never in a .mesh file: twice the slots.
TEST(vlMeshSkelVertexData, Version50005HasEightSlots)
{
    const Bytes block = ByteBuilder()
                            .Raw(SmallVertexBlock(0x50005, 1))
                            .U16s({0, 1, 2, 3, 4, 5, 6, 7})
                            .Fill(16, 0xFF)
                            .Fill(64, 0)
                            .U32(1)
                            .U8(1);
    vlMeshSkelVertexData mesh;
    ASSERT_TRUE(Read(mesh, block, 0x50005));
    EXPECT_EQ(mesh.GetMaxBoneRefCount(), 8U);
    EXPECT_EQ(mesh.m_boneIndices[7], 7);
    EXPECT_EQ(Written(mesh), block);
    ASSERT_TRUE(Read(mesh, kBlock)) << "each read sets the slots anew";
    EXPECT_EQ(mesh.GetMaxBoneRefCount(), 4U);
}

TEST(vlMeshSkelVertexData, DataFlagZeroIsFollowedByTheSkin)
{
    Bytes block(kBlock.begin(), kBlock.begin() + 30);
    block[20] = 0;
    vlMeshSkelVertexData mesh;
    ASSERT_TRUE(Read(mesh, ByteBuilder().Raw(block).Raw(SkinSlots(0x50004)).Raw(SkinMask(0x50004))));
    EXPECT_EQ(mesh.m_boneIndices[4], 254);
    EXPECT_EQ(mesh.m_positions[1].z, 0.0F);
}

TEST(vlMeshSkelVertexData, ARefusedBlockLeavesTheObject)
{
    for (const unsigned version : {0x50002U, 0x50003U, 0x50004U}) {
        vlMeshSkelVertexData mesh;
        ASSERT_TRUE(Read(mesh, Block(version), version));
        const auto before = std::tuple(mesh.m_positions, mesh.m_boneIndices, mesh.m_usedBones);
        const auto refused = [&](const unsigned char* data, const unsigned char* end) {
            EXPECT_EQ(mesh.ReadDataNew(data, version, 0, end), nullptr) << end - data;
            EXPECT_EQ(std::tuple(mesh.m_positions, mesh.m_boneIndices, mesh.m_usedBones), before);
        };
        ForEachPrefix(Block(version), refused);
        for (const std::uint32_t bits : {65536U, 70'000U, 0xFFFFFFFFU}) {
            const Bytes lie = ByteBuilder().Raw(With(kBlock, kBitsAt, ByteBuilder().U32(bits))).Fill(9000, 0);
            if (version == 0x50004)
                refused(lie.data(), lie.data() + lie.size());
        }
    }
    vlMeshSkelVertexData mesh;
    EXPECT_TRUE(Read(mesh, ByteBuilder().Raw(With(kBlock, kBitsAt, ByteBuilder().U32(65535))).Fill(8190, 0)));
}

TEST(vlMeshSkelVertexData, RefusesToWriteWhatCannotBeReadBack)
{
    const std::pair<std::string, void (*)(vlMeshSkelVertexData&)> cases[] = {
        {"the positions or normals are missing", [](auto& mesh) { mesh.m_positions = nullptr; }},
        {"the bone references or weights are missing", [](auto& mesh) { mesh.m_boneIndices = nullptr; }},
        {"the bone references or weights are missing", [](auto& mesh) { mesh.m_boneWeights = nullptr; }},
        {"the mask of used bones has 65536 bits, and 65535 is the most",
         [](auto& mesh) { mesh.m_usedBoneBits = 65536; }},
    };
    for (const auto& [obstacle, spoil] : cases) {
        vlMeshSkelVertexData mesh;
        ASSERT_TRUE(Read(mesh, kBlock));
        spoil(mesh);
        const LogCapture log;
        EXPECT_TRUE(Written(mesh).empty());
        EXPECT_EQ(log.lines, std::vector{"E vertex block can't be written: " + obstacle});
    }
}

}  // namespace
