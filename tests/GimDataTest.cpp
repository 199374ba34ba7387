#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/MeshBytes.h"

#include <vlgim/GimData.h>

#include <tinyxml2.h>

namespace vela::vlgim::test {

namespace {

const char* const kSubmeshes = R"(<a Name="walls" MtlIdx="1"/><b Name='' MtlIdx="-3"/>)";
const char* const kMusic = "<Vela>\r\n\t<Event Name='x'></Event>\r\n</Vela>";
const char* const kMaterials = R"(<Vela><MaterialGroup>
  <plain><Material><ParamTable/></Material></plain>
  <brick><Other/><Material><ParamTable><Tex Value="a &amp; b"/><Bad/><Tex Value="2"/><N Value=""/></ParamTable>
    <ParamTable><Late Value="1"/></ParamTable></Material><Material/></brick>
</MaterialGroup></Vela>)";

// A mesh that has every block.
std::string Mesh(unsigned char version = 4)
{
    return AsString(With(MeshOf(0x50004, {1, true, true, true}, true), 4, {version}));
}

std::string Manifest(const std::string& attributes = "", const std::string& submeshes = kSubmeshes,
                     const std::string& more = "")
{
    return "<?xml version=\"1.0\"?>\r\n<Vela " + attributes + ">\r\n\t<SubMesh>" + submeshes + "</SubMesh>" +
           more + "</Vela>\r\n";
}

class GimDataTest : public FolderTest {
protected:
    int Load(const char* base = nullptr) { return model.Load(Path("m/a.gim").c_str(), base); }
    int Save(const char* base = nullptr) { return model.Save(Path("m/a.gim").c_str(), base); }

    void WriteModel(const std::string& manifest = Manifest())
    {
        Write("m/a.gim", manifest);
        Write("m/a.mesh", Mesh());
        Write("m/a.mtg", kMaterials);
        Write("m/a_music.ags", kMusic);
    }

    void Remove(std::string_view name) const { std::filesystem::remove(folder / name); }

    GimData model;
    LogCapture log;
};

}  // namespace

TEST_F(GimDataTest, LoadsAModelAndSavesTheSameFiles)
{
    WriteModel(Manifest("", kSubmeshes, R"(<SkeletonFile><FileName Value="s/hero.gis"/></SkeletonFile>)"));
    ASSERT_EQ(Load(), 0);
    EXPECT_EQ(log.lines, Lines{});
    EXPECT_EQ(model.m_meshPath, Path("m/a.mesh"));
    EXPECT_EQ(model.GetSkeletonName(), "s/hero.gis");
    const std::pair<std::string, short> submeshes[] = {{"", -1}, {"walls", 1}, {"", -3}, {"", -1}};
    const std::pair<std::string, std::unordered_map<std::string, std::string>> materials[] = {
        {"", {}}, {"plain", {}}, {"brick", {{"Tex", "a & b"}, {"N", ""}}}, {"", {}}};
    for (int i = -1; i <= 2; ++i) {
        EXPECT_EQ(std::tuple(model.GetSubmesh(i).name, model.GetSubmesh(i).mtlIdx),
                  std::tuple(submeshes[i + 1].first, submeshes[i + 1].second));
        EXPECT_EQ(std::pair(model.GetMaterial(i).name, model.GetMaterial(i).params), materials[i + 1]);
    }

    std::filesystem::create_directory(Path("n"));
    model.m_meshPath = Path("n/b.mesh");
    ASSERT_EQ(model.Save(Path("n/b.other").c_str()), 0);
    for (const char* extension : {".gim", ".mesh", ".mtg", "_music.ags"})
        EXPECT_EQ(Read(Path("n/b") + extension), Read(Path("m/a") + extension)) << extension;
    model.m_gimXml.Document().RootElement()->SetAttribute("Edited", 1);
    ASSERT_EQ(model.Save(Path("n/b.gim").c_str()), 0);
    EXPECT_NE(Read(Path("n/b.gim")).find("<Vela Edited=\"1\">\r\n    <SubMesh>\r\n"), std::string::npos);
    EXPECT_EQ(GimData().Save(Path("new/a.gim").c_str()), 0) << "nothing to write";
    EXPECT_EQ(GimData().GetSkeletonName(), "");
}

