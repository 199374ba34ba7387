#include "support/Blocks.h"
#include "support/MeshBytes.h"

#include <mesh/MeshBlocks.h>

namespace vela::vlgim::test {

namespace {

Bytes Block(std::uint32_t version)
{
    return ByteBuilder().Raw(SmallVertexBlock(version, 1)).Raw(SkinSlots(version)).Raw(SkinMask(version));
}

// The block of 0x50004 with another count of bits, and bytes enough for a mask of so many.
Bytes WithBits(std::uint32_t bits)
{
    Bytes block = Block(0x50004);
    block = With(block, block.size() - 6, ByteBuilder().U32(bits));
    block.resize(block.size() - 2 + (std::min(bits, 70'000U) + 7) / 8);
    return block;
}

auto Reader(unsigned version)
{
    return [version](vlMeshSkelVertexData& mesh, const unsigned char* data, const unsigned char* end) {
        mesh.m_subCount = 2;
        return mesh.ReadDataNew(data, version, 0, end);
    };
}

vlMeshSkelVertexData Read(const Bytes& block, unsigned version = 0x50004)
{
    vlMeshSkelVertexData mesh;
    ExpectWhole(mesh, block, Reader(version));
    return mesh;
}

}  // namespace

TEST(vlMeshSkelVertexData, TheMaskFollowsTheReferences)
{
    const std::pair<unsigned, std::uint32_t> cases[] = {{0x50000, 255}, {0x50003, 255}, {0x50004, 9}};
    for (const auto& [version, bits] : cases) {
        vlMeshSkelVertexData mesh = Read(Block(version), version);
        EXPECT_EQ(std::tuple(mesh.m_usedBoneBits, mesh.m_usedBones.size()), std::tuple(bits, bits));
        std::vector<bool> used(bits);
        used[1] = used[8] = version >= 0x50003;
        EXPECT_EQ(mesh.m_usedBones, used);
        mesh.m_boneIndices[7] = 0xFFFF;       // so that bone 0 has the first slot alone
        const Bytes written = Written(mesh);  // of which meshes show every byte
        EXPECT_EQ(mesh::WrittenSize(mesh), written.size());
        used[0] = used[2] = true;
        if (bits == 255)
            used[254] = true;
        EXPECT_EQ(mesh.m_usedBones, used);
        mesh.m_usedBoneBits = 0;
        EXPECT_EQ(Written(mesh).size(), written.size() - (bits + 7) / 8) << "no bone, no mask";
    }
}

// Never in a .mesh file: twice the slots.
TEST(vlMeshSkelVertexData, Version50005HasEightSlots)
{
    ByteBuilder block;
    block.Raw(SmallVertexBlock(0x50005, 1)).U16s({0, 1, 2, 3, 4, 5, 6, 7}).Fill(16 + 64, 0xFF).U32(1).U8(1);
    vlMeshSkelVertexData mesh = Read(block, 0x50005);
    EXPECT_EQ(std::tuple(mesh.GetMaxBoneRefCount(), mesh.m_boneIndices[7]), std::tuple(8U, 7));
    EXPECT_EQ(Written(mesh), block.Bytes());
    ExpectWhole(mesh, Block(0x50004), Reader(0x50004));
    EXPECT_EQ(mesh.GetMaxBoneRefCount(), 4U) << "each read sets the slots anew";
}

TEST(vlMeshSkelVertexData, DataFlagZeroIsFollowedByTheSkin)
{
    const Bytes ahead = With(Prefix(Block(0x50004), 30), 20, {0});
    const vlMeshSkelVertexData mesh =
        Read(ByteBuilder().Raw(ahead).Raw(SkinSlots(0x50004)).Raw(SkinMask(0x50004)));
    EXPECT_EQ(std::tuple(mesh.m_boneIndices[4], mesh.m_positions[1].z), std::tuple(254, 0.0F));
}

TEST(vlMeshSkelVertexData, AsManyBitsAsAMeshCanHaveBones)
{
    const std::pair<std::uint32_t, bool> cases[] = {{65535, true}, {65536, false}, {0xFFFFFFFF, false}};
    for (const auto& [bits, fits] : cases) {
        vlMeshSkelVertexData mesh;
        const Bytes block = WithBits(bits);
        EXPECT_EQ(Reader(0x50004)(mesh, block.data(), block.data() + block.size()) != nullptr, fits) << bits;
    }
    vlMeshSkelVertexData mesh = Read(Block(0x50004));
    mesh.m_usedBoneBits = 65536;
    const LogCapture log;
    EXPECT_EQ(Written(mesh), Bytes());
    EXPECT_EQ(
        log.lines,
        Lines{
            "E vertex block can't be written: the mask of used bones has 65536 bits, and 65535 is the most"});
}

}  // namespace vela::vlgim::test
