#include "support/AnimBytes.h"
#include "support/Blocks.h"
#include "support/Files.h"

#include <anim/AnimFile.h>
#include <nameid/NameID.h>
#include <vlgim/vlAnimData.h>

namespace vela::vlgim::test {

namespace {

using Names = std::vector<std::string_view>;

// A 6.1 file of clips in side files.
Bytes AsyncFile(const Names& names, std::uint32_t baseInfoSize = 1108)
{
    ByteBuilder file = GisHeader(0x60001, names.size()).Raw(Skeleton()).U32(1).U32(baseInfoSize);
    for (const std::string_view name : names)
        file.Raw(BaseInfo(name));
    return file;
}

Bytes Write(vlAnimData& anim)
{
    return Written([&](vlio::Sink& sink) {
        if (!WhyUnwritable(anim))
            anim::WriteFile(sink, anim);
    });
}

const char* const kBadFile = "E Bad format in skeletal animation file!";
const char* const kBad5 = "E Bad format in skeletal animation, version 5.x!";

class vlAnimDataTest : public FolderTest {
protected:
    using FolderTest::Read;

    bool Read(const Bytes& file, const std::string& path = "a.gis")
    {
        log.lines.clear();
        return anim.ReadAnimationFile(file.data(), static_cast<std::uint32_t>(file.size()), path);
    }

    void WriteClips()
    {
        for (const char* name : {"walk", "Run"})
            Write(std::string("m/hero_gis/") + name + ".gis", AsString(ClipRecord(0x60001, 1, name)));
    }

    std::string Side(const std::string& name) const { return Path("m/hero_gis/" + name + ".gis"); }

    const std::string hero = Path("m/hero.gis");
    vlAnimData anim;
    LogCapture log;
};

}  // namespace

TEST_F(vlAnimDataTest, EachVersionIsReadAndWrittenBack)
{
    const std::pair<std::uint32_t, std::uint32_t> keysOffsets[] = {
        {0x50000, 140}, {0x50003, 142}, {0x500FF, 146}, {0x60000, 298}, {0x60001, 298}};
    for (const auto& [version, keysOffset] : keysOffsets) {
        SCOPED_TRACE(version);
        const Bytes file = TwoClips(1, version);
        ASSERT_TRUE(Read(file, "no dot"));
        EXPECT_EQ(std::tuple(anim.m_version, anim.m_path, anim.m_clips[0]->m_keysOffset, anim.m_boneCount),
                  std::tuple(version, "no dot", keysOffset, version >= 0x60000 ? 2U : 0U));
        EXPECT_EQ(test::Write(anim), file);
        EXPECT_EQ(log.lines, Lines{});
    }
    EXPECT_EQ(std::tuple(anim.m_boneNameIds[1], anim.m_boneTrans[1].m_pos.z, anim.m_clips[1]->m_name.View()),
              std::tuple(NameIDMurmur3("head"), 30.0F, "run"));
    const Bytes countAlone = GisHeader(0x60000, 3).Raw(Skeleton()).U32(1);  // of clips in side files
    ASSERT_TRUE(Read(countAlone));
    anim.m_clips[2]->m_keyLayout = KEY_LAYOUT_SHARED;  // without times: nothing of a clip is written
    EXPECT_EQ(test::Write(anim), countAlone);
}

TEST_F(vlAnimDataTest, Gate)
{
    const char* const branch = "E Skeletal animation file version is not suitable for current branch!";
    const std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, Lines> cases[] = {
        // The version word; length, or 0: as it is; the version; the log.
        {0x04050000, 0, 0x50000, {}},
        {0x05010000, 0, 0x05010000, {branch, kBadFile}},
        {0x0301FFFF, 0, 0x0301FFFF, {"E Skeletal animation file version too old!", kBadFile}},
        {0x00060002, 0, 0x60002, {"E Skeletal animation file version too new!", kBadFile}},
        {0x00020000, 0, 0x20000, {"E Bad format in skeletal animation, version 2.x!"}},
        {0x0104FFFF, 0, 0x4FFFF, {"E Bad format in skeletal animation, version 4.x!"}},
        {0x00060001, 39, 0x60001, {kBadFile}},
        {0x00060001, 7, 0, {kBadFile}},
        {0x00060001, 0x80000000, 0x60001, {kBadFile}},
    };
    for (const auto& [word, length, version, lines] : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << word << ' ' << length);
        const Bytes file = TwoClips(1, word);
        log.lines.clear();
        const auto size = length ? length : static_cast<std::uint32_t>(file.size());
        EXPECT_EQ(anim.ReadAnimationFile(file.data(), size, "a.gis"), lines.empty());
        EXPECT_EQ(std::tuple(anim.m_version, anim.m_path, anim.m_clips.empty()),
                  std::tuple(version, "a.gis", !lines.empty()));
        EXPECT_EQ(log.lines, lines);
    }
    EXPECT_FALSE(anim.ReadAnimationFile(nullptr, 99, ""));
    EXPECT_FALSE(Read(Bytes(40, 'R')));
}