TEST_F(GimDataTest, SideFilesAreFoundByTheirRules)
{
    const char* const mtgFile = R"(<MtgFile MtgPath="x.mtg"/>)";
    // What the manifest says of the mesh, base path, what else it says; where the two files are then.
    const std::tuple<std::string, const char*, const char*, const char*, const char*> cases[] = {
        {"", nullptr, "", "m/a.mesh", "m/a.mtg"},
        {R"(Mesh="{}\r\\.\c.mesh")", nullptr, mtgFile, "r/c.mesh", "m/a.mtg"},  // absolute, backslashes
        {R"(Mesh="r/c.mesh")", "base/", mtgFile, "base/r/c.mesh", "base/x.mtg"},
        {R"(Mesh="{}/r/c.mesh")", "base", mtgFile, "r/c.mesh", "basex.mtg"},  // a plain prefix
        {R"(Mesh="r/c.mesh")", "base/", "<MtgFile/>", "base/r/c.mesh", "m/a.mtg"},
    };
    for (auto [attribute, baseName, more, meshAt, materialsAt] : cases) {
        if (const auto at = attribute.find("{}"); at != std::string::npos)
            attribute.replace(at, 2, folder.string());
        Write("m/a.gim", Manifest(attribute, R"(<a Name="n" MtlIdx="0"/><a Name="n" MtlIdx="x"/>)", more));
        const std::string mesh = Write(meshAt, Mesh()), materials = Write(materialsAt, kMaterials);
        const std::string prefix = baseName ? Path(baseName) : "";
        const char* const base = baseName ? prefix.c_str() : nullptr;
        EXPECT_EQ(Load(base), 0) << meshAt;
        EXPECT_EQ(model.m_meshPath, mesh);
        EXPECT_EQ(model.GetMaterial(1).name, "brick") << materialsAt;
        EXPECT_EQ(model.GetSubmesh(1).mtlIdx, 0) << "no number reads as 0";

        Remove(meshAt);
        Remove(materialsAt);
        EXPECT_EQ(Save(base), 0);
        EXPECT_EQ(Read(mesh), Mesh());
        EXPECT_EQ(Read(materials), kMaterials);
        Remove(meshAt);
        Remove(materialsAt);
    }
    // A relative path without a base goes to the system as it is; one with a base takes the derived path too.
    Write("m/a.gim", Manifest("Mesh='./not//there'"));
    EXPECT_EQ(Load(), 1);
    EXPECT_EQ(model.m_meshPath, "not/there");
    const std::string relative = std::filesystem::relative(Path("m/a"));
    Write("m/a.gim", Manifest());
    EXPECT_EQ(model.Load((relative + ".gim").c_str(), "b/"), 1);
    EXPECT_EQ(log.lines.back(), "E Failed to read file : b/" + relative + ".mesh\n");
}

TEST_F(GimDataTest, CountsTheSubmeshesOfTheMeshBesideIt)
{
    const std::string mesh = Path("m/a.mesh");
    EXPECT_EQ(CountSubmeshesBeside(mesh.c_str()), 0U);
    // What the manifest says of the mesh, base path, count.
    const std::tuple<const char*, const char*, std::uint32_t> cases[] = {
        {"", nullptr, 2},
        {"", "b/", 2},
        {"Mesh='m/a.mesh'", nullptr, 2},
        {"Mesh='m/a.mesh'", "", 2},
        {"Mesh='m/a.mesh'", "b/", 0},
        {"Mesh='n/a.mesh'", nullptr, 0},
        {"Mesh='/a.mesh'", nullptr, 0},
        {"Mesh='m/a.mesh'><SubMesh/></Vela><!--", nullptr, 0},
    };
    for (const auto& [attribute, base, count] : cases) {
        Write("m/a.gim", Manifest(attribute));
        LoadOptions options;
        if (base)
            options.base = Path(base);
        EXPECT_EQ(CountSubmeshesBeside(mesh.c_str(), options), count) << attribute;
    }
    EXPECT_EQ(log.lines, Lines{});
}

