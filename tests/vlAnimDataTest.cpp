#include "support/AnimBytes.h"
#include "support/Files.h"
#include "support/LogCapture.h"

#include <nameid/NameID.h>
#include <vlgim/vlAnimData.h>

#include <gtest/gtest.h>

#include <cstring>
#include <map>

namespace vela::vlgim {

namespace {

using Bytes = std::vector<unsigned char>;
using Lines = std::vector<std::string>;
using test::ByteBuilder;

ByteBuilder Header(std::uint32_t word, std::uint16_t clipCount)
{
    return ByteBuilder().Raw({'R', 'G', 'I', 'S'}).U32(word).U16(clipCount);
}

// Bones "root" and "hip" at (1, 2, 3) and (10, 20, 30), not turned, of scale 2.
ByteBuilder Skeleton(const char* second = "hip")
{
    ByteBuilder bones;
    bones.U32(2).Raw(test::Name("root")).Raw(test::Name(second));
    bones.F32s({1, 2, 3, 0, 0, 0, 1, 2, 2, 2});
    return bones.F32s({10, 20, 30, 0, 0, 0, 1, 2, 2, 2});
}

// A file of two clips in it.
Bytes PlainFile(std::uint32_t version)
{
    ByteBuilder file = Header(version, 2);
    if (version >= 0x60000)
        file.Raw(Skeleton()).U32(0);
    file.Raw(test::ClipRecord(version));
    return file.Raw(test::ClipRecord(version, version >= 0x50003 ? 0 : 1, "Run"));
}

// A 6.1 file of clips in side files.
Bytes AsyncFile(const std::vector<std::string_view>& names, std::uint32_t baseInfoSize = 1108)
{
    ByteBuilder file = Header(0x60001, static_cast<std::uint16_t>(names.size()));
    file.Raw(Skeleton()).U32(1).U32(baseInfoSize);
    for (const std::string_view name : names)
        file.Raw(test::BaseInfo(name));
    return file;
}

std::string Text(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

class vlAnimDataTest : public test::FolderTest {
protected:
    bool Read(const Bytes& file, const std::string& path = "a.gis")
    {
        log.lines.clear();
        return anim.ReadAnimationFile(file.data(), static_cast<std::uint32_t>(file.size()), path);
    }

    Bytes Written()
    {
        return test::Written([&](std::FILE* stream) {
            result = anim.WriteAnimationFile(stream, [](const char*) { return nullptr; });
        });
    }

    void WriteClip(const std::string& name)
    {
        Write("m/hero_gis/" + name + ".gis", Text(test::ClipRecord(0x60001, 1, name)));
    }

    std::string Hero() const { return Path("m/hero.gis"); }
    std::string Side(const std::string& name) const { return Path("m/hero_gis/" + name + ".gis"); }

    vlAnimData anim;
    int result = -9;
    test::LogCapture log;
};

const char* const kBadFile = "E Bad format in skeletal animation file!";
const char* const kBad5 = "E Bad format in skeletal animation, version 5.x!";

}  // namespace

TEST_F(vlAnimDataTest, EachVersionIsReadAndWrittenBack)
{
    const std::pair<std::uint32_t, std::uint32_t> infoSizes[] = {
        // of two bones
        {0x50000, 138}, {0x50001, 138}, {0x50002, 139}, {0x50003, 140},
        {0x50004, 144}, {0x500FF, 144}, {0x60000, 144}, {0x60001, 144}};
    for (const auto& [version, infoSize] : infoSizes) {
        SCOPED_TRACE(version);
        const bool hasSkeleton = version >= 0x60000;
        const Bytes file = PlainFile(version);
        ASSERT_TRUE(Read(file, "no dot"));
        EXPECT_EQ(anim.m_version, version);
        EXPECT_EQ(anim.m_path, "no dot");
        EXPECT_EQ(anim.m_boneCount, hasSkeleton ? 2U : 0U);
        EXPECT_EQ(anim.m_boneNames != nullptr, hasSkeleton);
        ASSERT_EQ(anim.m_clips.size(), 2U);
        EXPECT_EQ(anim.m_clips[0]->m_keysOffset, (hasSkeleton ? 154U : 2U) + infoSize);
        EXPECT_STREQ(anim.m_clips[1]->m_name, "Run");
        EXPECT_EQ(anim.m_clips[1]->m_keys[1].m_pos[2], 9.0F);
        if (hasSkeleton) {
            EXPECT_EQ(anim.m_boneNameIds[1], NameIDMurmur3("hip"));
            EXPECT_EQ(anim.m_boneTrans[1].m_pos.z, 30.0F);
            EXPECT_EQ(anim.m_boneTrans[0].m_scale.x, 2.0F);
        }
        EXPECT_EQ(Written(), file);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(log.lines, Lines{});
    }
}

TEST_F(vlAnimDataTest, Gate)
{
    const char* const branch = "E Skeletal animation file version is not suitable for current branch!";
    const char* const old = "E Skeletal animation file version too old!";
    const char* const tooNew = "E Skeletal animation file version too new!";
    const struct {
        std::uint32_t word, length, version;  // length 0: as it is
        Lines log;
    } cases[] = {
        {0x03060001, 0, 0x60001, {}},
        {0x04050000, 0, 0x50000, {}},
        {0x05060001, 0, 0x05060001, {branch, kBadFile}},
        {0x05010000, 0, 0x05010000, {branch, kBadFile}},
        {0x0001FFFF, 0, 0x1FFFF, {old, kBadFile}},
        {0x03000000, 0, 0x03000000, {old, kBadFile}},
        {0x00060002, 0, 0x60002, {tooNew, kBadFile}},
        {0x00020000, 0, 0x20000, {"E Bad format in skeletal animation, version 2.x!"}},
        {0x0003FFFF, 0, 0x3FFFF, {"E Bad format in skeletal animation, version 3.x!"}},
        {0x0104FFFF, 0, 0x4FFFF, {"E Bad format in skeletal animation, version 4.x!"}},
        {0x00060001, 39, 0x60001, {kBadFile}},
        {0x00060001, 7, 0, {kBadFile}},
        {0x00060001, 0x80000000, 0, {kBadFile}},
        {0x00060001, 0xFFFFFFFF, 0, {kBadFile}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.word << ' ' << c.length);
        Bytes file = PlainFile(c.version == 0x50000 ? 0x50000 : 0x60001);
        std::memcpy(&file[4], &c.word, 4);
        log.lines.clear();
        const auto length = c.length ? c.length : static_cast<std::uint32_t>(file.size());
        EXPECT_EQ(anim.ReadAnimationFile(file.data(), length, "a.gis"), c.log.empty());
        EXPECT_EQ(anim.m_version, c.version);
        EXPECT_EQ(anim.m_path, "a.gis");
        EXPECT_EQ(anim.m_clips.empty(), !c.log.empty());
        EXPECT_EQ(log.lines, c.log);
    }
    EXPECT_FALSE(anim.ReadAnimationFile(nullptr, 0, ""));
    EXPECT_FALSE(Read(Bytes(40, 'R')));
    ASSERT_TRUE(Read(Header(0x60001, 0).Raw(Skeleton()).U32(0)));
    EXPECT_EQ(Written().size(), 8U + 2 + 4 + 144 + 4);
}

TEST_F(vlAnimDataTest, DamageIsToldOnceAndLeavesNothing)
{
    const Bytes plain = PlainFile(0x60001);
    const auto cut = [](Bytes bytes, std::size_t size) {
        bytes.resize(size);
        return bytes;
    };
    const auto with = [](Bytes bytes, std::size_t at, unsigned char byte) {
        bytes[at] = byte;
        return bytes;
    };
    const std::pair<Bytes, std::string> cases[] = {
        {cut(plain, 60), "bones at byte 14 needs 64, and 46 is left"},
        {with(with(plain, 10, 0), 11, 1), "bones at byte 14 needs 256, and 255 is left"},
        {cut(plain, 310), "clip 0: bone 0 at byte 308 needs 8, and 2 is left"},
        {with(plain, 227, 2), "clip 0: clip info at byte 228 needs 514, and 255 is left"},
        {cut(plain, plain.size() - 1),
         "clip 1: pivot track at byte " + std::to_string(plain.size() - 1) + " needs 1, and 0 is left"},
        {Header(0x60000, 0xFFFF).Raw(Skeleton()).U32(1), ""},
    };
    for (const auto& [file, message] : cases) {
        ASSERT_TRUE(Read(plain));
        EXPECT_FALSE(Read(file));
        EXPECT_TRUE(anim.m_clips.empty());
        EXPECT_EQ(anim.m_boneNames, nullptr);
        EXPECT_EQ(anim.m_boneCount + anim.m_async, 0U);
        ASSERT_EQ(log.lines.size(), 2U);
        EXPECT_EQ(log.lines[0].substr(0, 23 + message.size()), "E gis file is damaged: " + message);
        EXPECT_EQ(log.lines[1], kBad5);
    }
}

TEST_F(vlAnimDataTest, EveryPrefixAndEveryChangedByte)
{
    const Bytes files[] = {PlainFile(0x50001), PlainFile(0x60001), AsyncFile({"none"})};
    for (const Bytes& file : files) {
        test::ForEachPrefix(file, [&](const unsigned char* data, const unsigned char* end) {
            log.lines.clear();
            EXPECT_FALSE(anim.ReadAnimationFile(data, static_cast<std::uint32_t>(end - data), Hero()));
            EXPECT_TRUE(anim.m_clips.empty());
            EXPECT_EQ(log.lines.size(), end - data < 40 ? 1U : 2U) << end - data;
        });
        test::ForEachByteChange(file, [&](const Bytes& changed) {
            if (!Read(changed, Hero()))
                return;
            const Bytes written = Written();
            if (result == 0 && anim.m_version >= 0x50002) {  // ticks of times below 0 move
                ASSERT_TRUE(Read(written, Hero()));
                EXPECT_EQ(Written(), written);
            }
        });
    }
}

TEST_F(vlAnimDataTest, SkeletonNames)
{
    Bytes file = Header(0x60001, 0).Raw(Skeleton("HIP")).U32(0);
    std::fill_n(&file[14], 32, static_cast<unsigned char>('B'));
    ASSERT_TRUE(Read(file));
    EXPECT_EQ(log.lines, Lines{"E incorrect gis file!"});
    EXPECT_EQ(anim.m_boneNameIds[0], NameIDMurmur3(std::string_view("bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb")));
    EXPECT_STREQ(anim.m_boneNames[1], "hip");
    EXPECT_EQ(anim.m_boneNameIds[1], NameIDMurmur3("hip"));
    std::fill_n(&file[14], 32, static_cast<unsigned char>('b'));
    std::memcpy(&file[46], "hip", 3);
    EXPECT_EQ(Written(), file);

    file = Header(0x60001, 0).U32(255).Fill(std::size_t{255} * 72, 0).U32(0);
    ASSERT_TRUE(Read(file)) << "as many bones as there is room for";
    EXPECT_EQ(Written(), file);
}

TEST_F(vlAnimDataTest, SideFilesAreReadAndWrittenAsASet)
{
    for (const char* name : {"walk", "Run", "x"})
        WriteClip(name);
    const Bytes file = AsyncFile({"walk", "Run", "x"}, 7);
    ASSERT_TRUE(Read(file, Hero()));
    EXPECT_EQ(log.lines, Lines{});
    EXPECT_EQ(anim.m_async, 1U);
    EXPECT_EQ(anim.m_clips[1]->m_keysOffset, 144U);
    EXPECT_EQ(anim.m_clips[1]->m_boneNameIds[0], NameIDMurmur3("hip"));
    EXPECT_EQ(anim.m_clips[1]->m_boneNameIds[2], 1002);

    Write("n/other.gis", "old");
    for (const char* name : {"walk", "Run", "x"})
        std::filesystem::remove(Side(name));
    EXPECT_EQ(anim.WriteAnimationFile(Path("n/other.gis").c_str()), 0);
    EXPECT_EQ(FolderTest::Read(Side("Run")), Text(test::ClipRecord(0x60001, 1, "Run")));
    Bytes expected = AsyncFile({"walk", "Run", "x"});
    const std::int32_t ids[] = {NameIDMurmur3("hip"), NameIDMurmur3("Head")};
    for (std::size_t clip = 0; clip < 3; ++clip)
        std::memcpy(&expected[166 + clip * 1108 + 66], ids, sizeof ids);
    EXPECT_EQ(FolderTest::Read(Path("n/other.gis")), Text(expected));

    // To memory, each clip to the stream of its path.
    std::map<std::string, std::FILE*> sides;
    const Bytes body = test::Written([&](std::FILE* stream) {
        EXPECT_EQ(
            anim.WriteAnimationFile(stream, [&](const char* path) { return sides[path] = std::tmpfile(); }),
            0);
    });
    EXPECT_EQ(body, expected);
    EXPECT_EQ(sides.size(), 3U);
    for (const auto& [path, stream] : sides) {
        EXPECT_EQ(std::ftell(stream), static_cast<long>(FolderTest::Read(path).size()));
        std::fclose(stream);
    }
}

TEST_F(vlAnimDataTest, SideFilesThatAreNotThereOrNotWhole)
{
    const struct {
        const char* what;
        const char* name;  // of clip 1
        Bytes content;
        bool read;
        Lines log;
    } cases[] = {
        {"whole", "b", test::ClipRecord(0x60001, 1, "b"), true, {}},
        {"more behind it", "b", ByteBuilder().Raw(test::ClipRecord(0x60001, 1, "b")).U32(9), true, {}},
        {"missing", "none", {}, true, {}},
        {"empty",
         "b",
         {},
         false,
         {"E gis file is damaged: clip 1 in " + Side("b") + ": clip info at byte 0 needs 64, and 0 is left",
          kBad5}},
        {"a folder", "dir", {}, false, {"E Failed to read file : " + Side("dir") + "\n", kBad5}},
        {"outside",
         "../hero_gis/b",
         {},
         false,
         {"E Failed to read file : " + Side("../hero_gis/b") + "\n", kBad5}},
        {"outside", "x\\..", {}, false, {"E Failed to read file : " + Side("x\\..") + "\n", kBad5}},
        {"below", "sub/b", {}, true, {}},
        {"dots", "a..b", {}, true, {}},
    };
    std::filesystem::create_directories(Side("dir"));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        WriteClip("a");
        Write("m/hero_gis/b.gis", Text(c.content));
        EXPECT_EQ(Read(AsyncFile({"a", c.name, "a"}), Hero()), c.read);
        if (c.read) {
            EXPECT_EQ(anim.m_clips[1] != nullptr, std::string_view(c.name) == "b");
            EXPECT_TRUE(anim.m_clips[0] && anim.m_clips[2]);
        } else {
            EXPECT_TRUE(anim.m_clips.empty());
        }
        EXPECT_EQ(log.lines, c.log);
    }
    const Bytes whole = test::ClipRecord(0x60001, 1, "b");
    for (std::size_t size = 0; size < whole.size(); ++size) {
        Write("m/hero_gis/b.gis",
              Text(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))));
        EXPECT_FALSE(Read(AsyncFile({"b"}), Hero())) << size;
    }
    EXPECT_FALSE(Read(AsyncFile({}), "nodot"));
    EXPECT_EQ(log.lines, (Lines{"E Unable to open seperate animation file nodot", kBad5}));
}

