#include "support/Bytes.h"

#include "io/ArrayBlock.h"
#include "io/BlockReader.h"
#include "io/BlockWriter.h"

#include <gtest/gtest.h>

#include <map>

namespace vela::vlgim::io {

namespace {

using test::Bytes;

const Bytes kBytes{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};

BlockReader Reader(const Bytes& bytes)
{
    return {bytes.data(), bytes.data() + bytes.size()};
}

}  // namespace

TEST(BlockReader, FailsOnceForGood)
{
    BlockReader in = Reader(kBytes);
    EXPECT_EQ(in.Value<std::uint8_t>(), 1);
    {
        const auto clip = in.Enter(Block::Clip, 2);
        EXPECT_EQ(in.Value<std::uint16_t>(), 0x0302);
        const auto bone = in.Enter(Block::Bone, 5);
        EXPECT_EQ(in.Take(Block::Times, 2, 4), nullptr);
        EXPECT_EQ(in.Value<std::uint8_t>(), 0) << "there are bytes, but it has failed";
    }
    in.Seek(0);
    in.RefuseAt(0, ErrorKind::Limit, 1, 2);
    EXPECT_EQ(in.Position(), nullptr);
    EXPECT_EQ(in.WhyRefused().AsError("a.gis").Message(),
              "a.gis: clip 2 / bone 5 at byte 3: needs 8 bytes, but the file has 5 left");

    BlockReader positions = Reader(kBytes);
    positions.Take(Block::Positions, 3, 3);
    EXPECT_EQ(positions.WhyRefused().Path(), "positions") << "a run that is a block of its own";
    EXPECT_FALSE(Reader(kBytes).WhyRefused().AsError());
}

TEST(BlockReader, CountsCannotWrap)
{
    const std::map<std::uint64_t, std::uint64_t> runs = {
        {UINT64_MAX / 4 + 2, 4}, {UINT64_MAX, UINT64_MAX}, {9, 1}, {3, 3}};
    for (const auto& [count, size] : runs)
        EXPECT_EQ(Reader(kBytes).Take(count, size), nullptr) << count;
    for (const std::uint64_t offset : {std::uint64_t{9}, UINT64_MAX}) {
        BlockReader in = Reader(kBytes);
        in.Seek(offset);
        EXPECT_EQ(in.Take(0, 1), nullptr) << "no address outside the file is ever formed";
        EXPECT_EQ(in.WhyRefused().left, 0U);
    }
    EXPECT_EQ(Reader(kBytes).Take(2, 4), kBytes.data());
    BlockReader vouched(kBytes.data(), nullptr);
    EXPECT_EQ(vouched.Take(8, 1), kBytes.data());
    EXPECT_TRUE(vouched.Spend(std::uint64_t{1} << 60));
}

TEST(BlockWriter, PiecesComeOutInOrderAndPlacesCanBePatched)
{
    // Runs around the size of a piece, each behind a few bytes that begin one.
    constexpr std::size_t kPiece = 256U << 10;
    for (const std::size_t run :
         {std::size_t{3}, kPiece - 7, kPiece - 6, kPiece - 5, kPiece, 2 * kPiece + 1}) {
        Bytes values;
        Bytes expected;
        for (std::size_t i = 0; i < run; ++i)
            values.push_back(static_cast<unsigned char>(i * 31 % 251));
        test::MemorySink sink;
        {
            BlockWriter out(sink);
            for (int round = 0; round < 3; ++round) {
                const std::uint64_t place = out.Position();
                EXPECT_EQ(place, expected.size());
                out.Value(std::uint32_t{0});
                out.Value(std::uint16_t{0x0201});
                out.Run(values.data(), values.size());
                out.Patch(place, 0x44332211);
                expected.insert(expected.end(), {0x11, 0x22, 0x33, 0x44, 1, 2});
                expected.insert(expected.end(), values.begin(), values.end());
            }
        }
        EXPECT_TRUE(sink.content == expected) << run;
        EXPECT_LE(sink.writes, 2 * expected.size() / kPiece + 3) << "each may be a call of the system";
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
    const auto none = block->Array(noneSlot);
    block.reset();
    EXPECT_EQ(std::tuple(shorts.size(), doubles.size(), none.size(), none == nullptr),
              std::tuple(3U, 2U, 0U, false));
    for (const void* start : {static_cast<void*>(shorts.get()), static_cast<void*>(doubles.get())})
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(start) % 16, 0U);
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
        BlockReader in = Reader(kBytes), vouched(kBytes.data(), nullptr);
        EXPECT_FALSE(block.Allocate(in)) << count;
        if (count > UINT64_MAX / 8) {
            EXPECT_THROW(block.Allocate(vouched), std::bad_alloc);
        }
    }
}

}  // namespace vela::vlgim::io
