#include "support/AnimBytes.h"
#include "support/Files.h"
#include "support/LogCapture.h"

#include <vlgim/GisData.h>

#include <tinyxml2.h>

namespace vela::vlgim::test {

namespace {

const char* const kAgs = "<Ags>\r\n\t<Event Name='x'></Event>\r\n</Ags>";
const char* const kNoAgs = "W Failed to read ags data!\n";

std::string Gis(bool async, std::uint32_t version = 0x60001)
{
    return AsString(SmallGis(async, version));
}

class GisDataTest : public FolderTest {
protected:
    int Load(const std::string& name)
    {
        log.lines.clear();
        return skeleton.Load(Path(name).c_str());
    }
    int Save(const std::string& name) { return skeleton.Save(Path(name).c_str()); }

    GisData skeleton;
    LogCapture log;
};

}  // namespace

TEST_F(GisDataTest, LoadsASkeletonAndSavesTheSameFiles)
{
    Write("a.gis", Gis(false));
    Write("a.ags", kAgs);
    ASSERT_EQ(Load("a.gis"), 0);
    EXPECT_EQ(log.lines, Lines{});
    ASSERT_EQ(Save("b.whatever"), 0);
    EXPECT_EQ(Read(Path("b.gis")), Gis(false));
    EXPECT_EQ(Read(Path("b.ags")), kAgs);
    skeleton.m_agsXml.Document().RootElement()->InsertNewComment("-->");
    EXPECT_EQ(Save("none.gis"), 1);
    EXPECT_FALSE(std::filesystem::exists(Path("none.gis"))) << "without its document";

    // Side files stay with the file that was read, and a document that is gone leaves none behind.
    Write("s/a.gis", Gis(true));
    Write("s/a_gis/walk.gis", AsString(ClipRecord(0x60001)));
    ASSERT_EQ(Load("s/a.gis"), 0);
    EXPECT_EQ(skeleton.Load(skeleton.m_anim.m_path.c_str()), 0) << "from its own path";
    std::filesystem::remove(Path("s/a_gis/walk.gis"));
    EXPECT_EQ(Save("none/c.gis"), 1) << "there is no such folder";
    ASSERT_EQ(Save("c.gis"), 0);
    EXPECT_EQ(Read(Path("s/a_gis/walk.gis")), AsString(ClipRecord(0x60001)));
    EXPECT_FALSE(std::filesystem::exists(Path("c.ags")));
}

TEST_F(GisDataTest, TheBasePathIsForTheAnimationAlone)
{
    Write("base/m/a.gis", Gis(true));
    Write("m/a.ags", kAgs);
    const auto cwd = std::filesystem::current_path();
    std::filesystem::current_path(folder);
    EXPECT_EQ(skeleton.Load("m/a.gis", Path("ba").c_str()), 1);
    EXPECT_EQ(skeleton.Load("m/a.gis", Path("base/").c_str()), 0);
    std::filesystem::current_path(cwd);
    EXPECT_EQ(skeleton.m_anim.m_path, Path("base/m/a.gis"));
    EXPECT_FALSE(skeleton.m_agsXml.IsEmpty());
    EXPECT_EQ(skeleton.Load(Path("base/m/a.gis").c_str(), "nowhere/"), 0) << "absolute";
    EXPECT_EQ(log.lines, (Lines{"E Failed to read file : " + Path("bam/a.gis") + "\n", kNoAgs}));
}

TEST_F(GisDataTest, WhatCantBeReadHasItsMessages)
{
    Write("a.gis", Gis(false));
    Write("a.ags", kAgs);
    ASSERT_EQ(Load("a.gis"), 0);
    Write("a.ags", "<a>");
    EXPECT_EQ(Load("a.gis"), 0);
    EXPECT_EQ(log.lines, Lines{kNoAgs});
    EXPECT_TRUE(skeleton.m_agsXml.IsEmpty());
    Write("a.gis", Gis(false, 0x60002));
    EXPECT_EQ(Load("a.gis"), 1);
    EXPECT_EQ(log.lines.back(), "E Bad format in skeletal animation file " + Path("a.gis") + "!");
    EXPECT_TRUE(skeleton.m_anim.m_clips.empty());
}

TEST_F(GisDataTest, WithoutASkeletonTheAnimationStays)
{
    EXPECT_EQ(Save("new.gis"), 0) << "nothing in it";
    Write("old.gis", Gis(false, 0x50003));
    Write("old.ags", kAgs);
    ASSERT_EQ(Load("old.gis"), 0);
    EXPECT_EQ(Save("new.gis"), 0);
    EXPECT_FALSE(std::filesystem::exists(Path("new.gis")));
    EXPECT_EQ(Read(Path("new.ags")), kAgs);
    EXPECT_EQ(log.lines, Lines{"W skeletal animation " + Path("old.gis") +
                               " has clips but no skeleton, so it is not saved"});
}

}  // namespace vela::vlgim::test
