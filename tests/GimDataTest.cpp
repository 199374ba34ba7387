#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/MeshBytes.h"

#include <vlgim/GimData.h>

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <cstring>

namespace vela::vlgim {

namespace {

using Lines = std::vector<std::string>;

const char* const kMusic = "<Vela>\r\n\t<Event Name='x'></Event>\r\n</Vela>";
const char* const kMaterials = R"(<Vela><MaterialGroup>
  <plain><Material><ParamTable/></Material></plain>
  <brick><Other/><Material><ParamTable><Tex Value="a &amp; b"/><Bad/><Tex Value="2"/><N Value=""/></ParamTable>
    <ParamTable><Late Value="1"/></ParamTable></Material><Material/></brick>
</MaterialGroup></Vela>)";

std::string Mesh(std::uint32_t versionWord = 0x00050004)
{
    const auto bytes = test::StaticMesh(test::TwoSubmeshBlock(), versionWord);
    return {bytes.begin(), bytes.end()};
}

std::string Manifest(const std::string& attributes = "",
                     const std::string& submeshes = R"(<a Name="walls" MtlIdx="1"/><b Name='' MtlIdx="-3"/>)",
                     const std::string& more = "")
{
    return "<?xml version=\"1.0\"?>\r\n<Vela " + attributes + ">\r\n\t<SubMesh>" + submeshes + "</SubMesh>" +
           more + "</Vela>\r\n";
}

class GimDataTest : public test::FolderTest {
protected:
    int Load(const char* base = nullptr) { return model.Load(Path("m/a.gim").c_str(), base); }

    void WriteModel(const std::string& manifest = Manifest())
    {
        Write("m/a.gim", manifest);
        Write("m/a.mesh", Mesh());
        Write("m/a.mtg", kMaterials);
        Write("m/a_music.ags", kMusic);
    }

