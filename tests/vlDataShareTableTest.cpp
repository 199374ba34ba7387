#include "support/Blocks.h"

#include <vlgim/vlDataShareTable.h>

namespace vela::vlgim::test {

namespace {

// Two blocks, and one pair: a type that nobody has named, index -1, reserved bytes.
const Bytes kTable =
    ByteBuilder().U16(2).U32s({16, 0xFFFFFFFE}).U16(1).U32(0x80000001).U16s({0xFFFF, 0xABCD});

}  // namespace

TEST(vlDataShareTable, ReadsAndWrites)
{
    vlDataShareTable table;
    table.PushBlockInfo(7);  // replaced by the read
    ExpectWhole(table, kTable, &vlDataShareTable::ReadData);
    EXPECT_EQ(table.m_blocks, (std::vector<std::uint32_t>{16, 0xFFFFFFFE}));
    EXPECT_EQ(std::tuple(table.m_pairs.at(0).type, table.m_pairs[0].index, table.m_pairs[0].reserved),
              std::tuple(0x80000001U, -1, 0xABCD));
    EXPECT_EQ(Written(table), With(kTable, 18, {0, 0})) << "nothing is reserved";
    EXPECT_EQ(table.PushBlockInfo(5), 2);
}

TEST(vlDataShareTable, CountsAreSigned)
{
    vlDataShareTable table;
    for (const std::size_t countAt : {0U, 10U}) {  // the least of all counts, with bytes enough for 32,768
        Bytes negative = With(kTable, countAt, {0x00, 0x80});
        negative.resize(400'000);
        EXPECT_FALSE(table.ReadData(negative.data(), negative.data() + negative.size())) << countAt;
    }
    const LogCapture log;
    table.m_blocks.resize(32767);
    table.m_pairs.resize(32767);
    EXPECT_EQ(Written(table).size(), 4 + 12 * 32767U);
    table.m_blocks.resize(32768);
    EXPECT_TRUE(Written(table).empty());
    EXPECT_EQ(log.lines, Lines{"E share table can't be written: it has 32768 blocks and 32767 pairs, which "
                               "exceeds the limit of 32767"});
}

}  // namespace vela::vlgim::test
