#include "support/Blocks.h"
#include "support/MeshBytes.h"

#include <mesh/MeshBlocks.h>

namespace vela::vlgim::test {

namespace {

const Bytes kBlock =
    ByteBuilder().Raw(SmallVertexBlock(0x50004, 1)).Raw(SkinSlots(0x50004)).Raw(SkinMask(0x50004));

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

// Which bits the file has in each version shows in whole meshes.
TEST(vlMeshSkelVertexData, TheMaskFollowsTheReferences)
{
    vlMeshSkelVertexData mesh = Read(kBlock);
    EXPECT_EQ(mesh.m_usedBones, (std::vector<bool>{0, 1, 0, 0, 0, 0, 0, 0, 1}));
    mesh.m_boneIndices[7] = 0xFFFF;  // so that bone 0 has the first slot alone
    const Bytes written = Written(mesh);
    EXPECT_EQ(mesh::WrittenSize(mesh), written.size());
    EXPECT_EQ(mesh.m_usedBones, (std::vector<bool>{1, 1, 1, 0, 0, 0, 0, 0, 1}));
    mesh.m_usedBoneBits = 0;
    EXPECT_EQ(Written(mesh).size(), written.size() - 2) << "no bone, no mask";
}

// Never in a .mesh file: twice the slots.
TEST(vlMeshSkelVertexData, Version50005HasEightSlots)
{
    ByteBuilder block;
    block.Raw(SmallVertexBlock(0x50005, 1)).U16s({0, 1, 2, 3, 4, 5, 6, 7}).Fill(16 + 64, 0xFF).U32(1).U8(1);
    vlMeshSkelVertexData mesh = Read(block, 0x50005);
    EXPECT_EQ(std::tuple(mesh.GetMaxBoneRefCount(), mesh.m_boneIndices[7]), std::tuple(8U, 7));
    EXPECT_EQ(Written(mesh), block.Bytes());
    ExpectWhole(mesh, kBlock, Reader(0x50004));
    EXPECT_EQ(mesh.GetMaxBoneRefCount(), 4U) << "each read sets the slots anew";
}

TEST(vlMeshSkelVertexData, DataFlagZeroIsFollowedByTheSkin)
{
    const Bytes ahead = With(Prefix(kBlock, 30), 20, {0});
    const vlMeshSkelVertexData mesh =
        Read(ByteBuilder().Raw(ahead).Raw(SkinSlots(0x50004)).Raw(SkinMask(0x50004)));
    EXPECT_EQ(std::tuple(mesh.m_boneIndices[4], mesh.m_positions[1].z), std::tuple(254, 0.0F));
}

TEST(vlMeshSkelVertexData, AsManyBitsAsAMeshCanHaveBones)
{
    for (const std::uint32_t bits : {65535U, 65536U}) {
        ByteBuilder block;
        block.Raw(Prefix(kBlock, kBlock.size() - 6)).U32(bits).Fill(8192, 0);
        vlMeshSkelVertexData mesh;
        EXPECT_EQ(Reader(0x50004)(mesh, block.Bytes().data(), &block.Bytes().back() + 1) != nullptr,
                  bits == 65535);
    }
    ExpectRefusedAtWrite<vlMeshSkelVertexData>(
        "E vertex block can't be written: ", [] { return Read(kBlock); },
        {{"the mask of used bones has 65536 bits, which exceeds the limit of 65535",
          [](auto& mesh) { mesh.m_usedBoneBits = 65536; }}});
}

}  // namespace vela::vlgim::test