    GimData model;
    test::LogCapture log;
};

TEST_F(GimDataTest, LoadsAModelAndSavesTheSameFiles)
{
    WriteModel(Manifest("", R"(<a Name="walls" MtlIdx="1"/><b Name='' MtlIdx="-3"/>)",
                        R"(<SkeletonFile><FileName Value="s/hero.gis"/></SkeletonFile>)"));
    ASSERT_EQ(Load(), 0);
    EXPECT_EQ(log.lines, Lines{});
    EXPECT_EQ(model.m_meshPath, Path("m/a.mesh"));
    EXPECT_EQ(model.m_mesh.m_submeshCount, 2U);
    EXPECT_EQ(model.GetSubmesh(0).name, "walls");
    EXPECT_EQ(model.GetSubmesh(0).mtlIdx, 1);
    EXPECT_EQ(model.GetSubmesh(1).mtlIdx, -3);
    EXPECT_EQ(model.GetSkeletonName(), "s/hero.gis");
    EXPECT_EQ(model.GetMaterial(0).name, "plain");
    EXPECT_TRUE(model.GetMaterial(0).params.empty());
    const std::unordered_map<std::string, std::string> brick{{"Tex", "a & b"}, {"N", ""}};
    EXPECT_EQ(model.GetMaterial(1).params, brick);
    for (const int index : {-1, 2}) {
        EXPECT_EQ(model.GetSubmesh(index).mtlIdx, -1);
        EXPECT_EQ(model.GetMaterial(index).name, "");
    }

    std::filesystem::create_directory(Path("n"));
    model.m_meshPath = Path("n/b.mesh");
    ASSERT_EQ(model.Save(Path("n/b.other").c_str()), 0);
    for (const char* extension : {".gim", ".mesh", ".mtg", "_music.ags"})
        EXPECT_EQ(Read(Path("n/b") + extension), Read(Path("m/a") + extension)) << extension;

    model.m_gimXml.Document().RootElement()->SetAttribute("Edited", 1);
    ASSERT_EQ(model.Save(Path("n/b.gim").c_str()), 0);
    EXPECT_NE(Read(Path("n/b.gim")).find("<Vela Edited=\"1\">\r\n    <SubMesh>\r\n"), std::string::npos);
}

TEST_F(GimDataTest, SideFilesAreFoundByTheirRules)
{
    struct Case {
        const char* meshAttribute;
        const char* base;  // below the folder; null: none
        const char* more;
        const char* meshAt;
        const char* materialsAt;
    };
    const char* const mtgFile = R"(<MtgFile MtgPath="x.mtg"/>)";
    const Case cases[] = {
        {"", nullptr, "", "m/a.mesh", "m/a.mtg"},
        {R"(Mesh="{}\r\\.\c.mesh")", nullptr, mtgFile, "r/c.mesh", "m/a.mtg"},  // absolute, backslashes
        {R"(Mesh="r/c.mesh")", "base/", mtgFile, "base/r/c.mesh", "base/x.mtg"},
        {R"(Mesh="{}/r/c.mesh")", "base", mtgFile, "r/c.mesh", "basex.mtg"},  // a plain prefix
        {R"(Mesh="r/c.mesh")", "base/", "<MtgFile/>", "base/r/c.mesh", "m/a.mtg"},
    };
    for (const Case& c : cases) {
        std::string attribute = c.meshAttribute;
        if (const auto at = attribute.find("{}"); at != std::string::npos)
            attribute.replace(at, 2, folder.string());
        Write("m/a.gim", Manifest(attribute, R"(<a Name="n" MtlIdx="0"/><a Name="n" MtlIdx="x"/>)", c.more));
        Write(c.meshAt, Mesh());
        Write(c.materialsAt, kMaterials);
        const std::string base = c.base ? Path(c.base) : "";
        EXPECT_EQ(Load(c.base ? base.c_str() : nullptr), 0) << c.meshAt;
        EXPECT_EQ(model.m_meshPath, Path(c.meshAt));
        EXPECT_EQ(model.GetMaterial(1).name, "brick") << c.materialsAt;
        EXPECT_EQ(model.GetSubmesh(1).mtlIdx, 0) << "no number reads as 0";

        std::filesystem::remove(Path(c.meshAt));
        std::filesystem::remove(Path(c.materialsAt));
        EXPECT_EQ(model.Save(Path("m/a.gim").c_str(), c.base ? base.c_str() : nullptr), 0);
        EXPECT_EQ(Read(Path(c.meshAt)), Mesh());
        EXPECT_EQ(Read(Path(c.materialsAt)), kMaterials);
        std::filesystem::remove(Path(c.meshAt));
        std::filesystem::remove(Path(c.materialsAt));
    }
    // A relative path without a base goes to the system as it is; one with a base takes the derived path too.
    Write("m/a.gim", Manifest("Mesh='./not//there'"));
    EXPECT_EQ(Load(), 1);
    EXPECT_EQ(model.m_meshPath, "not/there");
    EXPECT_EQ(log.lines.back(), "E Failed to read file : not/there\n");
    GimData other;
    Write("cwd/a.gim", Manifest());
    const auto cwd = std::filesystem::current_path();
    std::filesystem::current_path(Path("cwd"));
    EXPECT_EQ(other.Load("a.gim", "b/"), 1);
    std::filesystem::current_path(cwd);
    EXPECT_EQ(other.m_meshPath, "b/a.mesh");
}

TEST_F(GimDataTest, BrokenModelsHaveAResultAndAMessage)
{
    struct Case {
        std::string manifest;
        int result;
        Lines log;
        std::size_t submeshes;
    };
    const std::string path = Path("m/a.gim"), meshPath = Path("m/a.mesh");
    const Lines noList{"E No Vela SubMesh element in gim file.\n"}, empty{"E SubMesh list is empty.\n"};
    const Case cases[] = {
        {"<Vela><SubMesh>",
         tinyxml2::XML_ERROR_MISMATCHED_ELEMENT,
         {"E Failed to load file: " + path + "\n"},
         0},
        {"", tinyxml2::XML_ERROR_EMPTY_DOCUMENT, {"E Failed to load file: " + path + "\n"}, 0},
        {"<Other><SubMesh><a/></SubMesh></Other>", 1, noList, 0},
        {"<Vela/>", 1, noList, 0},
        {"<Vela><SubMesh>text<!-- none --></SubMesh></Vela>", 1, empty, 0},
        {Manifest("", R"(<a Name="n" MtlIdx="0"/><a Name="m"/>)"), -1, {}, 1},
        {Manifest("", R"(<a MtlIdx="0"/><a Name="m" MtlIdx="0"/>)"), -1, {}, 0},
        {Manifest("Mesh='" + Path("m") + "'"), 1, {"E Failed to read file : " + Path("m") + "\n"}, 0},
    };
    for (const Case& c : cases) {
        WriteModel();
        ASSERT_EQ(Load(), 0);
        log.lines.clear();
        Write("m/a.gim", c.manifest);
        EXPECT_EQ(Load(), c.result) << c.manifest;
        EXPECT_EQ(log.lines, c.log) << c.manifest;
        EXPECT_EQ(model.m_submeshes.size(), c.submeshes);
        EXPECT_EQ(model.m_materials.size(), c.result == -1 ? 2U : 0U) << "what the first load made is gone";
        EXPECT_EQ(model.m_mesh.m_vertexData != nullptr, c.result == -1);
        EXPECT_EQ(model.m_gimXml.IsEmpty(), c.result > 1);
        EXPECT_EQ(model.m_meshPath.empty(), c.result > 1);
    }
}

TEST_F(GimDataTest, AModelWithoutSideFilesLoads)
{
    WriteModel();
    std::filesystem::remove(Path("m/a.mtg"));
    std::filesystem::remove(Path("m/a_music.ags"));
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(log.lines, (Lines{"E Failed to load file: " + Path("m/a.mtg") + "\n",
                                "W Failed to read music ags data!\n"}));
    EXPECT_EQ(model.GetSkeletonName(), "");
    EXPECT_EQ(model.Save(Path("m/a.gim").c_str()), 0);
    EXPECT_FALSE(std::filesystem::exists(Path("m/a.mtg")));

    Write("m/a.mesh", Mesh(0x50005));
    EXPECT_EQ(Load(), 1);
    EXPECT_EQ(log.lines.back(), "E gim file version is too new");
    EXPECT_TRUE(model.m_submeshes.empty());
}

TEST_F(GimDataTest, AFaultyMaterialEndsTheList)
{
    WriteModel();
    const std::string good = "<m><Material><ParamTable><P Value='1'/></ParamTable></Material></m>";
    const std::pair<std::string, std::size_t> cases[] = {
        {good + good + "<m/>" + good, 2}, {good + "<m><Material/></m>" + good, 1}, {"", 0}};
    for (const auto& [materials, count] : cases) {
        Write("m/a.mtg", "<Vela><MaterialGroup>" + materials + "</MaterialGroup></Vela>");
        EXPECT_EQ(Load(), 0);
        EXPECT_EQ(model.m_materials.size(), count);
    }
    for (const char* document : {"<Other/>", "<Vela/>"}) {
        Write("m/a.mtg", document);
        EXPECT_EQ(Load(), 0);
        EXPECT_TRUE(model.m_materials.empty());
    }
}

TEST_F(GimDataTest, SkeletonNameOfAManifestWithGaps)
{
    GimData fresh;
    EXPECT_EQ(fresh.GetSkeletonName(), "");
    for (const char* text : {"<Vela/>", "<Vela><SkeletonFile/></Vela>",
                             "<Vela><SkeletonFile><FileName/></SkeletonFile></Vela>"}) {
        ASSERT_EQ(fresh.m_gimXml.Parse(text, std::strlen(text)), 0);
        EXPECT_EQ(fresh.GetSkeletonName(), "");
    }
}

TEST_F(GimDataTest, ASaveThatFailsChangesNothing)
{
    WriteModel();
    ASSERT_EQ(Load(), 0);
    model.m_gimXml.Document().RootElement()->SetAttribute("Edited", 1);
    model.m_mesh.m_vertexData->m_positions[0].x = 77;
    const auto unchanged = [&] {
        return Read(Path("m/a.gim")) == Manifest() && Read(Path("m/a.mesh")) == Mesh();
    };
    const auto save = [&] { return model.Save(Path("m/a.gim").c_str()); };

    Write("folder.mesh/x", "");
    const std::pair<std::string, std::string> targets[] = {
        {Path("missing/a.mesh"), "E unable to open " + Path("missing/a.mesh")},
        {Path("folder.mesh"), "E unable to open " + Path("folder.mesh")},
        {"/dev/full", "E failed to write /dev/full: No space left on device"},
    };
    for (const auto& [target, message] : targets) {
        model.m_meshPath = target;
        EXPECT_EQ(save(), 1);
        EXPECT_EQ(log.lines.back(), message);
        EXPECT_TRUE(unchanged());
    }
    model.m_meshPath = Path("m/../m/a.gim");
    EXPECT_EQ(save(), 1);
    EXPECT_TRUE(unchanged());
    model.m_meshPath = Path("m/a.mesh");
    model.m_mesh.m_vertexData->m_subRecords[0].uvSetCount = 4;
    EXPECT_EQ(save(), 1);
    EXPECT_EQ(log.lines.back(), "E mesh file " + Path("m/a.mesh") +
                                    " can't be written: submesh 0 declares 4 uv sets, and the mesh has 2");
    EXPECT_TRUE(unchanged());
    model.m_mesh.m_vertexData->m_subRecords[0].uvSetCount = 2;
    model.m_gimXml.FindElement("Vela/SubMesh", nullptr)->InsertNewChildElement("c");
    EXPECT_EQ(save(), 1);
    EXPECT_EQ(log.lines.back(), "E mesh file " + Path("m/a.mesh") +
                                    " can't be written: it has 2 submeshes, and the manifest has 3");
    EXPECT_TRUE(unchanged());

    GimData empty;
    EXPECT_EQ(empty.Save(Path("new/a.gim").c_str()), 0) << "nothing to write";
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Path("m")), {}), 4) << "no stray is left";
}

TEST_F(GimDataTest, AFailedLoadCannotBeSaved)
{
    WriteModel();
    Write("m/a.mesh", "short");
    EXPECT_EQ(Load(), 1);
    EXPECT_EQ(model.Save(Path("m/a.gim").c_str()), 1);
    EXPECT_EQ(log.lines.back(),
              "E mesh file " + Path("m/a.mesh") + " can't be written: there is no vertex object");
    EXPECT_EQ(Read(Path("m/a.mesh")), "short");
}

}  // namespace

}  // namespace vela::vlgim
