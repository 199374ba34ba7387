#include "support/AnimBytes.h"
#include "support/Blocks.h"
#include "support/Files.h"

#include <vlgim/vlTrackData.h>

namespace vela::vlgim::test {

namespace {

ByteBuilder Header(std::uint32_t version = 0x10001, std::uint16_t word = 256)
{
    return ByteBuilder().Raw({'V', 'T', 'R', 'K'}).U32(version).U16(word);
}

const Bytes kBlock = TrackBlock();
const Bytes kFile = Header().Raw(kBlock);

class vlTrackDataTest : public FolderTest {
protected:
    bool Load(const Bytes& file)
    {
        log.lines.clear();
        return track.Load(Write("a.track", AsString(file)).c_str());
    }

    vlTrackData track;
    LogCapture log;
};

}  // namespace

TEST_F(vlTrackDataTest, LoadsAFileAndSavesTheSameBytes)
{
    ASSERT_TRUE(Load(kFile));
    EXPECT_EQ(track.m_times.GetKeyTime(2), 4.0F) << "the trailing time";
    track.m_channels[0].m_compressFlags = KEY_HALF_SCALE;  // of another container; a track has full floats
    track.m_channels[1].m_keyCount = 0;                    // not set: the times decide
    track.m_version = 7;
    track.Save(Path("b.track").c_str());
    EXPECT_EQ(Read(Path("b.track")), AsString(kFile));
    ASSERT_TRUE(Load(Header().Fill(42, 0)));
    EXPECT_EQ(track.m_channelCount, 0) << "a second load replaces the first";
    EXPECT_EQ(log.lines, Lines{});
}

TEST_F(vlTrackDataTest, GateAndDamage)
{
    const std::string bad = "E Bad format in track file " + Path("a.track") + "!";
    const std::string file = "E Track file " + Path("a.track");
    const std::string cut = "E track file is damaged: header at byte ";
    const std::tuple<Bytes, std::uint32_t, Lines> cases[] = {
        // The file, the version that is left, the log.
        {Bytes{'V', 'T', 'R', 'C', 0, 0, 2, 0}, 3, {bad}},
        {Header(0xFFFF, 7), 0xFFFF, {file + " version too old!"}},
        {Header(0x10002), 0x10002, {file + " version too new!"}},
        {Header(0x10001, 1), 0x10001, {bad}},
        {Prefix(kFile, 6), 3, {cut + "4: needs 4 bytes, but the file has 2 left", bad}},
        {Prefix(kFile, 9), 0x10001, {cut + "8: needs 2 bytes, but the file has 1 left", bad}},
    };
    for (const auto& [bytes, version, lines] : cases) {
        track.m_version = 3;
        EXPECT_FALSE(Load(bytes));
        EXPECT_EQ(log.lines, lines);
        EXPECT_EQ(std::tuple(track.m_version, track.m_channels), std::tuple(version, nullptr)) << lines[0];
    }
    log.lines.clear();
    EXPECT_FALSE(track.Load(Path("none").c_str()));
    EXPECT_FALSE(track.Load(folder.c_str()));
    EXPECT_EQ(log.lines, (Lines{"E Track file " + Path("none") + " is not found!",
                                "E Bad format in track file " + folder.string() + "!"}));
}

TEST_F(vlTrackDataTest, HeaderAlone)
{
    EXPECT_EQ(track.ReadHeader(kFile.data()), kFile.data() + 10);
    const Bytes wrongWord = Header(0x777, 1);
    EXPECT_EQ(track.ReadHeader(wrongWord.data()), nullptr);
    EXPECT_EQ(track.ReadHeader(kFile.data(), kFile.data() + 9), nullptr);
    EXPECT_EQ(track.m_version, 0x777U) << "of the last header that was whole";
}

TEST_F(vlTrackDataTest, Blocks)
{
    const Bytes full = With(kBlock, 0, Bytes(32, 'x'));
    const std::tuple<std::uint32_t, Bytes, Bytes> cases[] = {
        {0x10000, kBlock, TrackBlock(0xB007)},  // one set of flags, or none, were in the old version
        {0x10000, TrackBlock(0), TrackBlock(0)},
        {0, TrackBlock(1), TrackBlock(0xB007)},
        {0x10001, full, With(full, 31, {0})},
        {0x10001, With(kBlock, 2, {0}), With(kBlock, 2, {0, 0})}};  // a name ends at a NUL
    for (const auto& [version, block, written] : cases) {
        track.m_version = version;
        EXPECT_EQ(track.ReadData(block.data(), block.data() + block.size()), block.data() + block.size());
        EXPECT_TRUE(Written(track) == written) << version;
    }
    ExpectWhole(track, kBlock, &vlTrackData::ReadData);
    ExpectLiesReadBack(vlTrackData(), kBlock, &vlTrackData::ReadData);
}

TEST_F(vlTrackDataTest, WhatDisagreesIsNotWritten)
{
    ASSERT_TRUE(Load(kFile));
    ASSERT_TRUE(track.m_times.AddKeyTime(9));
    EXPECT_EQ(Written(track), Bytes());
    const std::string path = Write("old.track", "old");
    track.m_channels = nullptr;
    track.Save(path.c_str());
    EXPECT_EQ(Read(path), "old");
    EXPECT_EQ(log.lines,
              (Lines{"E track can't be written: channel 0: the positions have 6 entries, but 9 are needed",
                     "E track file " + path + " can't be written: the channels are missing"}));
}

}  // namespace vela::vlgim::test
