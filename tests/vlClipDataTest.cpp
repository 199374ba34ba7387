#include "support/AnimBytes.h"
#include "support/LogCapture.h"

#include <anim/ClipBlock.h>
#include <anim/Ticks.h>
#include <nameid/NameID.h>
#include <vlgim/vlClipData.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vela::vlgim {

// Private operations that nothing in the library calls; an explicit instantiation may name them.
template <auto kHasPivotTrack, auto kInitBoneKeys>
struct PrivateCalls {
    friend bool HasPivotTrack(const vlClipData& clip) { return (clip.*kHasPivotTrack)(); }
    friend void InitBoneKeys(std::uint16_t bones, vlKeyTimes* times, std::uint16_t* counts,
                             std::shared_ptr<float[]>* arrays)
    {
        kInitBoneKeys(bones, times, counts, arrays);
    }
};
template struct PrivateCalls<&vlClipData::HasPivotTrack, &vlClipData::InitBoneKeys>;
bool HasPivotTrack(const vlClipData& clip);
void InitBoneKeys(std::uint16_t bones, vlKeyTimes* times, std::uint16_t* counts,
                  std::shared_ptr<float[]>* arrays);

namespace {

using Bytes = std::vector<unsigned char>;
using Lines = std::vector<std::string>;
using test::ByteBuilder;
using Layouts = std::initializer_list<std::uint8_t>;

const unsigned char* Read(vlClipData& clip, const unsigned char* data, const unsigned char* end,
                          std::uint32_t version)
{
    const unsigned char* keys = clip.ReadClipInfo(data, version, end);
    const unsigned char* pivot = keys ? clip.ReadKeysData(keys, version, end) : nullptr;
    return pivot ? vlClipData::ReadPivotTrack(pivot, end) : nullptr;
}

bool ReadWhole(vlClipData& clip, const Bytes& record, std::uint32_t version)
{
    const unsigned char* end = record.data() + record.size();
    return Read(clip, record.data(), end, version) == end;
}

Bytes Written(vlClipData& clip, std::uint32_t version)
{
    return test::Written([&](std::FILE* stream) {
        clip.WriteClipInfo(stream, version);
        clip.WriteKeysData(stream, version);
        vlClipData::WritePivotTrack(stream);
    });
}

constexpr std::uint32_t kVersions[] = {0x50000, 0x50001, 0x50002, 0x50003,
                                       0x50004, 0x50005, 0x60000, 0x60001};

}  // namespace

TEST(vlClipData, EachVersionAndLayoutIsReadAndWrittenBack)
{
    for (const std::uint32_t version : kVersions) {
        for (const std::uint8_t layout : Layouts{0, 1, 2, 255}) {
            if (version < 0x50003 && layout != 1)
                continue;
            SCOPED_TRACE(std::to_string(version) + ' ' + std::to_string(layout));
            const Bytes record = test::ClipRecord(version, layout);
            vlClipData clip;
            ASSERT_TRUE(ReadWhole(clip, record, version));
            EXPECT_STREQ(clip.m_name, "walk");
            EXPECT_STREQ(clip.m_name2, "second");
            ASSERT_EQ(clip.m_boneCount, 2);
            EXPECT_STREQ(clip.m_boneNames[1], "Head");
            EXPECT_EQ(clip.m_boneNameIds[1], NameIDMurmur3("Head"));
            EXPECT_EQ(clip.m_attrWord, version >= 0x50004 ? 0x01020304U : 0U);
            EXPECT_EQ(clip.m_attrByte0, 5);
            EXPECT_EQ(clip.m_attrByte1, 6);
            EXPECT_EQ(clip.m_attrShort, 7);
            EXPECT_EQ(clip.m_attrLong, 8U);
            EXPECT_EQ(clip.m_compressFlags, version >= 0x50002 ? 0 : 255);
            EXPECT_EQ(clip.m_keyLayout, layout);
            EXPECT_EQ(clip.m_keyTimes != nullptr, layout == 0);
            EXPECT_EQ(clip.m_boneKeyTimes[1] != nullptr, layout == 1);
            ASSERT_NE(clip.m_keys, nullptr);
            EXPECT_EQ(clip.m_length, layout < 2 ? 10.0F : 0.0F);
            EXPECT_EQ(clip.m_maxKeys, layout < 2 ? 2 : 0);
            if (layout < 2) {
                EXPECT_EQ(clip.m_keys[0].m_pos[5], 6.0F);
                EXPECT_EQ(clip.m_keys[1].m_pos[0], 7.0F);
                EXPECT_EQ(layout == 1 ? clip.m_boneKeyTimes[0][0] : clip.m_keyTimes->GetKeyTime(0),
                          1.0416666F);
            }
            EXPECT_FALSE(clip.IsACLCompressed());
            EXPECT_EQ(Written(clip, version), record);
        }
    }
}

