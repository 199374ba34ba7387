#include "support/Bytes.h"
#include "support/LogCapture.h"
#include "support/MeshBytes.h"
#include "support/Written.h"

#include "mesh/HalfToFloat.h"

#include <vlgim/vlMeshVertexData.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

namespace vela::vlgim {

namespace {

using Bytes = std::vector<unsigned char>;
using test::ByteBuilder;

// Byte offsets in TwoSubmeshBlock.
constexpr std::size_t kFlagAt = 20, kVertexCountAt = 22, kPositionsAt = 30, kTangentFlagAt = 150,
                      kUvsAt = 224;

struct Read {
    vlMeshVertexData mesh;
    const unsigned char* behind;

    explicit Read(const Bytes& block, std::uint32_t subCount = 2, unsigned version = 0x50004,
                  unsigned packMode = 0, std::uint32_t frameCount = 1)
    {
        mesh.m_subCount = subCount;
        mesh.m_frameCount = frameCount;
        behind = mesh.ReadDataNew(block.data(), version, packMode, block.data() + block.size());
    }
};

std::vector<float> Floats(const void* array, std::size_t count)
{
    std::vector<float> floats(count);
    std::memcpy(floats.data(), array, count * sizeof(float));
    return floats;
}

std::vector<float> Counted(float first, std::size_t count)
{
    std::vector<float> floats(count);
    for (std::size_t i = 0; i < count; ++i)
        floats[i] = first + static_cast<float>(i);
    return floats;
}

Bytes Written(vlMeshVertexData& mesh)
{
    return test::Written([&](std::FILE* stream) { mesh.WriteData(stream); });
}

TEST(vlMeshVertexData, ReadsEveryAttributeAndWritesTheSameBytes)
{
    const Bytes block = test::TwoSubmeshBlock();
    Bytes shifted{0};  // an odd address
    shifted.insert(shifted.end(), block.begin(), block.end());
    vlMeshVertexData mesh;
    mesh.m_subCount = 2;
    ASSERT_EQ(mesh.ReadDataNew(shifted.data() + 1, 0x50004, 0, shifted.data() + shifted.size()),
              shifted.data() + shifted.size());

    EXPECT_EQ(mesh.m_vertexCount, 5U);
    EXPECT_EQ(mesh.m_triangleCount, 2U);
    EXPECT_EQ(mesh.m_uvSetCount, 2);
    EXPECT_EQ(mesh.m_colorSetCount, 1);
    EXPECT_EQ(mesh.m_hasTangents, 1);
    const SubmeshRecord& second = mesh.m_subRecords[1];
    EXPECT_EQ(second.firstVertex, 3U);
    EXPECT_EQ(second.firstTriangle, 1U);
    EXPECT_EQ(second.vertexCount, 1U);
    EXPECT_EQ(second.triangleCount, 1U);
    EXPECT_EQ(second.uvSetCount, 1);
    EXPECT_EQ(second.hasColors, 1);
    EXPECT_EQ(Floats(mesh.m_positions.get(), 15), Counted(0, 15));
    EXPECT_EQ(Floats(mesh.m_normals.get(), 15), Counted(15, 15));
    EXPECT_EQ(Floats(mesh.m_tangents.get(), 15), Counted(100, 15));
    EXPECT_EQ(std::vector<int>(mesh.m_indices.get(), mesh.m_indices.get() + 6),
              (std::vector<int>{0, 1, 2, 3, 4, 3}));
    EXPECT_EQ(Floats(mesh.m_uvSets[0].get(), 10),
              (std::vector<float>{0, 0.25F, 0.5F, 0.75F, 1, 1.25F, 8, 9, 0, 0}));
    EXPECT_EQ(Floats(mesh.m_uvSets[1].get(), 10),
              (std::vector<float>{-1, -1.25F, -1.5F, -1.75F, -2, -2.25F, 0, 0, 0, 0}));
    EXPECT_EQ(mesh.m_uvSets[2], nullptr);
    EXPECT_EQ(std::vector<std::uint32_t>(mesh.m_colors.get(), mesh.m_colors.get() + 5),
              (std::vector<std::uint32_t>{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0x11223344, 0xFFFFFFFF}));

    EXPECT_EQ(Written(mesh), block);
    EXPECT_EQ(mesh.WrittenSize(), block.size());
    EXPECT_EQ(Written(mesh), block) << "a write changes nothing";
}

TEST(vlMeshVertexData, TangentFlagCameWith50001)
{
    const Bytes block = test::TwoSubmeshBlock();
    Bytes old = block;  // without the flag and its stream
    old.erase(old.begin() + kTangentFlagAt, old.begin() + kTangentFlagAt + 2 + 60);
    Read read(old, 2, 0x50000);
    ASSERT_EQ(read.behind, old.data() + old.size());
    EXPECT_EQ(read.mesh.m_hasTangents, 0);
    EXPECT_EQ(read.mesh.m_tangents, nullptr);
    old.insert(old.begin() + kTangentFlagAt, {0, 0});
    EXPECT_EQ(Written(read.mesh), old);
    EXPECT_EQ(Read(old, 2, 0x50001).behind, old.data() + old.size());
}

// Positions take the first half of their region, and all uv runs together the first half of theirs.
TEST(vlMeshVertexData, PackModeOneHoldsHalves)
{
    Bytes block = test::TwoSubmeshBlock();
    ByteBuilder positions, uvs;
    positions.U16s({0x3C00, 0x8000, 0x0001, 0x7C00, 0xFC00, 0x7E00, 0xFC01, 0x03FF, 0xC500});
    positions.Fill(42, 0xEE);
    uvs.U16s({0x3C00, 0x4000, 0x4200, 0x4400, 0x4500, 0x4600});  // submesh 0, set 0: 1 to 6
    uvs.U16s({0xBC00, 0xC000, 0xC200, 0xC400, 0xC500, 0xC600});  // submesh 0, set 1
    uvs.U16s({0x3800, 0x3400}).Fill(28, 0xEE);                   // submesh 1, set 0
    std::copy(positions.Bytes().begin(), positions.Bytes().end(), block.begin() + kPositionsAt);
    std::copy(uvs.Bytes().begin(), uvs.Bytes().end(), block.begin() + kUvsAt);

    const Read read(block, 2, 0x50004, 1);
    ASSERT_EQ(read.behind, block.data() + block.size());
    const std::vector<float> found = Floats(read.mesh.m_positions.get(), 9);
    const std::uint32_t expected[] = {0x3F800000, 0x80000000, 0x33800000, 0x7F800000, 0xFF800000,
                                      0xFFC00000, 0xFFC00000, 0x387FC000, 0xC0A00000};
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_EQ(std::bit_cast<std::uint32_t>(found[i]), expected[i]) << i;
    EXPECT_EQ(Floats(read.mesh.m_normals.get(), 15), Counted(15, 15));
    EXPECT_EQ(Floats(read.mesh.m_uvSets[0].get(), 8), (std::vector<float>{1, 2, 3, 4, 5, 6, 0.5F, 0.25F}));
    EXPECT_EQ(Floats(read.mesh.m_uvSets[1].get(), 8), (std::vector<float>{-1, -2, -3, -4, -5, -6, 0, 0}));
    EXPECT_EQ(read.mesh.m_colors[3], 0x11223344U);

    const Read floats(test::TwoSubmeshBlock(), 2, 0x50004, 2);
    EXPECT_EQ(Floats(floats.mesh.m_positions.get(), 15), Counted(0, 15)) << "pack mode 2 holds singles";
}

TEST(vlMeshVertexData, EveryHalfConverts)
{
    for (unsigned half = 0; half < 65536; ++half) {
        const auto raw = static_cast<std::uint16_t>(half);
        float single = 0;
        HalfToFloat(&single, reinterpret_cast<const unsigned char*>(&raw), 1);
        const int exponent = half >> 10 & 31, mantissa = half & 0x3FF;
        float expected = exponent ? std::ldexp(1024.0F + static_cast<float>(mantissa), exponent - 25)
                                  : std::ldexp(static_cast<float>(mantissa), -24);
        if (exponent == 31)
            expected = std::numeric_limits<float>::infinity();
        const std::uint32_t bits = std::bit_cast<std::uint32_t>(expected) | (half & 0x8000U) << 16;
        ASSERT_EQ(std::bit_cast<std::uint32_t>(single), exponent == 31 && mantissa ? 0xFFC00000U : bits)
            << half;
    }
    HalfToFloat(nullptr, nullptr, 5);
}

TEST(vlMeshVertexData, DataFlagZeroEndsTheBlock)
{
    Bytes block = test::TwoSubmeshBlock();
    block[kFlagAt] = 0;
    Read read(block);
    ASSERT_EQ(read.behind, block.data() + kPositionsAt);
    EXPECT_EQ(Floats(read.mesh.m_positions.get(), 15), std::vector<float>(15));
    EXPECT_EQ(Floats(read.mesh.m_uvSets[1].get(), 10), std::vector<float>(10));
    EXPECT_EQ(read.mesh.m_colors[4], 0xFFFFFFFFU);
    EXPECT_EQ(read.mesh.m_indices[5], 0);
    EXPECT_EQ(read.mesh.m_tangents, nullptr);

    // Nothing in the file stands behind these counts, so the memory limit does: these 284 bytes
    // may ask for 64 times as many and 16 MiB, at 44 bytes a vertex.
    const std::pair<std::uint32_t, bool> counts[] = {{381'700, true}, {381'720, false}, {0xFFFFFFFF, false}};
    for (const auto& [vertices, fits] : counts) {
        std::memcpy(&block[kVertexCountAt], &vertices, 4);
        EXPECT_EQ(Read(block).behind != nullptr, fits) << vertices;
    }
}

TEST(vlMeshVertexData, FramesStandBehindTheColours)
{
    const Bytes block = ByteBuilder()
                            .U32(1)
                            .U32(0)
                            .U8(0)
                            .U8(0)
                            .U16(1)
                            .U32(1)
                            .U32(0)
                            .F32s({1, 2, 3})
                            .F32s({4, 5, 6})  // frame 0
                            .U16(1)
                            .F32s({21, 22, 23})
                            .F32s({24, 25, 26})
                            .F32s({27, 28, 29})  // tangents, all frames
                            .F32s({7, 8, 9})
                            .F32s({10, 11, 12})
                            .F32s({13, 14, 15})
                            .F32s({16, 17, 18});
    Read read(block, 1, 0x50004, 0, 3);
    ASSERT_EQ(read.behind, block.data() + block.size());
    EXPECT_EQ(Floats(read.mesh.m_positions.get(), 9), (std::vector<float>{1, 2, 3, 7, 8, 9, 13, 14, 15}));
    EXPECT_EQ(Floats(read.mesh.m_normals.get(), 9), (std::vector<float>{4, 5, 6, 10, 11, 12, 16, 17, 18}));
    EXPECT_EQ(Floats(read.mesh.m_tangents.get(), 9), Counted(21, 9));
    EXPECT_EQ(Written(read.mesh), block);
    test::ForEachPrefix(block, [](const unsigned char* data, const unsigned char* end) {
        EXPECT_EQ(Read(Bytes(data, end), 1, 0x50004, 0, 3).behind, nullptr);
    });

    const Read noFrame(test::TwoSubmeshBlock(), 2, 0x50004, 0, 0);
    EXPECT_NE(noFrame.behind, nullptr);
    EXPECT_EQ(noFrame.mesh.m_frameCount, 1U);
}

TEST(vlMeshVertexData, APrefixIsRefusedAndLeavesTheObject)
{
    const Bytes block = test::TwoSubmeshBlock();
    for (const unsigned packMode : {0U, 1U}) {
        vlMeshVertexData mesh = Read(block).mesh;
        const vlMeshVertexData before = mesh;
        test::ForEachPrefix(block, [&](const unsigned char* data, const unsigned char* end) {
            EXPECT_EQ(mesh.ReadDataNew(data, 0x50004, packMode, end), nullptr) << end - data;
            EXPECT_EQ(mesh.m_positions, before.m_positions);
            EXPECT_EQ(mesh.m_subRecords, before.m_subRecords);
        });
        ASSERT_NE(mesh.ReadDataNew(block.data(), 0x50004, packMode, block.data() + block.size()), nullptr);
        EXPECT_NE(mesh.m_positions, before.m_positions) << "a copy's arrays are not read into";
    }
}

TEST(vlMeshVertexData, LiesAreRefused)
{
    struct Lie {
        std::size_t at;
        std::uint32_t value;
        std::size_t size;
        bool refused;
    };
    const Lie lies[] = {
        {8, 5, 1, true},                        // uv sets of submesh 0
        {9, 1, 1, true},                        // colours of submesh 0, for which there are no bytes
        {0, 0xFFFFFFFF, 4, true},               // vertices of submesh 0: its runs
        {10, 2, 4, true},                       // submesh 1 has a vertex more than there are bytes for
        {kVertexCountAt, 3, 4, true},           // submesh 1 lies behind the vertices
        {kVertexCountAt, 0x15555556, 4, true},  // times 12 wraps to 8
        {kVertexCountAt, 0xFFFFFFFF, 4, true},
        {kVertexCountAt + 4, 0x2AAAAAAB, 4, true},  // times 6 wraps to 2
        {4, 0xFFFFFFFF, 4, false},                  // triangles of a submesh: a sum that no run follows
    };
    for (const Lie& lie : lies) {
        Bytes block = test::TwoSubmeshBlock();
        std::memcpy(&block[lie.at], &lie.value, lie.size);
        EXPECT_EQ(Read(block).behind == nullptr, lie.refused) << lie.at;
        EXPECT_EQ(Read(block).mesh.m_vertexCount, lie.refused ? 0U : 5U);
    }
    // A run that wraps round to the front of the list, with data flag 0: nothing else would catch it.
    const Bytes wrapped =
        ByteBuilder().U32(0xFFFFFFFF).U32(0).U16(0).U32(2).U32(0).U8(1).U8(0).U16(0).U32(5).U32(0);
    EXPECT_EQ(Read(wrapped).behind, nullptr);
    test::ForEachByteChange(test::TwoSubmeshBlock(), [](const Bytes& changed) {
        Read read(changed);
        if (read.behind) {
            EXPECT_EQ(Written(read.mesh).size(), read.mesh.WrittenSize());
        }
    });
}

TEST(vlMeshVertexData, CopiesShareAndOutliveEachOther)
{
    vlMeshVertexData copy;
    {
        const Read read(test::TwoSubmeshBlock());
        copy = read.mesh;
        EXPECT_EQ(copy.m_uvSets[1].get(), read.mesh.m_uvSets[1].get());
    }
    EXPECT_EQ(Written(copy), test::TwoSubmeshBlock());
}

TEST(vlMeshVertexData, RefusesToWriteWhatCannotBeReadBack)
{
    const std::pair<const char*, void (*)(vlMeshVertexData&)> cases[] = {
        {"the mesh has no frame", [](auto& mesh) { mesh.m_frameCount = 0; }},
        {"the mesh has 5 uv sets, and 4 is the most", [](auto& mesh) { mesh.m_uvSetCount = 5; }},
        {"the submesh records are missing", [](auto& mesh) { mesh.m_subRecords = nullptr; }},
        {"the positions or normals are missing", [](auto& mesh) { mesh.m_normals = nullptr; }},
        {"the triangles are missing", [](auto& mesh) { mesh.m_indices = nullptr; }},
        {"uv set 1 is missing", [](auto& mesh) { mesh.m_uvSets[1] = nullptr; }},
        {"the colours are missing", [](auto& mesh) { mesh.m_colors = nullptr; }},
        {"submesh 0 declares 2 uv sets, and the mesh has 0", [](auto& mesh) { mesh.m_uvSetCount = 0; }},
        {"submesh 1 declares colours, and the mesh has none", [](auto& mesh) { mesh.m_colorSetCount = 0; }},
        {"submesh 1 starts at vertex 2, and those ahead of it have 3",
         [](auto& mesh) { mesh.m_subRecords[1].firstVertex = 2; }},
        {"submesh 1 has uvs or colours up to vertex 6, and the mesh has 5",
         [](auto& mesh) { mesh.m_subRecords[1].vertexCount = 3; }},
    };
    for (const auto& [obstacle, spoil] : cases) {
        vlMeshVertexData mesh = Read(test::TwoSubmeshBlock()).mesh;
        spoil(mesh);
        EXPECT_EQ(mesh.WriteObstacle(), obstacle);
        test::LogCapture log;
        EXPECT_TRUE(Written(mesh).empty());
        EXPECT_EQ(log.lines,
                  std::vector<std::string>{std::string("E vertex block can't be written: ") + obstacle});
    }
}

}  // namespace

}  // namespace vela::vlgim