TEST_F(GimDataTest, BrokenModelsHaveAResultAndAMessage)
{
    const Lines failed{"E Failed to load file: " + Path("m/a.gim") + "\n"};
    const std::string tooNew = Write("new.mesh", Mesh(5));
    const std::tuple<std::string, int, Lines> cases[] = {
        {"<Vela><SubMesh>", tinyxml2::XML_ERROR_MISMATCHED_ELEMENT, failed},
        {"<Vela/>", 1, {"E No Vela SubMesh element in gim file.\n"}},
        {"<Vela><SubMesh>text<!-- none --></SubMesh></Vela>", 1, {"E SubMesh list is empty.\n"}},
        {Manifest("", R"(<a Name="n" MtlIdx="0"/><a Name="m"/>)"), -1, {}},
        {Manifest("", R"(<a MtlIdx="0"/><b Name="m" MtlIdx="0"/>)"), -1, {}},
        {Manifest("Mesh='" + Path("m") + "'"), 1, {"E Failed to read file : " + Path("m") + "\n"}},
        {Manifest("Mesh='" + tooNew + "'"), 1, {"E gim file version is too new"}},
    };
    for (const auto& [manifest, result, lines] : cases) {
        WriteModel();
        ASSERT_EQ(Load(), 0);
        log.lines.clear();
        Write("m/a.gim", manifest);
        EXPECT_EQ(Load(), result) << manifest;
        EXPECT_EQ(log.lines, lines) << manifest;
        // What the first load made is gone.
        const bool whole = result == -1, hasNoDocument = result > 1;
        const std::size_t named = whole && manifest.find("<a Name") != std::string::npos;
        EXPECT_EQ(std::tuple(model.m_submeshes.size(), model.m_materials.size(),
                             model.m_mesh.m_vertexData != nullptr, model.m_mtgXml.IsEmpty(),
                             model.m_musicXml.IsEmpty(), model.m_gimXml.IsEmpty(), model.m_meshPath.empty()),
                  std::tuple(named, whole ? 2U : 0U, whole, !whole, !whole, hasNoDocument, hasNoDocument));
    }
    EXPECT_EQ(Save(), 1);
    EXPECT_EQ(log.lines.back(), "E mesh file " + tooNew + " can't be written: there is no vertex object");
    EXPECT_EQ(Read(tooNew), Mesh(5));
}

TEST_F(GimDataTest, AModelWithoutSideFilesLoads)
{
    WriteModel(Manifest("", kSubmeshes, "<SkeletonFile><FileName/></SkeletonFile>"));
    Remove("m/a.mtg");
    Remove("m/a_music.ags");
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(model.GetSkeletonName(), "");
    EXPECT_EQ(log.lines, (Lines{"E Failed to load file: " + Path("m/a.mtg") + "\n",
                                "W Failed to read music ags data!\n"}));
    WriteModel(Manifest("", kSubmeshes, "<MtgFile MtgPath=\"a_music.ags\"/>"));
    Remove("m/a_music.ags");
    EXPECT_EQ(Load(Path("m/").c_str()), 0);
    EXPECT_EQ(log.lines[2], "E Failed to load file: " + Path("m/a_music.ags") + "\n") << "as material group";
    EXPECT_EQ(log.lines.back(), log.lines[1]);
    Remove("m/a.mesh"), Remove("m/a.mtg");
    EXPECT_EQ(Save(), 0);
    EXPECT_EQ(Read(Path("m/a.mesh")), Mesh());
    EXPECT_FALSE(std::filesystem::exists(Path("m/a.mtg")));
}