TEST(vlClipData, CompressFlagsHoldForEveryBone)
{
    ByteBuilder record = test::ClipInfo(0x60001, "a", {"x", "y"}, 1, KEY_HALF_SCALE | KEY_PACKED_ROT48);
    for (int bone = 0; bone < 2; ++bone) {
        record.U16(1).F32(0).U8(0).U8(0).U8(0).U8(0).F32s({1, 2, 3});
        record.U16s({0x76A0, 0x6D40, 0x6D40}).U16s({0x3C00, 0x4000, 0x3800});
    }
    record.U8(0);
    vlClipData clip;
    ASSERT_TRUE(ReadWhole(clip, record, 0x60001));
    EXPECT_EQ(clip.m_keys[1].m_scale[1], 2.0F);
    EXPECT_EQ(Written(clip, 0x60001), record.Bytes());
}

TEST(vlClipData, PivotTracksArePassedOver)
{
    Bytes record = test::ClipRecord(0x60001);
    record.pop_back();
    const Bytes pivot = ByteBuilder().Raw(record).U8(3).U32(0x10000).Raw(test::TrackBlock());
    vlClipData clip;
    ASSERT_TRUE(ReadWhole(clip, pivot, 0x60001));
    EXPECT_EQ(clip.m_pivotTrack, nullptr);
    EXPECT_FALSE(HasPivotTrack(clip));
    EXPECT_EQ(Written(clip, 0x60001), test::ClipRecord(0x60001).Bytes());
    for (std::size_t size = record.size(); size < pivot.size(); ++size)
        EXPECT_EQ(vlClipData::ReadPivotTrack(pivot.data() + record.size(), pivot.data() + size), nullptr);

    auto track = std::make_shared<vlTrackData>();
    clip.m_pivotTrack = track;
    EXPECT_FALSE(HasPivotTrack(clip));
    track->m_flags = 0x800;
    EXPECT_TRUE(HasPivotTrack(clip));
    track->m_flags = 0xF7FF;
    track->m_channels = std::make_shared<vlTransKeysData[]>(2);
    track->m_channelCount = 2;
    EXPECT_FALSE(HasPivotTrack(clip));
    track->m_channels[1].m_scaleKeyed = 1;
    EXPECT_TRUE(HasPivotTrack(clip));
}

TEST(vlClipData, NamesEndWithANulAndBoneNamesNeedNot)
{
    Bytes record = test::ClipRecord(0x60001);
    std::fill_n(record.begin(), 64, 'N');
    std::fill_n(record.begin() + 66, 32, 'b');
    vlClipData clip;
    ASSERT_TRUE(ReadWhole(clip, record, 0x60001));
    EXPECT_EQ(clip.m_boneNameIds[0], NameIDMurmur3(std::string_view("bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb")));
    record[31] = record[63] = 0;
    EXPECT_EQ(Written(clip, 0x60001), record);
}