TEST_F(vlAnimDataTest, DamageIsToldOnceAndLeavesNothing)
{
    const Bytes plain = TwoClips(1, 0x60001);
    const std::pair<Bytes, const char*> cases[] = {
        {With(plain, 11, {1}), "bones at byte 10: count 258 exceeds the limit of 255"},
        {Prefix(plain, 310), "clip 0 / bone 0 at byte 308: needs 8 bytes, but the file has 2 left"},
        {GisHeader(0x60000, 0xFFFF).Raw(Skeleton()).U32(1), ""},
    };
    for (const auto& [file, message] : cases) {
        ASSERT_TRUE(Read(plain));
        EXPECT_FALSE(Read(file));
        EXPECT_TRUE(anim.m_clips.empty() && !anim.m_boneNames && anim.m_boneCount + anim.m_async == 0);
        ASSERT_EQ(log.lines.size(), 2U);
        EXPECT_TRUE(log.lines[0].starts_with(std::string("E gis file is damaged: ") + message)) << message;
        EXPECT_EQ(log.lines[1], kBad5);
    }
}

TEST_F(vlAnimDataTest, EveryPrefixAndEveryChangedByte)
{
    const auto read = [&](vlAnimData& into, const unsigned char* data, const unsigned char* end) {
        return into.ReadAnimationFile(data, static_cast<std::uint32_t>(end - data), hero);
    };
    for (const Bytes& file : {TwoClips(1, 0x60001), AsyncFile({"none"})}) {
        ForEachPrefix(file, [&](const unsigned char* data, const unsigned char* end) {
            EXPECT_FALSE(read(anim, data, end)) << end - data;
            EXPECT_TRUE(anim.m_clips.empty());
        });
        ExpectLiesReadBack(vlAnimData(), file, read, &test::Write);
    }
}

TEST_F(vlAnimDataTest, SkeletonNamesAreLoweredAndMayFillTheirField)
{
    const std::string full(32, 'b');
    ASSERT_TRUE(Read(TwoClips(1, 0x60001, Skeleton(std::string(32, 'B'), "HIP"))));
    EXPECT_EQ(log.lines, Lines{"E incorrect gis file!"});
    EXPECT_EQ(std::tuple(anim.m_boneNameIds[0], anim.m_boneNameIds[1]),
              std::tuple(NameIDMurmur3(std::string_view(full)), NameIDMurmur3("hip")));
    EXPECT_EQ(test::Write(anim), TwoClips(1, 0x60001, Skeleton(full, "hip")));
}

TEST_F(vlAnimDataTest, SideFilesAreReadAndWrittenAsASet)
{
    WriteClips();
    ASSERT_TRUE(Read(AsyncFile({"walk", "Run"}, 7), hero));
    EXPECT_EQ(log.lines, Lines{});
    EXPECT_EQ(anim.m_clips[1]->m_keysOffset, 144U);
    const auto hash = [](const char* name) { return static_cast<std::uint32_t>(NameIDMurmur3(name)); };
    const Bytes ids = ByteBuilder().U32(hash("hip")).U32(hash("Head"));
    const Bytes expected = With(With(AsyncFile({"walk", "Run"}), 166 + 66, ids), 166 + 1108 + 66, ids);
    const std::string sides =
        AsString(ByteBuilder().Raw(ClipRecord(0x60001)).Raw(ClipRecord(0x60001, 1, "Run")));

    Write("n/other.gis", "old");
    Write("m/hero_gis/walk.gis", "old");
    std::filesystem::remove(Side("Run"));
    EXPECT_EQ(anim.WriteAnimationFile(Path("n/other.gis").c_str()), 0);
    EXPECT_EQ(Read(Path("n/other.gis")), AsString(expected));
    EXPECT_EQ(Read(Side("walk")) + Read(Side("Run")), sides);
}

