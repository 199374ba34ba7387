#include "support/AnimBytes.h"
#include "support/Files.h"
#include "support/LogCapture.h"

#include <vlgim/vlTrackData.h>

#include <gtest/gtest.h>

namespace vela::vlgim {

namespace {

using Bytes = std::vector<unsigned char>;
using Lines = std::vector<std::string>;
using test::ByteBuilder;

ByteBuilder Header(std::uint32_t version = 0x10001, std::uint16_t word = 256)
{
    return ByteBuilder().Raw({'V', 'T', 'R', 'K'}).U32(version).U16(word);
}

Bytes Written(vlTrackData& track)
{
    return test::Written([&](std::FILE* stream) { track.WriteData(stream); });
}

class vlTrackDataTest : public test::FolderTest {
protected:
    bool Load(const Bytes& file)
    {
        log.lines.clear();
        return track.Load(Write("a.track", std::string(file.begin(), file.end())).c_str());
    }

    bool ReadBlock(const Bytes& block)
    {
        const unsigned char* end = block.data() + block.size();
        return track.ReadData(block.data(), end) == end;
    }

    vlTrackData track;
    test::LogCapture log;
};

const Bytes kFile = Header().Raw(test::TrackBlock());

}  // namespace

TEST_F(vlTrackDataTest, LoadsAFileAndSavesTheSameBytes)
{
    ASSERT_TRUE(Load(kFile));
    EXPECT_EQ(track.m_version, 0x10001U);
    EXPECT_STREQ(track.m_name, "door");
    EXPECT_EQ(track.m_options[3], 6);
    EXPECT_EQ(track.m_flags, 5);
    EXPECT_EQ(track.GetKeyCount(), 2);
    EXPECT_EQ(track.m_times.GetKeyTime(2), 4.0F) << "the trailing time";
    ASSERT_EQ(track.m_channelCount, 2);
    EXPECT_EQ(track.m_channels[1].m_keyCount, 2);
    EXPECT_EQ(track.m_channels[1].m_pos[0], -1.0F);

    track.m_channels[0].m_compressFlags = KEY_HALF_SCALE;  // of another container; a track has full floats
    track.m_channels[1].m_keyCount = 0;                    // not set: the times decide
    track.m_version = 7;
    track.Save(Path("b.track").c_str());
    EXPECT_EQ(Read(Path("b.track")), std::string(kFile.begin(), kFile.end()));

    const vlTrackData copy = track;
    ASSERT_TRUE(Load(Header().Fill(42, 0)));
    EXPECT_EQ(track.m_channelCount, 0) << "a second load replaces the first";
    EXPECT_EQ(copy.m_channels[1].m_pos[5], 6.0F);
    EXPECT_EQ(log.lines, Lines{});
}

TEST_F(vlTrackDataTest, GateAndDamage)
{
    const auto cut = [](std::ptrdiff_t size) { return Bytes(kFile.begin(), kFile.begin() + size); };
    const std::string bad = "E Bad format in track file " + Path("a.track") + "!";
    const std::string file = "E Track file " + Path("a.track");
    const std::string damaged = "E track file is damaged: ";
    const struct {
        Bytes file;
        std::uint32_t version;  // what is left of the file
        Lines log;
    } cases[] = {
        {{}, 3, {bad}},
        {Bytes{'V', 'T', 'R', 'C', 0, 0, 2, 0}, 3, {bad}},
        {Header(0xFFFF, 7), 0xFFFF, {file + " version too old!"}},
        {Header(0x10002), 0x10002, {file + " version too new!"}},
        {Header(0x10001, 1), 0x10001, {bad}},
        {cut(6), 3, {damaged + "header at byte 4 needs 4, and 2 is left", bad}},
        {cut(9), 0x10001, {damaged + "header at byte 8 needs 2, and 1 is left", bad}},
        {cut(54), 0x10001, {damaged + "track at byte 50 needs 8, and 4 is left", bad}},
        {cut(118), 0x10001, {damaged + "channel 1 at byte 116 needs 4, and 2 is left", bad}},
    };
    for (const auto& c : cases) {
        track.m_version = 3;
        EXPECT_FALSE(Load(c.file));
        EXPECT_EQ(log.lines, c.log);
        EXPECT_EQ(track.m_version, c.version) << log.lines[0];
        EXPECT_EQ(track.m_channels, nullptr) << log.lines[0];
    }
    log.lines.clear();
    EXPECT_FALSE(track.Load(Path("none").c_str()));
    EXPECT_FALSE(track.Load(folder.c_str()));
    EXPECT_EQ(log.lines, (Lines{"E Track file " + Path("none") + " is not found!",
                                "E Bad format in track file " + folder.string() + "!"}));
}

TEST_F(vlTrackDataTest, FlagWordsOfTheOldVersion)
{
    const struct {
        std::uint32_t version;
        std::uint16_t stored, read;
    } cases[] = {{0x10000, 5, 0xB007}, {0x10000, 0, 0}, {0x10001, 5, 5}, {0, 1, 0xB007}};
    for (const auto& c : cases) {
        track.m_version = c.version;
        EXPECT_TRUE(ReadBlock(test::TrackBlock(c.stored)));
        EXPECT_EQ(Written(track), test::TrackBlock(c.read).Bytes()) << c.version << ' ' << c.stored;
    }
}

TEST_F(vlTrackDataTest, HeaderAlone)
{
    EXPECT_EQ(track.ReadHeader(nullptr), nullptr);
    EXPECT_EQ(track.ReadHeader(kFile.data()), kFile.data() + 10);
    const Bytes wrongWord = Header(0x777, 1);
    EXPECT_EQ(track.ReadHeader(wrongWord.data(), wrongWord.data() + 9), nullptr);
    EXPECT_EQ(track.m_version, 0x10001U);
    EXPECT_EQ(track.ReadHeader(wrongWord.data()), nullptr);
    EXPECT_EQ(track.m_version, 0x777U);
}

TEST_F(vlTrackDataTest, NamesEndAtANulOrAtTheirField)
{
    const Bytes block = test::TrackBlock();
    EXPECT_TRUE(ReadBlock(test::With(block, 0, Bytes(32, 'x'))));
    EXPECT_EQ(Written(track), test::With(test::With(block, 0, Bytes(32, 'x')), 31, {0}));
    EXPECT_TRUE(ReadBlock(test::With(block, 2, {0})));
    EXPECT_EQ(Written(track), test::With(block, 2, {0, 0}));
}

TEST_F(vlTrackDataTest, EveryPrefixAndEveryChangedByte)
{
    const Bytes block = test::TrackBlock();
    track.m_flags = 77;
    test::ForEachPrefix(block, [&](const unsigned char* data, const unsigned char* end) {
        EXPECT_EQ(track.ReadData(data, end), nullptr) << end - data;
        EXPECT_EQ(track.m_flags, 77);
    });
    test::ForEachByteChange(block, [&](const Bytes& changed) {
        if (track.ReadData(changed.data(), changed.data() + changed.size())) {
            const Bytes written = Written(track);
            ASSERT_TRUE(ReadBlock(written));
            EXPECT_EQ(Written(track), written);
        }
    });
}

TEST_F(vlTrackDataTest, WhatDisagreesIsNotWritten)
{
    const std::pair<const char*, void (*)(vlTrackData&)> cases[] = {
        {"channel 0: 2 keys, but times for 3", [](vlTrackData& t) { t.m_times.AddKeyTime(9); }},
        {"channel 0: 2 keys, but times for 0", [](vlTrackData& t) { t.m_times.ClearTimes(); }},
        {"channel 1: no array holds the scale keys", [](vlTrackData& t) { t.m_channels[1].m_scale.reset(); }},
        {"no array holds its channels", [](vlTrackData& t) { t.m_channels.reset(); }},
    };
    const std::string path = Write("old.track", "old");
    for (const auto& [reason, edit] : cases) {
        ASSERT_TRUE(Load(kFile));
        edit(track);
        EXPECT_EQ(Written(track), Bytes());
        track.Save(path.c_str());
        EXPECT_EQ(Read(path), "old");
        EXPECT_EQ(log.lines, (Lines{std::string("E track can't be written: ") + reason,
                                    "E track file " + path + " can't be written: " + reason}));
    }
    ASSERT_TRUE(Load(kFile));
    track.Save(Path("none/a.track").c_str());
    EXPECT_EQ(log.lines, Lines{"E unable to open " + Path("none/a.track")});
}

TEST_F(vlTrackDataTest, ChannelsOfFourBytesAreReadWhateverTheirCount)
{
    ByteBuilder block;
    block.Fill(38, 0).U16(0).U16(0xFFFF);
    for (int i = 0; i < 0xFFFF; ++i)
        block.U8(1).U8(1).U8(1).U8(0);  // keyed by no keys
    EXPECT_TRUE(ReadBlock(block));
    EXPECT_EQ(Written(track), block.Bytes());
}

}  // namespace vela::vlgim
