#include "support/Blocks.h"
#include "support/MeshBytes.h"

#include <mesh/MeshBlocks.h>

#include <vlgim/vlMeshVertexData.h>

namespace vela::vlgim::test {

namespace {

using Numbers = std::vector<float>;

const Bytes kBlock = TwoSubmeshBlock();

auto Reader(std::uint32_t subCount = 2, unsigned version = 0x50004, unsigned packMode = 0,
            std::uint32_t frameCount = 1)
{
    return [=](vlMeshVertexData& mesh, const unsigned char* data, const unsigned char* end) {
        mesh.m_subCount = subCount;
        mesh.m_frameCount = frameCount;
        return mesh.ReadDataNew(data, version, packMode, end);
    };
}

template <class Read = decltype(Reader())>
vlMeshVertexData Whole(const Bytes& block, Read read = Reader())
{
    vlMeshVertexData mesh;
    ExpectWhole(mesh, block, read);
    EXPECT_EQ(Written(mesh).size(), mesh::WrittenSize(mesh));
    return mesh;
}

bool IsRead(const Bytes& block)
{
    vlMeshVertexData mesh;
    return Reader()(mesh, block.data(), block.data() + block.size()) != nullptr;
}

// All values of an array, one behind the other.
template <class T = float, class Element>
std::vector<T> Values(const Array<Element>& array)
{
    std::vector<T> values(array.size() * sizeof(Element) / sizeof(T));
    std::memcpy(values.data(), array.data(), values.size() * sizeof(T));
    return values;
}

}  // namespace

// Which bytes become which attribute shows where differences are asked for each byte.
TEST(vlMeshVertexData, ReadsEveryAttributeAndWritesTheSameBytes)
{
    vlMeshVertexData mesh = Whole(kBlock);
    EXPECT_EQ(std::tuple(mesh.m_uvSetCount, mesh.m_colorSetCount, mesh.m_hasTangents), std::tuple(2, 1, 1));
    EXPECT_EQ(std::tuple(mesh.m_subRecords[1].firstVertex, mesh.m_subRecords[1].firstTriangle),
              std::tuple(3U, 1U));
    EXPECT_EQ(Values(mesh.m_uvSets[0]), (Numbers{0, 0.25F, 0.5F, 0.75F, 1, 1.25F, 8, 9, 0, 0}));
    EXPECT_EQ(Values(mesh.m_uvSets[1]), (Numbers{-1, -1.25F, -1.5F, -1.75F, -2, -2.25F, 0, 0, 0, 0}));
    EXPECT_EQ(mesh.m_uvSets[2], nullptr);
    EXPECT_EQ(Values<std::uint32_t>(mesh.m_colors),
              (std::vector<std::uint32_t>{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0x11223344, 0xFFFFFFFF}));
    mesh.m_frameCount = 0;
    EXPECT_TRUE(mesh.ReadDataNew(kBlock.data(), 0x50004, 0));
    EXPECT_EQ(mesh.m_frameCount, 1U) << "no mesh is without a frame";
    EXPECT_EQ(Written(mesh), kBlock);
}

// Positions take the first half of their region, and all uv runs together the first half of theirs.
TEST(vlMeshVertexData, PackModeOneHoldsHalves)
{
    ByteBuilder positions, uvs;
    positions.U16s({0x3C00, 0x8000, 0x0001, 0x7C00, 0xFC00, 0x7E00, 0xFC01, 0x03FF, 0xC500});
    positions.U16s({0, 0, 0, 0, 0, 0x4900}).Fill(30, 0xEE);
    uvs.U16s({0x3C00, 0x4000, 0x4200, 0x4400, 0x4500, 0x4600});  // submesh 0, set 0: 1 to 6
    uvs.U16s({0xBC00, 0xC000, 0xC200, 0xC400, 0xC500, 0xC600});  // submesh 0, set 1
    uvs.U16s({0x3800, 0x3400}).Fill(28, 0xEE);                   // submesh 1, set 0
    const auto halves = Reader(2, 0x50004, 1);
    const vlMeshVertexData mesh = Whole(With(With(kBlock, kPositionsAt, positions), kUvsAt, uvs), halves);
    const std::vector<std::uint32_t> expected{0x3F800000, 0x80000000, 0x33800000, 0x7F800000, 0xFF800000,
                                              0xFFC00000, 0xFFC00000, 0x387FC000, 0xC0A00000, 0,
                                              0,          0,          0,          0,          0x41200000};
    EXPECT_EQ(Values<std::uint32_t>(mesh.m_positions), expected);
    EXPECT_EQ(Values(mesh.m_uvSets[0]), (Numbers{1, 2, 3, 4, 5, 6, 0.5F, 0.25F, 0, 0}));
    EXPECT_EQ(Values(mesh.m_uvSets[1]), (Numbers{-1, -2, -3, -4, -5, -6, 0, 0, 0, 0}));

    ByteBuilder close;  // without slack: each run of halves ends where another array begins
    close.U32s({1, 0}).U8(2).U8(0).U32s({1, 0}).U8(1).U8(0).U16(1).U32s({2, 0}).Fill(48 + 2, 0);
    close.U16s({0x3C00, 0x4000, 0x4200, 0x4400, 0x4500, 0x4600}).Fill(12, 0xEE);
    const vlMeshVertexData full = Whole(close, halves);
    EXPECT_EQ(Values(full.m_uvSets[0]), (Numbers{1, 2, 5, 6}));
    EXPECT_EQ(Values(full.m_uvSets[1]), (Numbers{3, 4, 0, 0}));

    vlMeshVertexData singles = Whole(kBlock, Reader(2, 0x50004, 2));  // which is no pack mode of its own
    EXPECT_EQ(Written(singles), kBlock);
}

TEST(vlMeshVertexData, DataFlagZeroEndsTheBlock)
{
    const Bytes block = With(Prefix(kBlock, kPositionsAt), kFlagAt, {0});
    const vlMeshVertexData mesh = Whole(block);
    EXPECT_EQ(Values(mesh.m_positions), Numbers(15));
    EXPECT_EQ(Values(mesh.m_uvSets[1]), Numbers(10));
    EXPECT_EQ(std::tuple(mesh.m_colors[4], mesh.m_indices[5], mesh.m_tangents),
              std::tuple(0xFFFFFFFFU, 0, nullptr));

    // Nothing in the file stands behind these counts, so the memory limit does: these 30 bytes may ask for
    // 64 times as many and 14 MiB, at 44 bytes a vertex and in huge pages, one of them for their alignment.
    const std::pair<std::uint32_t, bool> counts[] = {{285'850, true}, {285'900, false}, {0xFFFFFFFF, false}};
    for (const auto& [vertices, fits] : counts)
        EXPECT_EQ(IsRead(With(block, kVertexCountAt, ByteBuilder().U32(vertices))), fits) << vertices;
}

TEST(vlMeshVertexData, FramesStandBehindTheColours)
{
    ByteBuilder block;
    block.U32(1).U32(0).U16(0).U16(1).U32(1).U32(0);
    block.F32s({1, 2, 3}).F32s({4, 5, 6}).U16(1);                      // frame 0
    block.F32s({21, 22, 23, 24, 25, 26, 27, 28, 29});                  // tangents, all frames
    block.F32s({7, 8, 9, 10, 11, 12}).F32s({13, 14, 15, 16, 17, 18});  // frames 1 and 2
    vlMeshVertexData mesh = Whole(block, Reader(1, 0x50004, 0, 3));
    EXPECT_EQ(Values(mesh.m_positions), (Numbers{1, 2, 3, 7, 8, 9, 13, 14, 15}));
    EXPECT_EQ(Values(mesh.m_normals), (Numbers{4, 5, 6, 10, 11, 12, 16, 17, 18}));
    EXPECT_EQ(Values(mesh.m_tangents), (Numbers{21, 22, 23, 24, 25, 26, 27, 28, 29}));
    EXPECT_EQ(Written(mesh), block.Bytes());
}

TEST(vlMeshVertexData, LiesAreRefused)
{
    const Bytes huge = ByteBuilder().U32(0xFFFFFFFF);
    const std::pair<std::size_t, Bytes> lies[] = {
        {8, {5}},                                             // uv sets of submesh 0
        {9, {1}},                                             // its colours, for which there are no bytes
        {0, huge},                                            // its vertices: the runs
        {kVertexCountAt, {3}},                                // submesh 1 lies behind the vertices
        {kVertexCountAt, ByteBuilder().U32(0x15555556)},      // times 12 wraps to 8
        {kVertexCountAt + 4, ByteBuilder().U32(0x2AAAAAAB)},  // times 6 wraps to 2
    };
    for (const auto& [at, lie] : lies)
        EXPECT_FALSE(IsRead(With(kBlock, at, lie))) << at;
    EXPECT_TRUE(IsRead(With(kBlock, 4, huge))) << "triangles of a submesh: a sum that no run follows";

    // A run that wraps round to the front of the list, with data flag 0: nothing else would catch it.
    for (const std::uint16_t attribute : {std::uint16_t{0x0001}, std::uint16_t{0x0100}})
        EXPECT_FALSE(IsRead(
            ByteBuilder().U32s({0xFFFFFFFF, 0}).U16(0).U32s({2, 0}).U16s({attribute, 0}).U32s({5, 0})));
}

TEST(vlMeshVertexData, WhatCannotBeReadBackIsNotWritten)
{
    ExpectRefusedAtWrite<vlMeshVertexData>(
        "E vertex block can't be written: ", [] { return Whole(kBlock); },
        {{"the mesh has no frame", [](auto& mesh) { mesh.m_frameCount = 0; }},
         {"the mesh has 5 uv sets, which exceeds the limit of 4", [](auto& mesh) { mesh.m_uvSetCount = 5; }},
         {"submesh 0: declares 2 uv sets, but the mesh has 1", [](auto& mesh) { mesh.m_uvSetCount = 1; }},
         {"submesh 1: declares colours, but the mesh has none", [](auto& mesh) { mesh.m_colorSetCount = 0; }},
         {"submesh 1: starts at vertex 2, and those in front of it have 3",
          [](auto& mesh) { mesh.m_subRecords[1].firstVertex = 2; }},
         {"submesh 1: has uvs or colours up to vertex 6, but the mesh has 5",
          [](auto& mesh) { mesh.m_subRecords[1].vertexCount = 3; }}});
}

}  // namespace vela::vlgim::test
