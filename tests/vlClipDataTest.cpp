#include "support/AnimBytes.h"
#include "support/Blocks.h"

#include <anim/ClipBlock.h>
#include <nameid/NameID.h>
#include <vlgim/vlClipData.h>

#include <cmath>

namespace vela::vlgim {

namespace test {

namespace {

auto Reader(std::uint32_t version)
{
    return [version](vlClipData& clip, const unsigned char* data, const unsigned char* end) {
        const unsigned char* keys = clip.ReadClipInfo(data, version, end);
        const unsigned char* pivot = keys ? clip.ReadKeysData(keys, version, end) : nullptr;
        return pivot ? vlClipData::ReadPivotTrack(pivot, end) : nullptr;
    };
}

auto Writer(std::uint32_t version)
{
    return [version](vlClipData& clip) {
        return Written([&](std::FILE* stream) {
            clip.WriteClipInfo(stream, version);
            clip.WriteKeysData(stream, version);
            vlClipData::WritePivotTrack(stream);
        });
    };
}

vlClipData ReadWhole(const Bytes& record, std::uint32_t version = 0x60001)
{
    vlClipData clip;
    const unsigned char* const end = record.data() + record.size();
    EXPECT_EQ(Reader(version)(clip, record.data(), end), end);
    return clip;
}

}  // namespace

TEST(vlClipData, EachVersionAndLayoutIsReadAndWrittenBack)
{
    const std::pair<std::uint32_t, std::uint8_t> forms[] = {
        {0x50000, 1}, {0x50001, 1}, {0x50002, 1}, {0x50003, 0}, {0x50003, 1}, {0x50004, 255},
        {0x50005, 0}, {0x60000, 1}, {0x60001, 0}, {0x60001, 1}, {0x60001, 2}, {0x60001, 255}};
    for (const auto& [version, layout] : forms) {
        SCOPED_TRACE(std::to_string(version) + ' ' + std::to_string(layout));
        const Bytes record = ClipRecord(version, layout);
        vlClipData clip = ReadWhole(record, version);
        ASSERT_EQ(clip.m_boneCount, 2);
        EXPECT_EQ(std::tuple(clip.m_name2.View(), clip.m_boneNames[1].View(), clip.m_boneNameIds[1]),
                  std::tuple("second", "Head", NameIDMurmur3("Head")));
        EXPECT_EQ(std::tuple(clip.m_attrWord, clip.m_attrShort, clip.m_compressFlags, clip.m_keyLayout),
                  std::tuple(version >= 0x50004 ? 0x01020304U : 0U, 7, version >= 0x50002 ? 0 : 255, layout));
        EXPECT_EQ(clip.m_keyTimes != nullptr, layout == 0);
        EXPECT_EQ(clip.m_boneKeyTimes[1] != nullptr, layout == 1);
        ASSERT_NE(clip.m_keys, nullptr);
        EXPECT_EQ(std::tuple(clip.m_length, clip.m_maxKeys),
                  layout < 2 ? std::tuple(10.0F, 2) : std::tuple(0.0F, 0));
        if (layout < 2) {
            EXPECT_EQ(clip.m_keys[1].m_pos[0], 7.0F);
            EXPECT_EQ(layout == 1 ? clip.m_boneKeyTimes[0][0] : clip.m_keyTimes->GetKeyTime(0), 1.0416666F);
            clip.m_keys[0].m_keyCount = 0;                      // not set: the times decide
            clip.m_keys[0].m_compressFlags = KEY_PACKED_ROT32;  // the clip decides
        }
        EXPECT_EQ(Writer(version)(clip), record);

        ForEachPrefix(record, [read = Reader(version)](const unsigned char* data, const unsigned char* end) {
            vlClipData cut;
            EXPECT_EQ(read(cut, data, end), nullptr) << end - data;
        });
        if (version >= 0x50002)  // ticks of times below 0 move
            ExpectLiesReadBack(vlClipData(), record, Reader(version), Writer(version));
    }
}

TEST(vlClipData, PivotTracksArePassedOver)
{
    const Bytes pivot = ByteBuilder().U8(3).U32(0x10000).Raw(TrackBlock());
    EXPECT_EQ(vlClipData::ReadPivotTrack(pivot.data(), pivot.data() + pivot.size()), &pivot.back() + 1);
    ForEachPrefix(pivot, [](auto data, auto end) { EXPECT_FALSE(vlClipData::ReadPivotTrack(data, end)); });
}

TEST(vlClipData, BaseInfo)
{
    const Bytes record = BaseInfo("walk");
    ASSERT_EQ(record.size(), 1108U);
    vlClipData clip;
    EXPECT_EQ(clip.ReadAsyncBaseInfo(record.data(), 0, record.data() + 1107), nullptr);
    EXPECT_EQ(clip.ReadAsyncBaseInfo(record.data(), 0, record.data() + 1108), record.data() + 1108);
    EXPECT_EQ(std::tuple(clip.m_boneNameIds[254], clip.m_length, clip.m_keysOffset),
              std::tuple(1254, 10.0F, 144U));
    EXPECT_EQ(Written([&](std::FILE* stream) { clip.WriteAsyncBaseInfo(stream); }), record);
}

TEST(vlClipData, TwoHundredFiftyFiveBonesAndNoMore)
{
    for (const std::uint16_t count : {std::uint16_t{255}, std::uint16_t{256}}) {
        const bool fits = count == 255;
        const Bytes record = ClipInfo(0x60001, "a", std::vector<std::string_view>(count, "b"), 9);
        const unsigned char* end = record.data() + record.size();
        const Bytes base = With(BaseInfo("a"), 64, ByteBuilder().U16(count));
        vlClipData clip;
        EXPECT_EQ(clip.ReadClipInfo(record.data(), 0x60001, end), fits ? end : nullptr);
        EXPECT_EQ(clip.ReadAsyncBaseInfo(base.data(), 0x60001) != nullptr, fits);
        EXPECT_EQ(clip.m_boneCount, fits ? 255 : 0);
        clip.m_boneCount = count;
        clip.m_keyLayout = 9;
        EXPECT_EQ(clip.ReadKeysData(record.data(), 0x60001, end), fits ? record.data() : nullptr);
    }
}

TEST(vlClipData, WhatDisagreesIsNotWritten)
{
    const std::tuple<std::string, std::uint32_t, void (*)(vlClipData&)> cases[] = {
        {"the key times are missing", 0x60001, [](auto& c) { c.m_keyTimes.reset(); }},
        {"256 bones exceed the limit of 255", 0x60001, [](auto& c) { c.m_boneCount = 256; }},
        {"", 0x50003, [](auto&) {}},
        {"its version has key times per bone only", 0x50002, [](auto&) {}},
    };
    for (const auto& [reason, version, edit] : cases) {
        vlClipData clip = ReadWhole(ClipRecord(0x60001, KEY_LAYOUT_SHARED));
        edit(clip);
        const LogCapture log;
        const Bytes written = Written([&, v = version](std::FILE* stream) { clip.WriteKeysData(stream, v); });
        EXPECT_EQ(written.empty(), !reason.empty()) << reason;
        EXPECT_EQ(log.lines, reason.empty() ? Lines{} : Lines{"E clip can't be written: " + reason});
    }
}

TEST(vlClipData, Ticks)
{
    std::vector<std::int32_t> ticks;
    for (const float time : {1.0F, 10.0F, 0.0F, -10.0F, 4.4e8F, 4.5e8F, -4.5e8F, NAN, INFINITY})
        ticks.push_back(clips::TimeToTick(time));
    EXPECT_EQ(ticks, (std::vector{5, 48, 0, -47, 2112000128, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN}));
    EXPECT_EQ(clips::TickToTime(5), 1.0416666F);
    EXPECT_LT(clips::TickToTime(-1), 0.0F);
    int moved = 0;
    for (std::int32_t tick = 0; tick < 1 << 20; ++tick)
        moved += clips::TimeToTick(clips::TickToTime(tick)) != tick;
    EXPECT_EQ(moved, 0) << "of a million ticks";
}

}  // namespace test
}  // namespace vela::vlgim
