#include "support/Bytes.h"

#include <vlgim/vlMorphData.h>

#include <gtest/gtest.h>

using namespace vela::vlgim;
using namespace vela::vlgim::test;

namespace {

const Bytes kBlock = ByteBuilder().U8(2).U16(3).F32s({0, 0.5F, 2});

std::vector<float> Times(const vlMorphData& morph)
{
    const float* times = morph.m_times.GetKeyTimes();
    return {times, times + morph.m_times.GetKeyCount()};
}

TEST(vlMorphData, ReadsAndWrites)
{
    vlMorphData morph;
    morph.m_singleFrame = 9;
    ASSERT_EQ(morph.ReadDataNew(kBlock.data(), kBlock.data() + 15), kBlock.data() + 15);
    EXPECT_EQ(morph.m_morphMode, 2);
    EXPECT_EQ(morph.m_singleFrame, 9);
    EXPECT_EQ(Times(morph), (std::vector<float>{0, 0.5F, 2}));
    EXPECT_EQ(Written([&](std::FILE* stream) { morph.WriteData(stream); }), kBlock);

    ForEachPrefix(kBlock, [&](const unsigned char* data, const unsigned char* end) {
        EXPECT_EQ(morph.ReadDataNew(data, end), nullptr);
    });
    EXPECT_EQ(Times(morph).size(), 3U);

    morph.m_times.ClearTimes();
    EXPECT_EQ(Written([&](std::FILE* stream) { morph.WriteData(stream); }), (Bytes{2, 0, 0})) << "no keys";
}

TEST(vlMorphData, OldForms)
{
    const Bytes integers = ByteBuilder().U32s({7, 8}), floats = ByteBuilder().F32s({7, 8});
    struct Case {
        unsigned version;
        Bytes ahead, times;
        int mode, singleFrame;
        float first;
    };
    const Case cases[] = {
        {0x20004, {5, 0, 2, 0}, integers, 1, 5, 0},  // the first of the integers counts as 0
        {0x20005, {5, 0, 2, 0}, floats, 1, 5, 7},    {0x20010, {5, 0, 2, 0}, floats, 1, 5, 7},
        {0x20011, {9, 5, 0, 2, 0}, floats, 9, 5, 7}, {0x20012, {9, 5, 0, 2, 0}, floats, 9, 5, 7},
        {0x20013, {9, 2, 0}, floats, 9, 0, 7},
    };
    for (const auto& [version, ahead, times, mode, singleFrame, first] : cases) {
        const Bytes block = ByteBuilder().Raw(ahead).Raw(times);
        const unsigned char* const end = block.data() + block.size();
        vlMorphData morph;
        morph.m_singleFrame = 77;
        EXPECT_EQ(morph.ReadData(block.data(), version, end), end) << std::hex << version;
        EXPECT_EQ(std::tuple(morph.m_morphMode, morph.m_singleFrame, Times(morph)),
                  std::tuple(mode, singleFrame, std::vector<float>{first, 8}));
        ForEachPrefix(block, [&, v = version](const unsigned char* data, const unsigned char* cutEnd) {
            EXPECT_EQ(morph.ReadData(data, v, cutEnd), nullptr);
        });
        EXPECT_EQ(morph.m_morphMode, mode);
    }
}

}  // namespace