TEST_F(GimDataTest, AFaultyMaterialEndsTheList)
{
    WriteModel();
    const std::string start = "<Vela><MaterialGroup>", end = "</MaterialGroup></Vela>",
                      good = "<m><Material><ParamTable><P Value='1'/></ParamTable></Material></m>";
    const std::pair<std::string, std::size_t> cases[] = {
        {start + good + good + "<m/>" + good + end, 2},
        {start + good + "<m><Material/></m>" + good + end, 1},
        {"<Vela/>", 0}};
    for (const auto& [document, count] : cases) {
        Write("m/a.mtg", document);
        EXPECT_EQ(Load(), 0);
        EXPECT_EQ(model.m_materials.size(), count) << document;
    }
}

TEST_F(GimDataTest, ASaveThatFailsChangesNothing)
{
    WriteModel();
    ASSERT_EQ(Load(), 0);
    const std::string mesh = Path("m/a.mesh"),
                      cant = "E mesh file " + mesh + " can't be written: ", failed = "E failed to write ";
    const auto fails = [&](const std::string& meshPath, const std::string& message) {
        model.m_meshPath = meshPath;
        EXPECT_EQ(Save(), 1);
        EXPECT_EQ(log.lines.back(), message);
        EXPECT_EQ(Read(Path("m/a.gim")) + Read(Path("m/a.mtg")), Manifest() + kMaterials);
        EXPECT_EQ(Read(mesh), Mesh());
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Path("m")), {}), 4) << "no stray is left";
    };
    model.m_mesh.m_vertexData->m_positions[0].x = 77;
    fails(folder.string(), "E unable to open " + folder.string());
    const std::string manifest = Path("m/../m/a.gim");
    model.m_gimXml.Document().RootElement()->SetAttribute("Edited", 1);
    fails(manifest, "E " + manifest + " is the target of two files that are saved together");
    const std::pair<vlio::XmlData*, const char*> documents[] = {
        {&model.m_gimXml, "m/a.gim"}, {&model.m_mtgXml, "m/a.mtg"}, {&model.m_musicXml, "m/a_music.ags"}};
    for (const auto& [document, name] : documents) {
        tinyxml2::XMLDocument& edited = document->Document();
        edited.InsertFirstChild(edited.NewComment("-->"));
        fails(mesh, failed + Path(name) + ": the document would not read back as it is");
        edited.DeleteChild(edited.FirstChild());
    }
    fails("/dev/full", failed + "/dev/full: No space left on device");
    model.m_mesh.m_vertexData->m_subRecords[0].uvSetCount = 4;
    fails(mesh, cant + "submesh 0: declares 4 uv sets, but the mesh has 0");
    model.m_gimXml.FindElement("Vela/SubMesh", nullptr)->InsertNewChildElement("c");
    model.m_mesh.m_vertexData->m_subRecords[0].uvSetCount = 0;
    fails(mesh, cant + "it has 2 submeshes, but the manifest has 3");

    model.m_gimXml.FindElement("Vela/SubMesh", nullptr)->DeleteChildren();
    fails(mesh, cant + "it has 2 submeshes, but the manifest has 0");
    model.m_mesh.m_submeshCount = 0;
    fails(mesh, cant + "m_submeshCount is 0, so its vertices would not be saved");

    struct Silent : vlMeshSkelVertexData {
        void WriteData(std::FILE*) override {}
    };
    ASSERT_EQ(Load(), 0);
    const auto silent = std::make_shared<Silent>();
    static_cast<vlMeshSkelVertexData&>(*silent) =
        dynamic_cast<const vlMeshSkelVertexData&>(*model.m_mesh.m_vertexData);
    model.m_mesh.m_vertexData = silent;
    fails(mesh, cant + "the vertex object has written nothing");
}

}  // namespace vela::vlgim::test