TEST_F(vlAnimDataTest, TheSideFolderEndsAtTheLastDotOfThePath)
{
    Write("my.assets_gis/walk.gis", Text(test::ClipRecord(0x60001)));
    ASSERT_TRUE(Read(AsyncFile({"walk"}), Path("my.assets.old/hero")));
    EXPECT_NE(anim.m_clips[0], nullptr);
}

TEST_F(vlAnimDataTest, SixZeroCountsClipsOfSideFilesAndNoMore)
{
    const Bytes file = Header(0x60000, 3).Raw(Skeleton()).U32(1);
    ASSERT_TRUE(Read(file));
    ASSERT_EQ(anim.m_clips.size(), 3U);
    EXPECT_EQ(anim.m_clips[2]->m_compressFlags, 255);
    EXPECT_EQ(Written(), file);
    EXPECT_FALSE(Read(file, "nodot"));
    EXPECT_EQ(log.lines[0], "E Unable to open seperate animation file nodot");
}

TEST_F(vlAnimDataTest, WhatCantBeWrittenIsRefusedAheadOfAnyFile)
{
    using Anim = vlAnimData&;
    const struct {
        const char* reason;
        std::uint32_t version;
        bool async;
        int result;
        void (*edit)(Anim anim);
    } cases[] = {
        {"clip 1 is missing: its side file was not there", 0x60001, true, -1,
         [](Anim a) { a.m_clips[1].reset(); }},
        {"65536 clips, and a file has room for 65535", 0x50004, false, -1,
         [](Anim a) { a.m_clips.resize(0x10000, a.m_clips[0]); }},
        {"clip 1: another has its name, walk", 0x60001, true, -1,
         [](Anim a) { std::strcpy(a.m_clips[1]->m_name, "walk"); }},
        {"its version is none from 5.0 to 6.1", 0x60001, false, 1, [](Anim a) { a.m_version = 0x60002; }},
        {"its version has no skeleton", 0x60001, false, 1, [](Anim a) { a.m_version = 0x50004; }},
        {"its version has no side files", 0x50004, false, 1, [](Anim a) { a.m_async = 1; }},
        {"256 bones, and there is room for 255", 0x60001, false, 1, [](Anim a) { a.m_boneCount = 256; }},
        {"no array holds the names or transforms of the skeleton", 0x60001, true, 1,
         [](Anim a) { a.m_boneTrans.reset(); }},
        {"clip 0: its version counts clips of side files, but has no place for them", 0x60001, true, 1,
         [](Anim a) { a.m_version = 0x60000; }},
        {"clip 1: its version has key times per bone only", 0x50003, false, 1,
         [](Anim a) { a.m_version = 0x50002; }},
        {"clip 1: bone 0: 2 keys, but times for 3", 0x60001, false, 1,
         [](Anim a) { a.m_clips[1]->m_keyTimes->AddKeyTime(99); }},
        {"clip 0: bone 1: 1 keys, but times for 3", 0x60001, true, 1,
         [](Anim a) { a.m_clips[0]->m_boneKeyCounts[1] = 3; }},
    };
    WriteClip("walk");
    WriteClip("Run");
    const std::string walk = FolderTest::Read(Side("walk"));
    Write("m/hero.gis", "old");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reason);
        ASSERT_TRUE(Read(c.async ? AsyncFile({"walk", "Run"}) : PlainFile(c.version), Hero()));
        c.edit(anim);
        EXPECT_EQ(anim.WriteAnimationFile(Hero().c_str()), c.result);
        EXPECT_EQ(log.lines, Lines{"E skeletal animation " + Hero() + " can't be written: " + c.reason});
        EXPECT_EQ(Written(), Bytes());
        EXPECT_EQ(result, c.result);
        EXPECT_EQ(FolderTest::Read(Hero()), "old");
        EXPECT_EQ(FolderTest::Read(Side("walk")), walk);
    }
}