TEST_F(vlAnimDataTest, SideFilesThatAreNotThereOrNotWhole)
{
    WriteClips();
    const std::string whole = AsString(ClipRecord(0x60001, 1, "Run"));
    Write("m/hero_gis/Run.gis", whole + "more");
    std::filesystem::create_directories(Side("dir"));
    const Names refused{"dir", "../hero_gis/Run", "x\\.."};
    for (const std::string name : {"Run", "none", "sub/Run", "a..b", "dir", "../hero_gis/Run", "x\\.."}) {
        const bool isRead = std::ranges::find(refused, name) == refused.end();
        EXPECT_EQ(Read(AsyncFile({"walk", name, "walk"}), hero), isRead) << name;
        EXPECT_EQ(log.lines,
                  isRead ? Lines{} : (Lines{"E Failed to read file : " + Side(name) + "\n", kBad5}));
        ASSERT_EQ(anim.m_clips.size(), isRead ? 3U : 0U);
        EXPECT_EQ(isRead && anim.m_clips[1], name == "Run");
        EXPECT_TRUE(!isRead || anim.m_clips[2]);
    }
    Write("m/hero_gis/Run.gis", whole.substr(0, 70));
    EXPECT_FALSE(Read(AsyncFile({"walk", "Run"}), hero));
    EXPECT_EQ(log.lines, (Lines{"E gis file is damaged: " + Side("Run") +
                                    ": clip 1 at byte 66: needs 64 bytes, but the file has 4 left",
                                kBad5}));
    EXPECT_FALSE(Read(AsyncFile({}), "nodot"));
    EXPECT_EQ(log.lines, (Lines{"E Unable to open seperate animation file nodot", kBad5}));
    ASSERT_TRUE(Read(AsyncFile({"walk"}), Path("m/hero.old/x"))) << "the last dot, wherever it stands";
    EXPECT_NE(anim.m_clips[0], nullptr);
}

TEST_F(vlAnimDataTest, ASetThatCantBeWrittenChangesNothing)
{
    using Anim = vlAnimData&;
    const Bytes async = AsyncFile({"walk", "Run"}), plain = TwoClips(1, 0x60001), old = TwoClips(1, 0x50004);
    const std::string cant = "E skeletal animation " + hero + " can't be written: ";
    const std::tuple<int, Bytes, std::string, void (*)(Anim)> cases[] = {
        {-1, async, cant + "clip 1: its side file was missing", [](Anim a) { a.m_clips[1].reset(); }},
        {-1, old, cant + "65536 clips exceed the limit of 65535",
         [](Anim a) { a.m_clips.resize(0x10000, a.m_clips[0]); }},
        {-1, async, cant + "clip 1: another clip has the same name, walk",
         [](Anim a) { a.m_clips[1]->m_name = Name32("walk"); }},
        {1, async,
         cant + "clip 0: its name has 32 bytes, and a reader would look for a side file named by 31",
         [](Anim a) { a.m_clips[0]->m_name = Name32(std::string(32, 'x')); }},
        {1, plain, cant + "its version is not one from 5.0 to 6.1", [](Anim a) { a.m_version = 0x60002; }},
        {1, plain, cant + "its version has no skeleton", [](Anim a) { a.m_version = 0x50004; }},
        {1, old, cant + "its version has no side files", [](Anim a) { a.m_async = 1; }},
        {1, plain, cant + "256 bones exceed the limit of 255", [](Anim a) { a.m_boneCount = 256; }},
        {1, async, cant + "clip 0: its version can't store clips in side files",
         [](Anim a) { a.m_version = 0x60000; }},
        {1, async, "E unable to open " + Side("none/Run"),
         [](Anim a) { a.m_clips[1]->m_name = Name32("none/Run"); }},
        {1, plain, cant + "it has neither bones nor clips, so the file would be too short to be read",
         [](Anim a) { a.m_clips.clear(), a.m_boneCount = 0; }},
        {-1, async, "E Unable to open seperate animation file nodot", [](Anim a) { a.m_path = "nodot"; }},
    };
    Write("m/hero.gis", "old");
    for (const auto& [result, file, message, edit] : cases) {
        SCOPED_TRACE(message);
        WriteClips();
        ASSERT_TRUE(Read(file, hero));
        Write("m/hero_gis/walk.gis", "old");
        edit(anim);
        EXPECT_EQ(anim.WriteAnimationFile(hero.c_str()), result);
        EXPECT_EQ(log.lines, Lines{message});
        EXPECT_EQ(Read(hero) + Read(Side("walk")), "oldold");
    }
}

