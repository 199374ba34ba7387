#include "support/LogCapture.h"
#include "support/MeshBytes.h"

#include <vlgim/vlOriginalData.h>

#include <gtest/gtest.h>

using namespace vela::vlgim;
using namespace vela::vlgim::test;

namespace {

const Bytes kBlock = OriginalBlock();

bool Read(vlOriginalData& data, const Bytes& block, unsigned version = 0x30017)
{
    const unsigned char* const end = block.data() + block.size();
    return data.ReadData(block.data(), version, end) == end;
}

Bytes Written(vlOriginalData& data)
{
    return vela::vlgim::test::Written([&](std::FILE* stream) { data.WriteData(stream, 0); });
}

TEST(vlOriginalData, ReadsAndWrites)
{
    vlOriginalData copy;
    {
        vlOriginalData data;
        ASSERT_EQ(data.ReadDataNew(kBlock.data(), kBlock.data() + kBlock.size()),
                  kBlock.data() + kBlock.size());
        copy = data;
        EXPECT_EQ(copy.m_origExtra, data.m_origExtra);
    }
    EXPECT_EQ(std::tuple(copy.m_type, copy.m_origVertexCount, copy.m_origIndexCount, copy.m_origExtraCount,
                         copy.m_hasSkin),
              std::tuple(MESH_DATA_VERTEX, 2U, 3U, 1U, 1));
    EXPECT_EQ(copy.m_origPositions[1].z, 6.0F);
    EXPECT_EQ(copy.m_origIndices[2], 1);
    EXPECT_EQ(copy.m_origExtra[0], 0xCAFEBABE);
    EXPECT_EQ(copy.m_origBones[7], 7);
    EXPECT_EQ(copy.m_origWeights[7], 5.0F);
    EXPECT_EQ(Written(copy), kBlock);
    EXPECT_EQ(copy.WrittenSize(), kBlock.size());

    const Bytes plain(kBlock.begin(), kBlock.begin() + 46);  // the form without a skin flag
    ASSERT_TRUE(Read(copy, plain, 0x30016));
    EXPECT_EQ(copy.m_hasSkin, 1) << "stays";
    EXPECT_EQ(copy.m_origBones, nullptr);
    EXPECT_EQ(Written(copy), ByteBuilder().Raw(plain).U8(0).Bytes()) << "one array alone is no skin";
    EXPECT_EQ(copy.WrittenSize(), 47U);

    ASSERT_TRUE(Read(copy, With(Bytes(13), 12, {1})));  // a skin of no vertices
    EXPECT_EQ(std::tuple(copy.m_hasSkin, copy.m_origPositions, copy.m_origWeights),
              std::tuple(1, nullptr, nullptr));
    EXPECT_EQ(Written(copy), Bytes(13));
}

TEST(vlOriginalData, RefusesWhatDoesNotFit)
{
    vlOriginalData data;
    ASSERT_TRUE(Read(data, kBlock));
    const auto positions = data.m_origPositions;
    ForEachPrefix(kBlock, [&](const unsigned char* start, const unsigned char* end) {
        EXPECT_EQ(data.ReadDataNew(start, end), nullptr);
        EXPECT_EQ(data.m_origPositions, positions);
    });
    for (const std::size_t countAt : {0U, 28U, 38U})
        EXPECT_FALSE(Read(data, With(kBlock, countAt, ByteBuilder().U32(0xFFFFFFFF)))) << countAt;
    EXPECT_EQ(data.ReadDataNew(nullptr), nullptr);
}

TEST(vlOriginalData, RefusesToWriteWhatIsMissing)
{
    const std::pair<std::string, void (*)(vlOriginalData&)> cases[] = {
        {"positions", [](auto& data) { data.m_origPositions = nullptr; }},
        {"indices", [](auto& data) { data.m_origIndices = nullptr; }},
        {"extra values", [](auto& data) { data.m_origExtra = nullptr; }},
    };
    for (const auto& [what, spoil] : cases) {
        vlOriginalData data;
        ASSERT_TRUE(Read(data, kBlock));
        spoil(data);
        const LogCapture log;
        EXPECT_TRUE(Written(data).empty());
        EXPECT_EQ(log.lines, std::vector{"E original data can't be written: the " + what +
                                         " of original data are missing"});
    }
}

}  // namespace
