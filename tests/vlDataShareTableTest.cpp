#include "support/Bytes.h"
#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/Written.h"

#include <vlgim/vlDataShareTable.h>

#include <gtest/gtest.h>

namespace vela::vlgim {

namespace {

const std::vector<unsigned char> kTable = test::ByteBuilder()
                                              .U16(2)
                                              .U32(16)
                                              .U32(0xFFFFFFFE)
                                              .U16(1)
                                              .U32(0x80000001)  // a type that nobody has named
                                              .U16(0xFFFF)
                                              .U16(0xABCD);  // reserved

TEST(vlDataShareTable, ReadsAndWrites)
{
    vlDataShareTable table;
    table.PushBlockInfo(7);  // replaced by the read
    ASSERT_EQ(table.ReadData(kTable.data(), kTable.data() + kTable.size()), kTable.data() + kTable.size());
    EXPECT_EQ(table.m_blocks, (std::vector<std::uint32_t>{16, 0xFFFFFFFE}));
    ASSERT_EQ(table.m_pairs.size(), 1U);
    EXPECT_EQ(table.m_pairs[0].type, 0x80000001U);
    EXPECT_EQ(table.m_pairs[0].index, -1);
    EXPECT_EQ(table.m_pairs[0].reserved, 0xABCD);

    std::vector<unsigned char> clean = kTable;
    clean[18] = clean[19] = 0;
    EXPECT_EQ(test::Written([&](std::FILE* stream) { table.WriteData(stream); }), clean);

    EXPECT_EQ(table.PushBlockInfo(5), 2);
    table.ClearBlockInfo();
    table.ClearDataPair();
    EXPECT_EQ(table.PushBlockInfo(5), 0);
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
    for (const std::size_t countAt : {0U, 10U}) {  // a negative count, with bytes enough for it
        std::vector<unsigned char> negative = kTable;
        negative[countAt + 1] = 0x80;
        negative.resize(400'000);
        refused(negative.data(), negative.data() + negative.size());
    }
    refused(nullptr, nullptr);
}

TEST(vlDataShareTable, RefusesToWriteMoreThanItsCountsHold)
{
    vlDataShareTable table;
    table.m_blocks.resize(32767);
    const auto write = [&](std::FILE* stream) { table.WriteData(stream); };
    EXPECT_EQ(test::Written(write).size(), 4 + 4 * 32767U);
    table.m_blocks.resize(32768);
    test::LogCapture log;
    EXPECT_TRUE(test::Written(write).empty());
    EXPECT_EQ(log.lines.size(), 1U);
}

}  // namespace

}  // namespace vela::vlgim