TEST_F(vlAnimDataTest, DeltasAreAgainstTheBoneOfTheSameNameAndWarnAtAWrite)
{
    // The clip's "Head" is no match for the skeleton's "head": only lower-case names are.
    ASSERT_TRUE(Read(TwoClips(1, 0x60001, Skeleton("Head", "hip"))));
    anim.m_clips[1].reset();  // as a missing side file
    anim.m_clips.push_back(std::make_shared<vlClipData>(*anim.m_clips[0]));
    anim.m_clips[2]->m_keys = nullptr;
    for (const bool toDelta : {true, true, false, false, true}) {
        toDelta ? anim.ConvertToDelta() : anim.ConvertFromDelta();
        EXPECT_EQ(anim.m_isDelta, toDelta);
        const vlTransKeysData &hip = anim.m_clips[0]->m_keys[0], &head = anim.m_clips[0]->m_keys[1];
        EXPECT_EQ((std::vector{hip.m_pos[0], hip.m_pos[5], hip.m_scale[0], head.m_pos[0]}),
                  (toDelta ? std::vector<float>{-9, -24, 0.5F, 7} : std::vector<float>{1, 6, 1, 7}));
    }
    anim.m_clips.resize(1);
    const std::string path = Path("a.gis"), full(32, 'x');
    anim.m_clips[0]->m_name = Name32(full);
    EXPECT_EQ(anim.WriteAnimationFile(path.c_str()), 0);
    EXPECT_EQ(log.lines,
              (Lines{"W skeletal animation " + path +
                         " is saved with delta keys, but a file can't record that they are deltas",
                     "W skeletal animation " + path +
                         " has a clip with a name of 32 bytes, of which a reader keeps 31: " + full}));
    anim.m_clips[0]->m_name = Name32("walk");
    anim.m_clips[0]->m_name.bytes[31] = 'x';
    EXPECT_EQ(anim.WriteAnimationFile(path.c_str()), 0);
    EXPECT_EQ(log.lines.size(), 3U) << "a name ends at its first NUL";
}

// The bytes of a side file allow for its memory once, however many clips name it.
TEST_F(vlAnimDataTest, OneSideFileForManyClips)
{
    ByteBuilder big = ClipInfo(0x60001, "big", {"hip"}, 0);
    big.U16(60'000).Fill(240'000, 0).U8(1).U8(0).U8(0).U8(0).Fill(720'000, 0).Fill(28, 0).U8(0);
    Write("m/hero_gis/big.gis", AsString(big));
    EXPECT_TRUE(Read(AsyncFile(Names(50, "big")), hero));
    EXPECT_FALSE(Read(AsyncFile(Names(120, "big")), hero));
    EXPECT_TRUE(anim.m_clips.empty());
    std::vector<std::string> spellings;
    for (int i = 0; i < 120; ++i) {
        std::string& name = spellings.emplace_back();
        for (int bit = 1; bit < 128; bit *= 2)
            name += i & bit ? ".///" : "./";
        name += "big";
    }
    EXPECT_FALSE(Read(AsyncFile(Names(spellings.begin(), spellings.end())), hero));
    EXPECT_TRUE(Read(AsyncFile({"big", ".///big", "./big"}), hero));
    EXPECT_EQ(anim.m_clips[2]->m_keyTimes->GetKeyCount(), 60'000);
}

// A clip that was copied shows the channels of its source, and each is converted and packed on its own.
TEST_F(vlAnimDataTest, ClipsThatShareChannels)
{
    ASSERT_TRUE(Read(TwoClips(1, 0x60001, Skeleton("hip", "head"))));
    anim.m_clips[1] = std::make_shared<vlClipData>(*anim.m_clips[0]);
    anim.m_clips.push_back(anim.m_clips[0]);
    anim.ConvertToDelta();
    for (const auto& clip : anim.m_clips)
        EXPECT_EQ(clip->m_keys[0].m_pos[0], 0) << "1 less the 1 of the bone, once";
    anim.ConvertFromDelta();
    anim.m_clips[1] = std::make_shared<vlClipData>(*anim.m_clips[0]);
    anim.m_clips.pop_back();
    // Halves can't tell these keys apart, so they become one key; floats can.
    vlTransKeysData& keys = anim.m_clips[0]->m_keys[0];
    keys.m_scaleKeyed = 1;
    keys.m_scale = {1, 1, 1, 1.0002F, 1, 1};
    anim.m_clips[0]->m_compressFlags = KEY_HALF_SCALE;
    anim.m_clips[1]->m_compressFlags = 0;
    EXPECT_FALSE(test::Write(anim).empty());
    EXPECT_EQ(anim.m_clips[0]->m_keys[0].m_scaleKeyed, 0);
    EXPECT_EQ(anim.m_clips[1]->m_keys[0].m_scaleKeyed, 1);
}

// An object of a clip is larger than 64 times its record without bones.
TEST_F(vlAnimDataTest, ManyClipsWithoutBones)
{
    ByteBuilder file = GisHeader(0x50000, 20'000);
    for (int i = 0; i < 20'000; ++i)
        file.Raw(ClipInfo(0x50000, "none", {}, 1)).U8(0);
    EXPECT_TRUE(Read(file));
    EXPECT_FALSE(Read(GisHeader(0x60000, 65'535).Raw(Skeleton()).U32(1))) << "no clip has a record";
}

}  // namespace vela::vlgim::test
