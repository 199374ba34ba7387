#include "support/Blocks.h"
#include "support/MeshBytes.h"

#include <mesh/MeshBlocks.h>

#include <vlgim/vlOriginalData.h>

namespace vela::vlgim::test {

namespace {

const Bytes kBlock = OriginalBlock();

Bytes Write(vlOriginalData& data)
{
    return Written([&](std::FILE* stream) { data.WriteData(stream, 0); });
}

vlOriginalData Read(const Bytes& block, unsigned version = 0x30017)
{
    vlOriginalData data;
    data.m_hasSkin = 1;
    ExpectWhole(
        data, block,
        [version](vlOriginalData& into, const unsigned char* start, const unsigned char* end) {
            return into.ReadData(start, version, end);
        },
        &Write);
    return data;
}

}  // namespace

TEST(vlOriginalData, ReadsAndWrites)
{
    vlOriginalData data = Read(kBlock);
    EXPECT_EQ(std::tuple(data.m_type, data.m_hasSkin), std::tuple(MESH_DATA_ORIGINAL, 1));
    EXPECT_EQ(Write(data), kBlock);
    EXPECT_EQ(mesh::WrittenSize(data), kBlock.size());
    ExpectLiesReadBack(vlOriginalData(), kBlock, &vlOriginalData::ReadDataNew, &Write);
    EXPECT_EQ(data.ReadDataNew(nullptr), nullptr);

    data = Read(Prefix(kBlock, 46), 0x30016);  // the form without a skin flag
    EXPECT_EQ(std::tuple(data.m_hasSkin, data.m_origBones), std::tuple(1, nullptr)) << "the flag stays";
    EXPECT_EQ(Write(data), With(Prefix(kBlock, 47), 46, {0})) << "one array alone is no skin";
    EXPECT_EQ(mesh::WrittenSize(data), 47U);

    data = Read(With(Bytes(13), 12, {1}));  // a skin of no vertices
    EXPECT_EQ(std::tuple(data.m_hasSkin, data.m_origPositions, data.m_origWeights),
              std::tuple(1, nullptr, nullptr));
    EXPECT_EQ(Write(data), Bytes(13));
    const LogCapture log;
    data.m_origVertexCount = 1;
    EXPECT_EQ(Write(data), Bytes());
    EXPECT_EQ(log.lines, Lines{"E original data can't be written: the positions are missing"});
}

}  // namespace vela::vlgim::test
