#include "support/Bytes.h"
#include "support/LogCapture.h"

#include <vlgim/vlDataShareTable.h>

#include <gtest/gtest.h>

using namespace vela::vlgim;
namespace test = vela::vlgim::test;

namespace {

// Two blocks, and one pair: a type that nobody has named, index -1, reserved bytes.
const test::Bytes kTable =
    test::ByteBuilder().U16(2).U32s({16, 0xFFFFFFFE}).U16(1).U32(0x80000001).U16s({0xFFFF, 0xABCD});

test::Bytes Written(const vlDataShareTable& table)
{
    return test::Written([&](std::FILE* stream) { table.WriteData(stream); });
}

TEST(vlDataShareTable, ReadsAndWrites)
{
    vlDataShareTable table;
    table.PushBlockInfo(7);  // replaced by the read
    ASSERT_EQ(table.ReadData(kTable.data(), kTable.data() + kTable.size()), kTable.data() + kTable.size());
    EXPECT_EQ(table.m_blocks, (std::vector<std::uint32_t>{16, 0xFFFFFFFE}));
    ASSERT_EQ(table.m_pairs.size(), 1U);
    const DataPair& pair = table.m_pairs[0];
    EXPECT_EQ(std::tuple(pair.type, pair.index, pair.reserved), std::tuple(0x80000001U, -1, 0xABCD));
    EXPECT_EQ(Written(table), test::With(kTable, 18, {0, 0}));

    EXPECT_EQ(table.PushBlockInfo(5), 2);
    table.ClearBlockInfo();
    table.ClearDataPair();
    EXPECT_EQ(Written(table), test::Bytes(4));
}

TEST(vlDataShareTable, RefusesWhatDoesNotFit)
{
    const auto refused = [](const unsigned char* data, const unsigned char* end) {
        vlDataShareTable table;
        table.PushBlockInfo(7);
        EXPECT_EQ(table.ReadData(data, end), nullptr) << end - data << " bytes";
        EXPECT_EQ(table.m_blocks, (std::vector<std::uint32_t>{7}));
    };
    test::ForEachPrefix(kTable, refused);
    for (const std::size_t countAt : {0U, 10U}) {  // the least of all counts, with bytes enough for 32,768
        test::Bytes negative = test::With(kTable, countAt, {0x00, 0x80});
        negative.resize(400'000);
        refused(negative.data(), negative.data() + negative.size());
    }
    refused(nullptr, nullptr);
}

TEST(vlDataShareTable, RefusesToWriteMoreThanItsCountsHold)
{
    const test::LogCapture log;
    vlDataShareTable table;
    table.m_blocks.resize(32767);
    table.m_pairs.resize(32767);
    EXPECT_EQ(Written(table).size(), 4 + 12 * 32767U);
    table.m_blocks.resize(32768);
    EXPECT_TRUE(Written(table).empty());
    table.m_blocks.clear();
    table.m_pairs.resize(32768);
    EXPECT_TRUE(Written(table).empty());
    const std::string most = " pairs, and 32767 is the most";
    EXPECT_EQ(log.lines, (std::vector<std::string>{
                             "E share table can't be written: it has 32768 blocks and 32767" + most,
                             "E share table can't be written: it has 0 blocks and 32768" + most}));
}

}  // namespace