TEST(vlClipData, BaseInfo)
{
    const Bytes record = test::BaseInfo("walk");
    ASSERT_EQ(record.size(), 1108U);
    vlClipData clip;
    EXPECT_EQ(clip.ReadAsyncBaseInfo(record.data(), 0, record.data() + 1108), record.data() + 1108);
    EXPECT_EQ(clip.m_boneNames, nullptr);
    EXPECT_EQ(clip.m_boneNameIds[254], 1254);
    EXPECT_EQ(clip.m_attrWord, 0x01020304U);
    EXPECT_EQ(clip.m_length, 10.0F);
    EXPECT_EQ(clip.m_keysOffset, 144U);
    EXPECT_EQ(test::Written([&](std::FILE* stream) { clip.WriteAsyncBaseInfo(stream); }), record);

    // The record of the side file replaces all of it but the ids of no bone and the length to start from.
    clip.m_length = 12;
    ASSERT_TRUE(ReadWhole(clip, test::ClipRecord(0x60001), 0x60001));
    EXPECT_EQ(clip.m_boneNameIds[0], NameIDMurmur3("hip"));
    EXPECT_EQ(clip.m_boneNameIds[2], 1002);
    EXPECT_EQ(clip.m_length, 12.0F);
}

TEST(vlClipData, TwoHundredFiftyFiveBonesAndNoMore)
{
    for (const std::uint16_t count : std::initializer_list<std::uint16_t>{255, 256}) {
        const bool fits = count == 255;
        const Bytes record = test::ClipInfo(0x60001, "a", std::vector<std::string_view>(count, "b"), 9);
        const unsigned char* end = record.data() + record.size();
        vlClipData clip;
        EXPECT_EQ(clip.ReadClipInfo(record.data(), 0x60001, end), fits ? end : nullptr);
        EXPECT_EQ(clip.m_boneCount, fits ? 255 : 0);

        Bytes base = test::BaseInfo("a");
        base[64] = static_cast<unsigned char>(count);
        base[65] = static_cast<unsigned char>(count >> 8);
        EXPECT_EQ(clip.ReadAsyncBaseInfo(base.data(), 0x60001) != nullptr, fits);
        clip.m_boneCount = count;
        clip.m_keyLayout = 9;
        EXPECT_EQ(clip.ReadKeysData(record.data(), 0x60001, end), fits ? record.data() : nullptr);
        const test::LogCapture log;
        EXPECT_EQ(test::Written([&](std::FILE* stream) { clip.WriteAsyncBaseInfo(stream); }).empty(), !fits);
        EXPECT_EQ(log.lines,
                  fits ? Lines{} : Lines{"E clip can't be written: 256 bones, and there is room for 255"});
    }
}

TEST(vlClipData, EveryPrefixAndEveryChangedByte)
{
    for (const std::uint32_t version : {0x50001U, 0x60001U}) {
        for (const std::uint8_t layout : Layouts{0, 1}) {
            if (version < 0x50003 && layout == 0)
                continue;
            const Bytes record = test::ClipRecord(version, layout);
            test::ForEachPrefix(record, [&](const unsigned char* data, const unsigned char* end) {
                vlClipData clip;
                EXPECT_EQ(Read(clip, data, end, version), nullptr) << end - data;
                EXPECT_EQ(clip.m_keys != nullptr,
                          end - data == static_cast<std::ptrdiff_t>(record.size()) - 1);
            });
            test::ForEachByteChange(record, [&](const Bytes& changed) {
                vlClipData clip;
                if (!Read(clip, changed.data(), changed.data() + changed.size(), version))
                    return;
                const Bytes written = Written(clip, version);
                vlClipData again;
                ASSERT_TRUE(ReadWhole(again, written, version));
                if (version >= 0x50002) {  // ticks of times below 0 move
                    EXPECT_EQ(Written(again, version), written);
                }
            });
        }
    }
}

