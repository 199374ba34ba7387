#include "support/Blocks.h"

#include <vlgim/vlMorphData.h>

namespace vela::vlgim::test {

TEST(vlMorphData, EachForm)
{
    const Bytes integers = ByteBuilder().U32s({7, 8}), floats = ByteBuilder().F32s({7, 8});
    const struct {
        unsigned version;  // 0: the form of today's files
        Bytes ahead, times;
        std::uint8_t mode;
        int singleFrame;
        float first;
    } cases[] = {
        {0x20004, {5, 0, 2, 0}, integers, 1, 5, 0},  // the first of the integers counts as 0
        {0x20005, {5, 0, 2, 0}, floats, 1, 5, 7},    {0x20010, {5, 0, 2, 0}, floats, 1, 5, 7},
        {0x20011, {9, 5, 0, 2, 0}, floats, 9, 5, 7}, {0x20012, {9, 5, 0, 2, 0}, floats, 9, 5, 7},
        {0x20013, {9, 2, 0}, floats, 9, 0, 7},       {0, {9, 2, 0}, floats, 9, 77, 7},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.version);
        vlMorphData morph;
        morph.m_singleFrame = 77;
        ExpectWhole(morph, ByteBuilder().Raw(c.ahead).Raw(c.times),
                    [&](vlMorphData& into, const unsigned char* data, const unsigned char* end) {
                        return c.version ? into.ReadData(data, c.version, end) : into.ReadDataNew(data, end);
                    });
        EXPECT_EQ(morph.m_singleFrame, c.singleFrame);
        EXPECT_EQ(Written(morph), ByteBuilder().U8(c.mode).U16(2).F32s({c.first, 8}).Bytes());
        morph.m_times.ClearTimes();
        EXPECT_EQ(Written(morph), (Bytes{c.mode, 0, 0})) << "no keys";
    }
}

}  // namespace vela::vlgim::test