TEST_F(vlAnimDataTest, ASetThatCantBeWrittenChangesNothing)
{
    WriteClip("walk");
    WriteClip("Run");
    ASSERT_TRUE(Read(AsyncFile({"walk", "Run"}), Hero()));
    Write("m/hero.gis", "old");
    const auto expect = [&](int code, const std::string& message, const std::string& path) {
        log.lines.clear();
        EXPECT_EQ(anim.WriteAnimationFile(path.c_str()), code);
        EXPECT_EQ(log.lines, Lines{message});
        EXPECT_EQ(FolderTest::Read(Hero()), "old");
    };
    expect(1, "E unable to open " + Path("none/hero.gis"), Path("none/hero.gis"));
    std::strcpy(anim.m_clips[1]->m_name, "none/Run");
    std::filesystem::remove(Side("walk"));
    expect(1, "E unable to open " + Side("none/Run"), Hero());
    EXPECT_FALSE(std::filesystem::exists(Side("walk")));
    std::strcpy(anim.m_clips[1]->m_name, "..\\Run");
    expect(1, "E unable to open " + Side("..\\Run"), Hero());
    anim.m_path = Path("gone/hero.gis");
    std::strcpy(anim.m_clips[1]->m_name, "Run");
    expect(1, "E unable to open " + Path("gone/hero_gis/walk.gis"), Hero());
    anim.m_path = "nodot";
    expect(-1, "E Unable to open seperate animation file nodot", Hero());
}

