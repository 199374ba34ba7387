#include "support/Blocks.h"

#include <vlgim/vlMorphData.h>

namespace vela::vlgim::test {

TEST(vlMorphData, EachForm)
{
    const Bytes integers = ByteBuilder().U32s({7, 8}), floats = ByteBuilder().F32s({7, 8});
    const std::tuple<unsigned, Bytes, Bytes, std::uint8_t, int, float> cases[] = {
        // Version, or 0: the form of today's files; what is ahead of the times; the times; mode, single frame, first.
        {0x20004, {5, 0, 2, 0}, integers, 1, 5, 0},  // the first of the integers counts as 0
        {0x20005, {5, 0, 2, 0}, floats, 1, 5, 7},    {0x20011, {9, 5, 0, 2, 0}, floats, 9, 5, 7},
        {0x20012, {9, 5, 0, 2, 0}, floats, 9, 5, 7}, {0x20010, {5, 0, 2, 0}, floats, 1, 5, 7},
        {0x20013, {9, 2, 0}, floats, 9, 0, 7},       {0, {9, 2, 0}, floats, 9, 77, 7},
    };
    for (const auto& [version, ahead, times, mode, singleFrame, first] : cases) {
        SCOPED_TRACE(version);
        vlMorphData morph;
        morph.m_singleFrame = 77;
        ExpectWhole(morph, ByteBuilder().Raw(ahead).Raw(times),
                    [v = version](vlMorphData& into, const unsigned char* data, const unsigned char* end) {
                        return v ? into.ReadData(data, v, end) : into.ReadDataNew(data, end);
                    });
        EXPECT_EQ(morph.m_singleFrame, singleFrame);
        EXPECT_EQ(Written(morph), ByteBuilder().U8(mode).U16(2).F32s({first, 8}).Bytes());
        morph.m_times.ClearTimes();
        EXPECT_EQ(Written(morph), (Bytes{mode, 0, 0})) << "no keys";
    }
}

}  // namespace vela::vlgim::test