TEST(vlClipData, WhatDisagreesIsNotWritten)
{
    const struct {
        const char* reason;
        std::uint8_t layout;
        void (*edit)(vlClipData& clip);
    } cases[] = {
        {"bone 0: 2 keys, but times for 3", 0, [](vlClipData& c) { c.m_keyTimes->AddKeyTime(99); }},
        {"no list holds the key times", 0, [](vlClipData& c) { c.m_keyTimes.reset(); }},
        {"bone 1: 1 keys, but times for 2", 1, [](vlClipData& c) { c.m_boneKeyCounts[1] = 2; }},
        {"bone 1: no array holds the key times", 1, [](vlClipData& c) { c.m_boneKeyTimes[1].reset(); }},
        {"bone 0: no array holds the position keys", 1, [](vlClipData& c) { c.m_keys[0].m_pos.reset(); }},
        {"bone 1: 5 keys, but times for 1", 1, [](vlClipData& c) { c.m_keys[1].m_keyCount = 5; }},
        {"no array holds the keys", 1, [](vlClipData& c) { c.m_keys.reset(); }},
        {"no array holds the bone names", 1, [](vlClipData& c) { c.m_boneNames.reset(); }},
    };
    for (const auto& c : cases) {
        vlClipData clip;
        ASSERT_TRUE(ReadWhole(clip, test::ClipRecord(0x60001, c.layout), 0x60001));
        c.edit(clip);
        test::LogCapture log;
        EXPECT_EQ(clips::WhyUnwritable(clip, 0x60001), c.reason);
        EXPECT_LE(Written(clip, 0x60001).size(), 145U) << "info and pivot flag at most";
        EXPECT_EQ(log.lines, Lines{std::string("E clip can't be written: ") + c.reason});
    }
    vlClipData shared;
    ASSERT_TRUE(ReadWhole(shared, test::ClipRecord(0x50003, 0), 0x50003));
    EXPECT_EQ(clips::WhyUnwritable(shared, 0x50003), "");
    EXPECT_EQ(clips::WhyUnwritable(shared, 0x50002), "its version has key times per bone only");
}

TEST(vlClipData, KeyCountsThatAreNotSetFollowTheTimes)
{
    vlClipData clip;
    ASSERT_TRUE(ReadWhole(clip, test::ClipRecord(0x50001), 0x50001));
    clip.m_keys[0].m_keyCount = 0;
    clip.m_keys[0].m_compressFlags = KEY_PACKED_ROT32;  // no form of this version
    EXPECT_EQ(Written(clip, 0x50001), test::ClipRecord(0x50001).Bytes());
}

TEST(vlClipData, Ticks)
{
    const struct {
        float time;
        std::int32_t tick;
    } times[] = {{1.0F, 5},
                 {10.0F, 48},
                 {1.0416666F, 5},
                 {0.0F, 0},
                 {-10.0F, -47},
                 {4.4e8F, 2112000128},
                 {4.5e8F, INT32_MIN},
                 {-4.5e8F, INT32_MIN},
                 {std::numeric_limits<float>::quiet_NaN(), INT32_MIN},
                 {std::numeric_limits<float>::infinity(), INT32_MIN}};
    for (const auto& c : times)
        EXPECT_EQ(clips::TimeToTick(c.time), c.tick) << c.time;
    EXPECT_EQ(clips::TickToTime(48), 10.0F);
    EXPECT_EQ(clips::TickToTime(5), 1.0416666F);
    EXPECT_LT(clips::TickToTime(-1), 0.0F);
    int moved = 0;
    for (std::int32_t tick = 0; tick < 1 << 20; ++tick)
        moved += clips::TimeToTick(clips::TickToTime(tick)) != tick;
    EXPECT_EQ(moved, 0) << "of a million ticks";
}

TEST(vlClipData, InitBoneKeysSpreadsTheTimes)
{
    vlKeyTimes times;
    times.SetKeyTimes(3, 100U);
    std::uint16_t counts[2] = {};
    std::shared_ptr<float[]> arrays[2];
    InitBoneKeys(2, &times, counts, arrays);
    EXPECT_EQ(counts[1], 3);
    EXPECT_NE(arrays[0], arrays[1]);
    EXPECT_EQ(arrays[1][2], 100.0F);
    times.ClearTimes();
    InitBoneKeys(1, &times, counts, arrays);
    EXPECT_EQ(counts[0], 0);
}

}  // namespace vela::vlgim