// The bytes of a side file allow for its memory once, however many clips name it.
TEST_F(vlAnimDataTest, OneSideFileForManyClips)
{
    test::ByteBuilder big = test::ClipInfo(0x60001, "big", {"hip"}, 0);
    big.U16(60'000).Fill(240'000, 0).U8(1).U8(0).U8(0).U8(0).Fill(720'000, 0).Fill(28, 0).U8(0);
    Write("m/hero_gis/big.gis", Text(big));
    EXPECT_TRUE(Read(AsyncFile(std::vector<std::string_view>(50, "big")), Hero()));
    EXPECT_FALSE(Read(AsyncFile(std::vector<std::string_view>(120, "big")), Hero()));
    EXPECT_TRUE(anim.m_clips.empty());
}

TEST_F(vlAnimDataTest, WarningsAtAWrite)
{
    ASSERT_TRUE(Read(PlainFile(0x60001)));
    anim.ConvertToDelta();
    Written();
    anim.ConvertFromDelta();
    anim.m_clips.clear();
    anim.m_boneCount = 0;
    EXPECT_TRUE(Written().empty());
    EXPECT_EQ(log.lines, (Lines{"W skeletal animation a.gis is written with deltas, which no file tells",
                                "E skeletal animation a.gis can't be written: it has neither bones nor "
                                "clips, and is too short to be read"}));
}

TEST_F(vlAnimDataTest, DeltasAreAgainstTheBoneOfTheSameName)
{
    // The clip's "Head" is no match for the skeleton's "head": only lower-case names are.
    ASSERT_TRUE(Read(Header(0x60001, 2)
                         .Raw(Skeleton("Head"))
                         .U32(0)
                         .Raw(test::ClipRecord(0x60001))
                         .Raw(test::ClipInfo(0x60001, "r", {"root"}, 0))
                         .U16(1)
                         .F32(0)
                         .Raw(test::StillChannel())
                         .U8(0)));
    anim.m_clips.insert(anim.m_clips.begin(), nullptr);
    const auto position = [&](std::size_t clip, int bone) {
        return anim.m_clips[clip]->m_keys[bone].m_pos[0];
    };
    for (int round = 0; round < 2; ++round) {
        anim.ConvertToDelta();
        EXPECT_TRUE(anim.m_isDelta);
        EXPECT_EQ(position(1, 0), 1.0F) << "no bone hip";
        EXPECT_EQ(position(1, 1), 7.0F) << "Head";
        EXPECT_EQ(position(2, 0), 7.0F - 1.0F);
        EXPECT_EQ(anim.m_clips[2]->m_keys[0].m_scale[0], 0.5F);
    }
    for (int round = 0; round < 2; ++round) {
        anim.ConvertFromDelta();
        EXPECT_FALSE(anim.m_isDelta);
        EXPECT_EQ(position(2, 0), 7.0F);
        EXPECT_EQ(anim.m_clips[2]->m_keys[0].m_scale[0], 1.0F);
    }
    vlAnimData empty;
    empty.ConvertFromDelta();
    empty.ConvertToDelta();
    EXPECT_TRUE(empty.m_isDelta);
}

}  // namespace vela::vlgim
