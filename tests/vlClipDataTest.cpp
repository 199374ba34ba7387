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

struct VersionAndLayout {
    std::uint32_t version;
    std::uint8_t layout;
};

constexpr VersionAndLayout kForms[] = {{0x50000, 1}, {0x50001, 1},   {0x50002, 1}, {0x50003, 0},
                                       {0x50003, 1}, {0x50004, 255}, {0x50005, 0}, {0x60000, 1},
                                       {0x60001, 0}, {0x60001, 1},   {0x60001, 2}, {0x60001, 255}};

}  // namespace

TEST(vlClipData, EachVersionAndLayoutIsReadAndWrittenBack)
{
    for (const auto& [version, layout] : kForms) {
        SCOPED_TRACE(std::to_string(version) + ' ' + std::to_string(layout));
        const Bytes record = test::ClipRecord(version, layout);
        vlClipData clip;
        ASSERT_TRUE(ReadWhole(clip, record, version));
        EXPECT_STREQ(clip.m_name2, "second");
        ASSERT_EQ(clip.m_boneCount, 2);
        EXPECT_STREQ(clip.m_boneNames[1], "Head");
        EXPECT_EQ(clip.m_boneNameIds[1], NameIDMurmur3("Head"));
        EXPECT_EQ(clip.m_attrWord, version >= 0x50004 ? 0x01020304U : 0U);
        EXPECT_EQ(clip.m_attrShort, 7);
        EXPECT_EQ(clip.m_compressFlags, version >= 0x50002 ? 0 : 255);
        EXPECT_EQ(clip.m_keyLayout, layout);
        EXPECT_EQ(clip.m_keyTimes != nullptr, layout == 0);
        EXPECT_EQ(clip.m_boneKeyTimes[1] != nullptr, layout == 1);
        ASSERT_NE(clip.m_keys, nullptr);
        EXPECT_EQ(clip.m_length, layout < 2 ? 10.0F : 0.0F);
        EXPECT_EQ(clip.m_maxKeys, layout < 2 ? 2 : 0);
        if (layout < 2) {
            EXPECT_EQ(clip.m_keys[1].m_pos[0], 7.0F);
            EXPECT_EQ(layout == 1 ? clip.m_boneKeyTimes[0][0] : clip.m_keyTimes->GetKeyTime(0), 1.0416666F);
            clip.m_keys[0].m_keyCount = 0;                      // not set: the times decide
            clip.m_keys[0].m_compressFlags = KEY_PACKED_ROT32;  // the clip decides
        }
        EXPECT_EQ(Written(clip, version), record);
    }
}

TEST(vlClipData, CompressFlagsHoldForEveryBone)
{
    ByteBuilder record = test::ClipInfo(0x60001, "a", {"x", "y"}, 1, KEY_HALF_SCALE | KEY_PACKED_ROT48);
    for (int bone = 0; bone < 2; ++bone) {
        record.U16(1).F32(0).U8(0).U8(0).U8(0).U8(0).F32s({1, 2, 3});
        record.U16s({0x76A0, 0x6D40, 0x6D40}).U16s({0x3C00, 0x4000, 0x3800});
    }
    vlClipData clip;
    ASSERT_TRUE(ReadWhole(clip, record.U8(0), 0x60001));
    EXPECT_EQ(clip.m_keys[1].m_scale[1], 2.0F);
    EXPECT_EQ(Written(clip, 0x60001), record.Bytes());
}

