#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/MeshBytes.h"

#include <vlgim/Findings.h>

#include <cmath>
#include <set>

namespace vela::vlgim::test {

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// Two keys that differ in every component.
ByteBuilder GoodChannel()
{
    ByteBuilder channel;
    channel.U8(1).U8(1).U8(1).Mark("rotation order").U8(0);
    channel.Mark("key positions").F32s({0, 0, 0, 1, 2, 3});
    return channel.Mark("key rotations").F32s({0, 0, 0, 1, 0, 1, 0, 0}).F32s({1, 1, 1, 2, 2, 2});
}

ByteBuilder GoodTrack()
{
    ByteBuilder track;
    track.Mark("track name").Raw(Name("body")).U8(1).U8(0).U8(0).U8(1).U16(5).U16(2);
    return track.Mark("track times").F32s({0, 1}).U16(1).Raw(GoodChannel());
}

// A skinned triangle of two morph frames with every block.
ByteBuilder GoodMesh()
{
    ByteBuilder mesh, vertices, original;
    mesh.Mark("magic").U32(0xBBC88034).Mark("version").U32(0x50004).U16(1).U8(1).U8(1).U16(2);
    mesh.Mark("morph times").F32s({0, 1}).U8(1).U32(0x10001).Raw(GoodTrack());
    mesh.U16(2).Mark("parents").U16s({0xFFFF, 0}).Mark("names").Raw(Name("hip")).Raw(Name("leg"));
    mesh.Mark("bounds flag").U8(1);
    mesh.Mark("bounds").F32s({-1, -1, -1, 1, 1, 1, 2, -1, -1, -1, 1, 1, 1, 2});
    mesh.Mark("matrices").F32s({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    mesh.F32s({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}).U8(0);
    vertices.Mark("entries").U32(3).U32(1).U8(1).U8(1).U16(1).U32(3).U32(1);
    vertices.Mark("positions").F32s({0, 0, 0, 1, 0, 0, 0, 1, 0});
    vertices.Mark("normals").F32s({0, 0, 1, 0, 0, 1, 0, 0, 1}).Mark("tangent flag").U16(1);
    vertices.Mark("tangents").F32s({1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0});
    vertices.Mark("triangles").U16s({0, 1, 2}).Mark("uvs").F32s({0, 0, 1, 0, 0, 1}).U32s({1, 2, 3});
    vertices.Mark("frame").F32s({0, 0, 5, 1, 0, 5, 0, 1, 5}).F32s({0, 0, 1, 0, 0, 1, 0, 0, 1});
    vertices.Mark("references").U16s({0, 1}).Fill(4, 0xFF).U16(0).Fill(6, 0xFF).U16(1).Fill(6, 0xFF);
    vertices.Mark("weights").F32s({0.5F, 0.5F, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}).Mark("mask").U32(2).U8(3);
    original.U32(1).Mark("original positions").F32s({1, 2, 3}).U32(1);
    original.Mark("original indices").U16(0).U32(1).U32(7).Mark("original skin flag").U8(1).U32(0);
    original.Mark("original weights").F32s({1, 0, 0, 0});
    const auto start = static_cast<std::uint32_t>(mesh.Bytes().size() + 4);
    const auto second = start + static_cast<std::uint32_t>(vertices.Bytes().size());
    const auto table = second + static_cast<std::uint32_t>(original.Bytes().size());
    mesh.U32(table).Raw(vertices).Raw(original).Mark("table").U16(2).U32(start).U32(second).U16(2);
    return mesh.Mark("pairs").U32(4).U16(0).U16(0).U32(5).U16(1).U16(0);
}

// A skeleton of two bones; two clips, with shared times and with times per bone.
ByteBuilder GoodGis()
{
    ByteBuilder gis;
    gis.Mark("gis magic").Raw({'R', 'G', 'I', 'S'}).Mark("version").U32(0x60001).U16(2);
    gis.Mark("bone count").U32(2).Mark("bones").Raw(Name("hip")).Raw(Name("leg"));
    gis.Mark("transforms").F32s({1, 2, 3, 0, 0, 0, 1, 1, 1, 1}).F32s({1, 2, 3, 0, 0, 0, 1, 1, 1, 1}).U32(0);
    for (const std::string clip : {"walk", "run"}) {
        gis.Mark(clip).Raw(ClipInfo(0x60001, clip, {"hip"}, clip == "walk" ? 1 : 0));
        gis.Mark(clip + " times").U16(2).F32s({0, 10}).Mark(clip + " keys").Raw(GoodChannel()).U8(0);
    }
    return gis;
}

using Set = std::set<std::string>;

// All codes that any case of this file has found.
Set& Seen()
{
    static Set seen;
    return seen;
}

Set Codes(const CheckResult& result)
{
    Set codes;
    for (const Finding& finding : result.findings)
        codes.insert(finding.code->name);
    Seen().insert(codes.begin(), codes.end());
    return codes;
}

CheckResult Check(std::string_view file, const char* path, const CheckOptions& options = {})
{
    return CheckBytes(reinterpret_cast<const unsigned char*>(file.data()), file.size(), path, options);
}

// Other bytes at a field of a good file, and what is to be found: the codes, and where the first of them is.
struct Change {
    const char* field;
    std::ptrdiff_t behind;
    Bytes bytes;
    Set codes;
    const char* block;
    std::ptrdiff_t offset = 0;  // from the changed bytes
};

template <class... Floats>
Bytes F(Floats... values)
{
    return ByteBuilder().F32s({static_cast<float>(values)...});
}

Change NaN(const char* field, std::ptrdiff_t behind, const char* block)
{
    return {field, behind, F(kNaN), {"not-finite"}, block};
}

void ExpectFound(const ByteBuilder& good, const char* path, const std::vector<Change>& changes)
{
    CheckOptions options;
    options.submeshCount = 1;
    EXPECT_EQ(Codes(Check(AsString(good), path, options)), Set{}) << "the good file";
    for (const Change& change : changes) {
        SCOPED_TRACE(std::string(change.field) + " + " + std::to_string(change.behind));
        const std::size_t at = good.At(change.field) + static_cast<std::size_t>(change.behind);
        const CheckResult result = Check(AsString(With(good, at, change.bytes)), path, options);
        EXPECT_EQ(Codes(result), change.codes);
        ASSERT_FALSE(result.findings.empty());
        const Finding& first = result.findings[0];
        EXPECT_EQ(first.block, change.block) << first.text;
        EXPECT_EQ(first.offset, at + static_cast<std::size_t>(change.offset)) << first.text;
    }
}

void ExpectFieldFindings()
{
    const char* const channel = "track 0 / channel 0";
    ExpectFound(GoodMesh(), "a.mesh",
                {{"magic", 0, {0x35}, {"mesh-magic", "save-header"}, "header"},
                 {"version", 0, {5}, {"bad-version"}, "header"},
                 {"version", 3, {2}, {"save-header"}, "header"},
                 {"morph times", 4, F(0), {"time-order"}, "morph data"},
                 {"track name", 10, {'x'}, {"save-ends-names"}, "track 0", -10},
                 {"key positions", 12, F(0, 0, 0), {"save-collapses-keys"}, channel, -16},
                 {"key rotations", 12, F(0), {"quaternion-zero"}, channel, -12},
                 {"key rotations", 20, F(2), {"quaternion-length"}, channel, -4},
                 {"parents", 2, {7}, {"bone-parent"}, "bones block"},
                 {"parents", 0, {1, 0}, {"bone-parent"}, "bones block"},
                 {"names", 32, {'h', 'i', 'p'}, {"bone-name"}, "bones block"},
                 {"names", 0, {'H'}, {"save-lower-case"}, "bones block"},
                 {"bounds", 24, F(kNaN), {"save-drops-bounds"}, "bones block", -25},
                 {"bounds flag", 0, {7}, {"save-changes"}, "bones block", -70},
                 {"entries", 4, {2}, {"submesh-range"}, "submesh entries", -4},
                 {"entries", 0, {9}, {"damaged"}, "vertex counts", 12},
                 {"positions", 16, F(-INFINITY), {"not-finite"}, "positions"},
                 {"tangent flag", 0, {2}, {"save-changes"}, "tangent flag"},
                 {"triangles", 2, {3}, {"index-range"}, "triangles"},
                 {"references", 2, {2}, {"bone-range"}, "bone references"},
                 {"weights", 4, F(0.25F), {"weight-sum"}, "bone weights", -4},
                 {"mask", 4, {1}, {"save-mask"}, "used bones", -4},
                 {"original indices", 0, {1}, {"index-range"}, "original data 0"},
                 {"original skin flag", 0, {9}, {"save-changes"}, "original data 0", -30},
                 {"table", 1, {0x80}, {"damaged"}, "share table", -1},
                 {"pairs", 6, {1}, {"save-table"}, "share table", -18},
                 {"pairs", 8, {4}, {"save-drops-blocks", "save-table"}, "share table", -14}});
    ExpectFound(GoodMesh(), "a.mesh",
                {NaN("track times", 4, "track 0"), NaN("key positions", 8, channel),
                 NaN("bounds", 0, "bones block"), NaN("matrices", 64, "bones block"),
                 NaN("normals", 0, "normals"), NaN("tangents", 68, "tangents"), NaN("uvs", 20, "uvs"),
                 NaN("frame", 4, "morph frames"), NaN("frame", 40, "morph frames"),
                 NaN("weights", 4, "bone weights"), NaN("original positions", 0, "original data 0"),
                 NaN("original weights", 8, "original data 0")});
    ExpectFound(GoodGis(), "a.gis",
                {{"gis magic", 0, {'r'}, {"bad-header"}, "header"},
                 {"version", 0, {2}, {"bad-version"}, "header"},
                 {"version", 3, {5}, {"bad-version"}, "header", -3},
                 {"version", 3, {1}, {"save-header"}, "header"},
                 {"bone count", 1, {1}, {"damaged"}, "bones", -1},
                 {"bones", 32, {'h', 'i', 'p'}, {"bone-name"}, "bones"},
                 {"bones", 32, {'L'}, {"save-lower-case"}, "bones"},
                 {"bones", 35, Bytes(29, 'x'), {"skeleton-name"}, "bones", -3},
                 {"transforms", 24, F(0), {"quaternion-zero"}, "bones", -12},
                 {"walk", 66, {'H'}, {"clip-bone"}, "clip 0"},
                 {"walk", 66, {'x'}, {"clip-bone"}, "clip 0"},
                 {"run", 0, {'w', 'a', 'l', 'k'}, {"clip-name"}, "clip 1"},
                 {"walk", 31, {'x'}, {"save-ends-names"}, "clip 0", -31},
                 {"walk times", 6, F(-1), {"time-order"}, "clip 0 / bone 0"}});
    ExpectFound(GoodGis(), "a.gis",
                {NaN("transforms", 0, "bones"), NaN("run times", 6, "clip 1 / key times"),
                 NaN("walk keys", 8, "clip 0 / bone 0")});
    const Bytes allNaN = F(kNaN, kNaN, kNaN);
    ByteBuilder track;
    track.Raw({'V', 'T', 'R', 'K'}).Mark("version").U32(0x10001);
    track.Mark("header word").U16(256).Raw(GoodTrack());
    ExpectFound(
        track, "door.track",
        {{"version", 0, {2}, {"bad-version"}, "header"},
         {"version", 0, {0}, {"save-changes", "save-version"}, "header"},
         {"header word", 0, {7}, {"bad-header"}, "header"},
         {"track times", 4, F(0), {"time-order"}, "track 0"},
         {"key positions", 0, allNaN, {"not-finite", "save-collapses-keys", "save-drops-keys"}, channel},
         {"rotation order", 0, {9}, {"rotation-order", "save-drops-bytes"}, channel}});
}

// Whole files, each of which has something that no change of a field in a good one gives.
struct Whole {
    const char* path;
    std::string file;
    Set codes;
    std::uint32_t submeshes = 1;
};

void ExpectWholeFindings()
{
    const auto withoutData = ByteBuilder().U32s({65536, 65536}).U32(0).U32s({65536, 65536});
    const auto halfFloats =
        ByteBuilder().U32s({1, 0}).U16(0).U16(1).U32s({1, 0}).Fill(12, 0).F32s({0, 0, 1}).U16(0);
    ByteBuilder packed = ByteBuilder().Raw({'R', 'G', 'I', 'S'}).U32(0x50004).U16(1), pivot = packed;
    packed.Raw(ClipInfo(0x50004, "walk", {"hip"}, 1, 8)).U16(1).F32(0).Fill(4, 0).F32s({1, 2, 3});
    packed.U32(0x200D57FF)
        .F32s({1, 1, 1})
        .U8(0);  // the rotation comes out otherwise when it is worked out anew
    pivot.Raw(ClipInfo(0x50004, "walk", {}, 2)).U8(1).U32(0x10001).Raw(GoodTrack());
    // A time of so many ticks that the float between them does not come back to it.
    const Bytes ticks = With(SmallGis(false, 0x50000), 154, ByteBuilder().U32(0x600003));
    const std::vector<Whole> files = {
        {"a.gis", AsString(packed), {"save-recodes-keys"}},
        {"a.gis", AsString(pivot), {"clip-layout", "save-drops-pivot-track"}},
        {"a.gis", AsString(ticks), {"save-moves-times"}},
        {"a.gis", AsString(SmallGis(true, 0x60000)), {"clips-without-place", "save-drops-bytes"}},
        {"a.gis", AsString(GoodGis().U8(0)), {"save-drops-bytes"}},
        {"a.mesh", AsString(StaticMesh(withoutData)), {"count-16-bit", "no-vertex-data", "save-fills-data"}},
        {"a.mesh",
         AsString(MeshOf(0x50001, {1, true, true})),
         {"bone-range", "not-finite", "save-drops-anim-bi", "save-drops-key-records", "save-lower-case",
          "save-version", "weight-sum"},
         2},
        {"a.mesh", AsString(With(MeshOf(0x50004, {}), 24, {1})), {"blocks-overlap", "save-table"}, 2},
        {"a.mesh", AsString(StaticMesh(halfFloats, 0x01050004)), {"save-floats"}},
        {"a.gim", "<Vela><SubMesh><a Name='x'/></SubMesh></Vela>", {"submesh-incomplete"}},
        {"a.gim", "<Vela><SubMesh/></Vela>", {"no-submeshes"}},
        {"a.gim", "<Vela><SubMesh><a Name='x' MtlIdx='one'/></SubMesh></Vela>", {"material-index"}},
        {"a.ags", "<Vela>\n  <Event>\n</Vela>", {"bad-xml"}},
        {"a.txt", "hello", {"unknown-kind"}},
        {"a_gis/walk.gis", AsString(ClipRecord(0x60001)), {"unknown-kind"}},
    };
    CheckOptions options;
    for (const Whole& whole : files) {
        options.submeshCount = whole.submeshes;
        EXPECT_EQ(Codes(Check(whole.file, whole.path, options)), whole.codes)
            << whole.path << ", " << *whole.codes.begin();
    }
    // The word that a writer fills in last, at byte 262143, lies across two of its pieces.
    ByteBuilder morph, vertex;
    morph.U8(1).U8(1).U16(65532).F32Run(0, 65532).U8(0);
    vertex.U32(1).U32(0).U8(0).U8(0).U16(1).U32(1).U32(0).F32s({0, 0, 0, 0, 0, 1}).U16(0);
    for (int frame = 1; frame < 65532; ++frame)
        vertex.F32s({0, 0, 0, 0, 0, 1});
    options.submeshCount = 1;
    EXPECT_EQ(Codes(Check(AsString(MeshFile(0x50004, 0, morph, {vertex}, {4})), "a.mesh", options)), Set{});
    const std::string mesh = AsString(GoodMesh());
    EXPECT_EQ(Codes(Check(mesh, "a.mesh")), Set{"mesh-alone"});  // tracks hide how many submeshes there are
    options = {.base = {}, .submeshCount = 1, .memoryLimit = 2000, .progress = {}};
    EXPECT_EQ(Codes(Check(mesh, "a.mesh", options)), Set{"memory-limit"});
}

class FindingsTest : public FolderTest {
protected:
    void PutModel() const
    {
        Write("a.mesh", AsString(GoodMesh()));
        Write("a.mtg",
              "<Vela><MaterialGroup><m><Material><ParamTable/></Material></m></MaterialGroup></Vela>");
        Write("a_music.ags", "<Vela/>");
        Write("a.gim", Manifest());
    }

    static std::string Manifest(const char* attribute = "", const char* submesh = "", const char* more = "",
                                char material = '0')
    {
        return std::string("<Vela") + attribute + "><SubMesh><a Name='x' MtlIdx='" + material + "'/>" +
               submesh + "</SubMesh>" + more + "</Vela>";
    }

    void ExpectFolderFindings() const;
};

// A model and a skeleton whose files are changed one at a time.
void FindingsTest::ExpectFolderFindings() const
{
    PutModel();
    const CheckResult good = CheckFile(Path("a.gim").c_str());
    EXPECT_EQ(Codes(good), Set{});
    EXPECT_EQ(good.files,
              (std::vector<std::string>{Path("a.gim"), Path("a.mtg"), Path("a_music.ags"), Path("a.mesh")}));
    const char* const skeleton = "<SkeletonFile><FileName Value='b.gis'/></SkeletonFile>";
    const std::tuple<const char*, std::string, Set> changes[] = {
        {"a.gim", Manifest("", "", "", '1'), {"material-index"}},
        {"a.gim", Manifest("", "", skeleton), {"missing-file"}},
        {"a.gim", Manifest(" Mesh='A.mesh'"), {"missing-file"}},
        {"a.gim", Manifest("", "<b Name='y' MtlIdx='0'/>"), {"damaged"}},
        {"a.gim", Manifest(), {}},
        {"a.mtg", "<Vela><MaterialGroup><m/></MaterialGroup></Vela>", {"material-incomplete"}},
        {"a_music.ags", "<Vela", {"bad-xml", "material-incomplete"}},
        {"a.mesh",
         AsString(StaticMesh(TwoSubmeshBlock())),
         {"bad-xml", "material-incomplete", "submesh-count"}},
        {"c.gis", AsString(SmallGis(true)), {"missing-file", "save-refused"}},
        {"c_gis/walk.gis", AsString(ClipRecord(0x60001)), {"clip-bone", "save-base-info"}},
        {"c_gis/walk.gis",
         AsString(ClipRecord(0x60001, 1, "run")),
         {"clip-bone", "clip-renamed", "save-base-info"}},
        {"c_gis/walk.gis", "run", {"damaged", "save-refused"}},
        {"d.gis", AsString(SmallGis(true)), {"missing-file", "save-refused"}},
        {"d_gis/Walk.gis", AsString(ClipRecord(0x60001)), {"missing-file", "save-refused"}}};
    CheckResult result;
    for (const auto& [name, content, codes] : changes) {
        Write(name, content);
        result = CheckFile(Path(std::string(1, *name) + (*name == 'a' ? ".gim" : ".gis")).c_str());
        EXPECT_EQ(Codes(result), codes) << name << ": " << content.substr(0, 200);
    }
    const std::string& text = result.findings[0].text;
    EXPECT_TRUE(text.ends_with("Walk.gis, which differs only in case")) << text;
    std::filesystem::remove(Path("d_gis/Walk.gis"));
    std::filesystem::create_symlink("nowhere", Path("d_gis/walk.gis"));
    EXPECT_TRUE(CheckFile(Path("d.gis").c_str())
                    .findings[0]
                    .text.ends_with("walk.gis is a link to a file that doesn't exist"));
    Write("e.gis", AsString(GisHeader(0x60001, 2)
                                .Raw(Skeleton())
                                .U32(1)
                                .U32(1108)
                                .Raw(BaseInfo("walk"))
                                .Raw(BaseInfo("./walk"))));
    Write("e_gis/walk.gis", AsString(ClipRecord(0x60001)));
    result = CheckFile(Path("e.gis").c_str());
    EXPECT_EQ(result.findings[0].text, "clips 0 and 1 have the same side file, " + Path("e_gis/./walk.gis"));
    EXPECT_EQ(CheckFile(Path("c.gis").c_str()).findings.back().block, "clip");
    for (const char* name : {".", "c.gim"})
        EXPECT_EQ(Codes(CheckFile(Path(name).c_str())), Set{"unreadable"}) << name;
}

TEST_F(FindingsTest, EachCodeIsFoundWhereItBelongs)
{
    const LogCapture log;
    ExpectFieldFindings();
    ExpectWholeFindings();
    ExpectFolderFindings();
    for (const FindingCode& code : FindingCodes()) {
        EXPECT_TRUE(Seen().contains(code.name)) << code.name << " is not tested";
        EXPECT_EQ(FindFindingCode(code.name), &code);
    }
    EXPECT_EQ(log.lines, Lines{});
}

TEST_F(FindingsTest, PlacesInDocuments)
{
    const std::tuple<const char*, std::uint32_t, std::uint32_t, const char*> documents[] = {
        {"<Vela>\n <SubMesh><b Name='' MtlIdx='0'/>\r\n  <!-- <a> --><a Name='x'/></SubMesh></Vela>", 3, 15,
         "Vela/SubMesh/a"},
        {"<Vela>\n\n   <SubMesh/></Vela>", 3, 4, "Vela/SubMesh"},
        {"<Vela>\n\n   <SubMesh></SubMesk></Vela>", 3, 4, ""},
        {"<Vela>\n  <a b='&#0;'/></Vela>", 2, 9, ""},
        {"<Vela>\n  <a ", 2, 6, ""},
        {"", 1, 1, ""},
    };
    for (const auto& [text, line, column, block] : documents) {
        const CheckResult result = Check(text, "a.gim");
        ASSERT_EQ(result.findings.size(), 1U) << text;
        const Finding& found = result.findings[0];
        EXPECT_EQ(std::tuple(found.line, found.column, found.block, found.offset),
                  std::tuple(line, column, block, std::nullopt))
            << text;
    }
}

TEST_F(FindingsTest, ManyOfOneCodeAreCounted)
{
    const CheckResult result = Check("<Vela><SubMesh>" + Repeat("<a/>", 30) + "</SubMesh></Vela>", "a.gim");
    ASSERT_EQ(result.findings.size(), 21U);
    EXPECT_EQ(result.findings.back().text, "10 more of this kind in the file");
    EXPECT_EQ(result.Count(Severity::Error), 21U);
}

TEST_F(FindingsTest, ACallbackCanEndACheckAtEachStep)
{
    PutModel();
    int steps = 0;
    CheckOptions options;
    options.progress = [&steps](const CheckProgress&) { return ++steps > 0; };
    EXPECT_FALSE(CheckFile(Path("a.gim").c_str(), options).isCancelled);
    EXPECT_GT(steps, 6);
    for (int last = 0; last < steps; ++last) {
        int step = 0;
        options.progress = [&step, last](const CheckProgress&) { return step++ < last; };
        EXPECT_TRUE(CheckFile(Path("a.gim").c_str(), options).isCancelled);
        EXPECT_EQ(step, last + 1);
    }
}

}  // namespace

}  // namespace vela::vlgim::test
