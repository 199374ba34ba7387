#include "support/Bytes.h"

#include "io/ArrayBlock.h"
#include "io/BlockReader.h"
#include "io/BlockWriter.h"

#include <gtest/gtest.h>

namespace vela::vlgim::io {

namespace {

using test::Bytes;

const Bytes kBytes{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};

BlockReader Reader(const Bytes& bytes)
{
    return {bytes.data(), bytes.data() + bytes.size(), "block"};
}

}  // namespace

TEST(BlockReader, FailsOnceForGood)
{
    BlockReader in = Reader(kBytes);
    EXPECT_EQ(in.Value<std::uint8_t>(), 1);
    EXPECT_EQ(in.Value<std::uint16_t>(), 0x0302);
    in.Enter("list");
    EXPECT_EQ(in.Array<std::uint32_t>(2), nullptr);
    EXPECT_EQ(in.Value<std::uint8_t>(), 0) << "there are bytes, but it has failed";
    in.Seek(0);
    in.Refuse(1, 2);
    EXPECT_EQ(in.Position(), nullptr);
    const Refusal& why = in.WhyRefused();
    EXPECT_STREQ(why.block, "list");
    EXPECT_EQ(std::tuple(why.offset, why.needed, why.left), std::tuple(3U, 8U, 5U));
}

TEST(BlockReader, CountsCannotWrap)
{
    for (const auto& [count, size] : {std::pair<std::uint64_t, std::uint64_t>{UINT64_MAX / 4 + 2, 4},
                                      {UINT64_MAX, UINT64_MAX},
                                      {9, 1},
                                      {3, 3}})
        EXPECT_EQ(Reader(kBytes).Take(count, size), nullptr) << count;
    for (const std::uint64_t offset : {std::uint64_t{9}, UINT64_MAX}) {
        BlockReader in = Reader(kBytes);
        in.Seek(offset);
        EXPECT_EQ(in.Take(0, 1), nullptr) << "no address outside the file is ever formed";
        EXPECT_EQ(in.WhyRefused().left, 0U);
    }
    EXPECT_EQ(Reader(kBytes).Take(2, 4), kBytes.data());
    BlockReader vouched(kBytes.data(), nullptr, "block");
    EXPECT_EQ(vouched.Take(8, 1), kBytes.data());
    EXPECT_TRUE(vouched.Spend(std::uint64_t{1} << 60));
}

TEST(BlockReader, MemoryIsInProportion)
{
    BlockReader in = Reader(kBytes);
    EXPECT_TRUE(in.Spend((14U << 20) + 8 * 64 - 64 - 1) && in.Spend(1)) << "64 bytes of bookkeeping each";
    BlockReader once = Reader(kBytes);
    EXPECT_TRUE(once.Spend((14U << 20) + 8 * 64 - 64) && !once.Spend(1)) << "and not a byte less";
    EXPECT_FALSE(in.Spend(1));
    EXPECT_EQ(std::tuple(in.WhyRefused().needed, in.WhyRefused().left), std::tuple(1U, 0U));
}

TEST(BlockWriter, PiecesComeOutInOrderAndPlacesCanBePatched)
{
    // Runs around the size of a piece, each behind a few bytes that begin one.
    constexpr std::size_t kPiece = 256U << 10;
    for (const std::size_t run :
         {std::size_t{3}, kPiece - 7, kPiece - 6, kPiece - 5, kPiece, 2 * kPiece + 1}) {
        Bytes values;
        for (std::size_t i = 0; i < run; ++i)
            values.push_back(static_cast<unsigned char>(i * 31 % 251));
        Bytes expected{0xEE};
        const Bytes written = test::Written([&](std::FILE* stream) {
            std::fputc(0xEE, stream);
            BlockWriter out(stream, 1);
            for (int round = 0; round < 3; ++round) {
                const std::uint64_t place = out.Position();
                EXPECT_EQ(place, expected.size());
                out.Value(std::uint32_t{0});
                out.Value(std::uint16_t{0x0201});
                out.Run(values.data(), values.size());
                out.Patch(place, 0x44332211);
                EXPECT_EQ(std::ftell(stream), static_cast<long>(place + 4)) << run;
                expected.insert(expected.end(), {0x11, 0x22, 0x33, 0x44, 1, 2});
                expected.insert(expected.end(), values.begin(), values.end());
                std::fseek(stream, 0, SEEK_END);
            }
        });
        EXPECT_TRUE(written == expected) << run;
    }
}

TEST(ArrayBlock, ArraysAreAlignedApartAndKeepTheBlockAlive)
{
    BlockReader in = Reader(kBytes);
    auto block = std::make_unique<ArrayBlock>();
    const auto shortSlot = block->Plan<std::uint16_t>(3);
    const auto doubleSlot = block->Plan<double>(2);
    const auto noneSlot = block->Plan<char>(0);
    ASSERT_TRUE(block->Allocate(in));
    auto shorts = block->Array(shortSlot);
    const auto doubles = block->Array(doubleSlot);
    EXPECT_NE(block->Array(noneSlot), nullptr);
    block.reset();
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(shorts.get()) % 16, 0U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(doubles.get()) % 16, 0U);
    doubles[0] = doubles[1] = 1.5;
    shorts[0] = shorts[1] = shorts[2] = 0xFFFF;
    shorts = nullptr;
    EXPECT_EQ(doubles[0] + doubles[1], 3.0);
}

TEST(ArrayBlock, RefusesWhatPassesTheBudget)
{
    for (const std::uint64_t count : {std::uint64_t{3'000'000}, UINT64_MAX / 8 + 2, UINT64_MAX}) {
        ArrayBlock block;
        block.Plan<char>(100);
        block.Plan<double>(count);
        block.Plan<double>(2);
        BlockReader in = Reader(kBytes), vouched(kBytes.data(), nullptr, "block");
        EXPECT_FALSE(block.Allocate(in)) << count;
        EXPECT_TRUE(in.Failed());
        if (count > UINT64_MAX / 8) {
            EXPECT_THROW(block.Allocate(vouched), std::bad_alloc);
        }
    }
}

}  // namespace vela::vlgim::io