TEST(vlClipData, PivotTracksArePassedOver)
{
    const Bytes pivot = ByteBuilder().U8(3).U32(0x10000).Raw(test::TrackBlock());
    EXPECT_EQ(vlClipData::ReadPivotTrack(pivot.data(), pivot.data() + pivot.size()), &pivot.back() + 1);
    test::ForEachPrefix(pivot, [](const unsigned char* data, const unsigned char* end) {
        EXPECT_EQ(vlClipData::ReadPivotTrack(data, end), nullptr) << end - data;
    });

    vlClipData clip;
    EXPECT_FALSE(HasPivotTrack(clip));
    const auto track = clip.m_pivotTrack = std::make_shared<vlTrackData>();
    track->m_channels = std::make_shared<vlTransKeysData[]>(2);
    track->m_channelCount = 2;
    track->m_flags = 0xF7FF;
    EXPECT_FALSE(HasPivotTrack(clip));
    track->m_channels[1].m_scaleKeyed = 1;
    EXPECT_TRUE(HasPivotTrack(clip));
    track->m_channels.reset();
    track->m_flags = 0x800;
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
    EXPECT_EQ(clip.ReadAsyncBaseInfo(record.data(), 0, record.data() + 1107), nullptr);
    EXPECT_EQ(clip.ReadAsyncBaseInfo(record.data(), 0, record.data() + 1108), record.data() + 1108);
    EXPECT_EQ(clip.m_boneNameIds[254], 1254);
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
    for (const std::uint16_t count : {std::uint16_t{255}, std::uint16_t{256}}) {
        const bool fits = count == 255;
        const Bytes record = test::ClipInfo(0x60001, "a", std::vector<std::string_view>(count, "b"), 9);
        const unsigned char* end = record.data() + record.size();
        const Bytes base = test::With(test::BaseInfo("a"), 64, ByteBuilder().U16(count));
        vlClipData clip;
        EXPECT_EQ(clip.ReadClipInfo(record.data(), 0x60001, end), fits ? end : nullptr);
        EXPECT_EQ(clip.ReadAsyncBaseInfo(base.data(), 0x60001) != nullptr, fits);
        EXPECT_EQ(clip.m_boneCount, fits ? 255 : 0);
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
    for (const auto& form : {VersionAndLayout{0x50001, 1}, {0x60001, 0}, {0x60001, 1}}) {
        const std::uint32_t version = form.version;
        const Bytes record = test::ClipRecord(version, form.layout);
        test::ForEachPrefix(record, [&](const unsigned char* data, const unsigned char* end) {
            vlClipData clip;
            EXPECT_EQ(Read(clip, data, end, version), nullptr) << end - data;
            EXPECT_EQ(clip.m_keys != nullptr, end - data == std::ptrdiff_t(record.size()) - 1);
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

TEST(vlClipData, WhatDisagreesIsNotWritten)
{
    const struct {
        const char* reason;
        std::uint8_t layout;
        std::size_t size;  // of what is written all the same: clip info and pivot track, or one of them
        void (*edit)(vlClipData& clip);
    } cases[] = {
        {"bone 0: 2 keys, but times for 3", 0, 145, [](vlClipData& c) { c.m_keyTimes->AddKeyTime(99); }},
        {"no list holds the key times", 0, 145, [](vlClipData& c) { c.m_keyTimes.reset(); }},
        {"bone 1: 1 keys, but times for 2", 1, 145, [](vlClipData& c) { c.m_boneKeyCounts[1] = 2; }},
        {"bone 1: no array holds the key times", 1, 145, [](vlClipData& c) { c.m_boneKeyTimes[1].reset(); }},
        {"no array holds the keys", 1, 145, [](vlClipData& c) { c.m_keys.reset(); }},
        {"no array holds the bone names", 255, 1, [](vlClipData& c) { c.m_boneNames.reset(); }},
    };
    for (const auto& c : cases) {
        vlClipData clip;
        ASSERT_TRUE(ReadWhole(clip, test::ClipRecord(0x60001, c.layout), 0x60001));
        c.edit(clip);
        const test::LogCapture log;
        EXPECT_EQ(clips::WhyUnwritable(clip, 0x60001), c.reason);
        EXPECT_EQ(Written(clip, 0x60001).size(), c.size);
        EXPECT_EQ(log.lines, Lines{std::string("E clip can't be written: ") + c.reason});
    }
    vlClipData shared;
    ASSERT_TRUE(ReadWhole(shared, test::ClipRecord(0x50003, 0), 0x50003));
    EXPECT_EQ(clips::WhyUnwritable(shared, 0x50003), "");
    EXPECT_EQ(clips::WhyUnwritable(shared, 0x50002), "its version has key times per bone only");
}

TEST(vlClipData, Ticks)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const std::pair<float, std::int32_t> times[] = {{1.0F, 5},
                                                    {10.0F, 48},
                                                    {0.0F, 0},
                                                    {-10.0F, -47},
                                                    {4.4e8F, 2112000128},
                                                    {4.5e8F, INT32_MIN},
                                                    {-4.5e8F, INT32_MIN},
                                                    {NAN, INT32_MIN},
                                                    {infinity, INT32_MIN}};
    for (const auto& [time, tick] : times)
        EXPECT_EQ(clips::TimeToTick(time), tick) << time;
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
}

}  // namespace vela::vlgim
