#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/MeshBytes.h"

#include <vlgim/Findings.h>

#include <cmath>
#include <map>
#include <set>

namespace vela::vlgim::test {

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// A file in which the places of some fields are known by name.
struct Marked : ByteBuilder {
    std::map<std::string, std::size_t> at;

    Marked& Mark(const std::string& name)
    {
        at[name] = Bytes().size();
        return *this;
    }
    Marked& Add(const Marked& part)
    {
        for (const auto& [name, offset] : part.at)
            at[name] = Bytes().size() + offset;
        Raw(part);
        return *this;
    }
};

// Two keys that differ in every component.
Marked GoodChannel()
{
    Marked channel;
    channel.Mark("keyed").U8(1).U8(1).U8(1);
    channel.Mark("rotation order").U8(0);
    channel.Mark("key positions").F32s({0, 0, 0, 1, 2, 3});
    channel.Mark("key rotations").F32s({0, 0, 0, 1, 0, 1, 0, 0});
    channel.Mark("key scales").F32s({1, 1, 1, 2, 2, 2});
    return channel;
}

Marked GoodTrack()
{
    Marked track;
    track.Mark("track name").Raw(Name("body")).U8(1).U8(0).U8(0).U8(1).U16(5).U16(2);
    track.Mark("track times").F32s({0, 1}).U16(1);
    return track.Add(GoodChannel());
}

// A skinned triangle of two morph frames with every block.
Marked GoodMesh()
{
    Marked mesh;
    mesh.Mark("magic").U32(0xBBC88034);
    mesh.Mark("version").U32(0x50004);
    mesh.U16(1).U8(1).U8(1).U16(2);
    mesh.Mark("morph times").F32s({0, 1});
    mesh.U8(1).U32(0x10001);
    mesh.Add(GoodTrack());
    mesh.Mark("bones").U16(2);
    mesh.Mark("parents").U16s({0xFFFF, 0});
    mesh.Mark("names").Raw(Name("hip")).Raw(Name("leg"));
    mesh.Mark("bounds flag").U8(1);
    mesh.Mark("bounds").F32s({-1, -1, -1, 1, 1, 1, 2, -1, -1, -1, 1, 1, 1, 2});
    mesh.Mark("matrices").F32s({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    mesh.F32s({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}).U8(0);
    Marked vertices;
    vertices.Mark("entries").U32(3).U32(1).U8(1).U8(1);
    vertices.Mark("data flag").U16(1).U32(3).U32(1);
    vertices.Mark("positions").F32s({0, 0, 0, 1, 0, 0, 0, 1, 0});
    vertices.Mark("normals").F32s({0, 0, 1, 0, 0, 1, 0, 0, 1});
    vertices.Mark("tangent flag").U16(1);
    vertices.Mark("tangents").F32s({1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0});
    vertices.Mark("triangles").U16s({0, 1, 2});
    vertices.Mark("uvs").F32s({0, 0, 1, 0, 0, 1}).U32s({1, 2, 3});
    vertices.Mark("frame").F32s({0, 0, 5, 1, 0, 5, 0, 1, 5}).F32s({0, 0, 1, 0, 0, 1, 0, 0, 1});
    vertices.Mark("references")
        .U16s({0, 1, 0xFFFF, 0xFFFF, 0, 0xFFFF, 0xFFFF, 0xFFFF, 1, 0xFFFF, 0xFFFF, 0xFFFF});
    vertices.Mark("weights").F32s({0.5F, 0.5F, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0});
    vertices.Mark("mask").U32(2).U8(3);
    Marked original;
    original.U32(1);
    original.Mark("original positions").F32s({1, 2, 3}).U32(1);
    original.Mark("original indices").U16(0).U32(1).U32(7);
    original.Mark("original skin flag").U8(1).U32(0);
    original.Mark("original weights").F32s({1, 0, 0, 0});
    const auto start = static_cast<std::uint32_t>(mesh.Bytes().size() + 4);
    const auto second = start + static_cast<std::uint32_t>(vertices.Bytes().size());
    const auto table = second + static_cast<std::uint32_t>(original.Bytes().size());
    mesh.Mark("table offset").U32(table);
    mesh.Add(vertices).Add(original);
    mesh.Mark("table").U16(2).U32(start).U32(second).U16(2);
    mesh.Mark("pairs").U32(4).U16(0).U16(0).U32(5).U16(1).U16(0);
    return mesh;
}

// A skeleton of one bone; two clips, with shared times and with times per bone.
Marked GoodGis(std::uint32_t version = 0x60001)
{
    Marked gis;
    gis.Mark("gis magic").Raw({'R', 'G', 'I', 'S'});
    gis.Mark("version").U32(version).U16(2);
    if (version >= 0x60000) {
        gis.Mark("bone count").U32(2);
        gis.Mark("bones").Raw(Name("hip")).Raw(Name("leg"));
        gis.Mark("transforms").F32s({1, 2, 3, 0, 0, 0, 1, 1, 1, 1}).F32s({1, 2, 3, 0, 0, 0, 1, 1, 1, 1});
        gis.Mark("async").U32(0);
    }
    const bool hasTicks = version < 0x50002;
    for (const std::string clip : {"walk", "run"}) {
        const std::uint8_t layout = hasTicks || clip == "walk" ? 1 : 0;
        gis.Mark(clip).Raw(ClipInfo(version, clip, {"hip"}, layout));
        gis.Mark(clip + " times").U16(2);
        if (hasTicks)
            gis.U32(0).U32(48);
        else
            gis.F32s({0, 10});
        gis.Mark(clip + " keys").Add(GoodChannel());
        gis.Mark(clip + " pivot").U8(0);
    }
    return gis;
}

Marked GoodTrackFile()
{
    Marked file;
    file.Mark("magic").Raw({'V', 'T', 'R', 'K'});
    file.Mark("version").U32(0x10001);
    file.Mark("header word").U16(256);
    return file.Add(GoodTrack());
}

using Set = std::set<std::string>;

Set Codes(const CheckResult& result)
{
    Set codes;
    for (const Finding& finding : result.findings)
        codes.insert(finding.code->name);
    return codes;
}

// All codes that any case of this file has found.
Set& Seen()
{
    static Set seen;
    return seen;
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

void ExpectFound(const Marked& good, const char* path, const std::vector<Change>& changes)
{
    CheckOptions options;
    options.submeshCount = 1;
    const auto check = [&](const Bytes& file) { return CheckBytes(file.data(), file.size(), path, options); };
    for (const Finding& finding : check(good).findings)
        ADD_FAILURE() << "the good file: " << finding.code->name << ": " << finding.text;
    for (const Change& change : changes) {
        SCOPED_TRACE(std::string(change.field) + " + " + std::to_string(change.behind));
        const std::size_t at = good.at.at(change.field) + static_cast<std::size_t>(change.behind);
        const CheckResult result = check(With(good, at, change.bytes));
        EXPECT_EQ(Codes(result), change.codes);
        ASSERT_FALSE(result.findings.empty());
        EXPECT_EQ(result.findings[0].block, change.block) << result.findings[0].text;
        EXPECT_EQ(result.findings[0].offset, at + static_cast<std::size_t>(change.offset))
            << result.findings[0].text;
        Seen().merge(Codes(result));
    }
}

void ExpectFieldFindings()
{
    ExpectFound(GoodMesh(), "a.mesh",
                {
                    {"magic", 0, {0x35}, {"mesh-magic", "save-header"}, "header"},
                    {"version", 0, {5}, {"bad-version"}, "header"},
                    {"version", 3, {2}, {"save-header"}, "header"},
                    {"morph times", 4, F(0), {"time-order"}, "morph data"},
                    {"track name", 10, {'x'}, {"save-ends-names"}, "track 0", -10},
                    {"key positions", 12, F(0, 0, 0), {"save-collapses-keys"}, "track 0 / channel 0", -16},
                    {"key rotations", 12, F(0), {"quaternion-zero"}, "track 0 / channel 0", -12},
                    {"key rotations", 20, F(2), {"quaternion-length"}, "track 0 / channel 0", -4},
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
                    {"pairs", 8, {4}, {"save-drops-blocks", "save-table"}, "share table", -14},
                    {"track times", 4, F(kNaN), {"not-finite"}, "track 0"},
                    {"key positions", 8, F(kNaN), {"not-finite"}, "track 0 / channel 0"},
                    {"bounds", 0, F(kNaN), {"not-finite"}, "bones block"},
                    {"matrices", 64, F(kNaN), {"not-finite"}, "bones block"},
                    {"normals", 0, F(kNaN), {"not-finite"}, "normals"},
                    {"tangents", 68, F(kNaN), {"not-finite"}, "tangents"},
                    {"uvs", 20, F(kNaN), {"not-finite"}, "uvs"},
                    {"frame", 4, F(kNaN), {"not-finite"}, "morph frames"},
                    {"frame", 40, F(kNaN), {"not-finite"}, "morph frames"},
                    {"weights", 4, F(kNaN), {"not-finite"}, "bone weights"},
                    {"original positions", 0, F(kNaN), {"not-finite"}, "original data 0"},
                    {"original weights", 8, F(kNaN), {"not-finite"}, "original data 0"},
                });
    ExpectFound(GoodGis(), "a.gis",
                {
                    {"gis magic", 0, {'r'}, {"bad-header"}, "header"},
                    {"version", 0, {2}, {"bad-version"}, "header"},
                    {"version", 3, {5}, {"bad-version"}, "header", -3},
                    {"version", 3, {1}, {"save-header"}, "header"},
                    {"bone count", 1, {1}, {"damaged"}, "bones", -1},
                    {"bones", 32, {'h', 'i', 'p'}, {"bone-name"}, "bones"},
                    {"bones", 32, {'L'}, {"save-lower-case"}, "bones"},
                    {"bones", 35, Bytes(29, 'x'), {"skeleton-name"}, "bones", -3},
                    {"transforms", 0, F(kNaN), {"not-finite"}, "bones"},
                    {"transforms", 24, F(0), {"quaternion-zero"}, "bones", -12},
                    {"walk", 66, {'H'}, {"clip-bone"}, "clip 0"},
                    {"walk", 66, {'x'}, {"clip-bone"}, "clip 0"},
                    {"run", 0, {'w', 'a', 'l', 'k'}, {"clip-name"}, "clip 1"},
                    {"walk", 31, {'x'}, {"save-ends-names"}, "clip 0", -31},
                    {"walk times", 6, F(-1), {"time-order"}, "clip 0 / bone 0"},
                    {"run times", 6, F(kNaN), {"not-finite"}, "clip 1 / key times"},
                    {"walk keys", 8, F(kNaN), {"not-finite"}, "clip 0 / bone 0"},
                });
    ExpectFound(GoodTrackFile(), "door.track",
                {
                    {"version", 0, {2}, {"bad-version"}, "header"},
                    {"version", 0, {0}, {"save-changes", "save-version"}, "header"},
                    {"header word", 0, {7}, {"bad-header"}, "header"},
                    {"track times", 4, F(0), {"time-order"}, "track 0"},
                    {"key positions",
                     0,
                     F(kNaN, kNaN, kNaN),
                     {"not-finite", "save-collapses-keys", "save-drops-keys"},
                     "track 0 / channel 0"},
                    {"rotation order", 0, {9}, {"rotation-order", "save-drops-bytes"}, "track 0 / channel 0"},
                });
}

// Whole files, each of which has something that no change of a field in a good one gives.
struct Whole {
    const char* path;
    Bytes file;
    Set codes;
    std::uint32_t submeshes = 1;
};

Bytes Text(std::string_view text)
{
    return {text.begin(), text.end()};
}

// A clip of one bone whose rotation, in 32 bits, comes out otherwise when it is worked out anew.
Bytes PackedGis()
{
    ByteBuilder gis;
    gis.Raw({'R', 'G', 'I', 'S'}).U32(0x50004).U16(1).Raw(ClipInfo(0x50004, "walk", {"hip"}, 1, 8));
    return gis.U16(1).F32(0).Fill(4, 0).F32s({1, 2, 3}).U32(0x200D57FF).F32s({1, 1, 1}).U8(0);
}

Bytes PivotGis()
{
    ByteBuilder gis;
    gis.Raw({'R', 'G', 'I', 'S'}).U32(0x50004).U16(1).Raw(ClipInfo(0x50004, "walk", {}, 2));
    return gis.U8(1).U32(0x10001).Raw(GoodTrack());
}

// A time of so many ticks that the float between them does not come back to it.
Bytes TickGis()
{
    const Marked good = GoodGis(0x50000);
    return With(good, good.at.at("walk times") + 6, ByteBuilder().U32(0x600003));
}

// Vertices and triangles without their data.
Bytes EmptyMesh(std::uint32_t count)
{
    return StaticMesh(ByteBuilder().U32(count).U32(count).U8(0).U8(0).U16(0).U32(count).U32(count));
}

// One vertex in half floats.
Bytes HalfMesh()
{
    ByteBuilder block;
    block.U32(1).U32(0).U8(0).U8(0).U16(1).U32(1).U32(0).Fill(12, 0).F32s({0, 0, 1}).U16(0);
    return StaticMesh(block, 0x01050004);
}

void ExpectWholeFindings()
{
    const std::vector<Whole> files = {
        {"a.gis", PackedGis(), {"save-recodes-keys"}},
        {"a.gis", PivotGis(), {"clip-layout", "save-drops-pivot-track"}},
        {"a.gis", TickGis(), {"save-moves-times"}},
        {"a.gis", SmallGis(true, 0x60000), {"clips-without-place", "save-drops-bytes"}},
        {"a.gis", ByteBuilder().Raw(GoodGis()).U8(0), {"save-drops-bytes"}},
        {"a.mesh", EmptyMesh(3), {"no-vertex-data", "save-fills-data"}},
        {"a.mesh", EmptyMesh(65536), {"count-16-bit", "no-vertex-data", "save-fills-data"}},
        {"a.mesh",
         MeshOf(0x50001, {1, true, true}),
         {"bone-range", "not-finite", "save-drops-anim-bi", "save-drops-key-records", "save-lower-case",
          "save-version", "weight-sum"},
         2},
        {"a.mesh", With(MeshOf(0x50004, {}), 24, {1}), {"blocks-overlap", "save-table"}, 2},
        {"a.mesh", HalfMesh(), {"save-floats"}},
        {"a.gim", Text("<Vela><SubMesh><a Name='x'/></SubMesh></Vela>"), {"submesh-incomplete"}},
        {"a.gim", Text("<Vela><SubMesh/></Vela>"), {"no-submeshes"}},
        {"a.gim", Text("<Vela><SubMesh><a Name='x' MtlIdx='one'/></SubMesh></Vela>"), {"material-index"}},
        {"a.ags", Text("<Vela>\n  <Event>\n</Vela>"), {"bad-xml"}},
        {"a.txt", Text("hello"), {"unknown-kind"}},
        {"a_gis/walk.gis", ClipRecord(0x60001), {"unknown-kind"}},
    };
    CheckOptions options;
    for (const Whole& whole : files) {
        options.submeshCount = whole.submeshes;
        const CheckResult result = CheckBytes(whole.file.data(), whole.file.size(), whole.path, options);
        EXPECT_EQ(Codes(result), whole.codes) << whole.path << ", " << *whole.codes.begin();
        Seen().merge(Codes(result));
    }
    const Bytes mesh = GoodMesh();
    const CheckResult alone = CheckBytes(mesh.data(), mesh.size(), "a.mesh");
    EXPECT_EQ(Codes(alone), Set{"mesh-alone"});  // tracks hide how many submeshes there are
    options = {.base = {}, .submeshCount = 1, .memoryLimit = 2000, .progress = {}};
    EXPECT_EQ(Codes(CheckBytes(mesh.data(), mesh.size(), "a.mesh", options)), Set{"memory-limit"});
    Seen().merge(Set{"mesh-alone", "memory-limit"});
}

class FindingsTest : public FolderTest {
protected:
    void Put(std::string_view name, const Bytes& content) const
    {
        Write(name, {reinterpret_cast<const char*>(content.data()), content.size()});
    }

    Set Found(const char* name) const
    {
        const Set codes = Codes(CheckFile(Path(name).c_str()));
        Seen().insert(codes.begin(), codes.end());
        return codes;
    }

    void PutModel() const
    {
        Put("a.mesh", GoodMesh());
        Write("a.mtg", kMaterials);
        Write("a_music.ags", "<Vela/>");
        Write("a.gim", kManifest);
    }

    void ExpectModelFindings() const;
    void ExpectSideFileFindings() const;

    static constexpr const char* kManifest =
        "<Vela>\n<SubMesh>\n  <a Name='x' MtlIdx='0'/>\n</SubMesh>\n</Vela>\n";
    static constexpr const char* kMaterials =
        "<Vela><MaterialGroup><m><Material><ParamTable/></Material></m></MaterialGroup></Vela>";
};

// A model whose files are changed one at a time.
void FindingsTest::ExpectModelFindings() const
{
    PutModel();
    const CheckResult good = CheckFile(Path("a.gim").c_str());
    EXPECT_EQ(Codes(good), Set{});
    EXPECT_EQ(good.files,
              (std::vector<std::string>{Path("a.gim"), Path("a.mtg"), Path("a_music.ags"), Path("a.mesh")}));
    const std::string submesh = "<SubMesh><a Name='x' MtlIdx='0'/>";
    const std::tuple<const char*, std::string, Set> changes[] = {
        {"a.gim", "<Vela><SubMesh><a Name='x' MtlIdx='1'/></SubMesh></Vela>", {"material-index"}},
        {"a.gim",
         "<Vela>" + submesh + "</SubMesh><SkeletonFile><FileName Value='b.gis'/></SkeletonFile></Vela>",
         {"missing-file"}},
        {"a.gim", "<Vela Mesh='A.mesh'>" + submesh + "</SubMesh></Vela>", {"missing-file"}},
        {"a.gim", "<Vela>" + submesh + "<b Name='y' MtlIdx='0'/></SubMesh></Vela>", {"damaged"}},
        {"a.gim", kManifest, {}},
        {"a.mtg", "<Vela><MaterialGroup><m/></MaterialGroup></Vela>", {"material-incomplete"}},
        {"a_music.ags", "<Vela", {"bad-xml", "material-incomplete"}},
    };
    for (const auto& [name, content, codes] : changes) {
        Write(name, content);
        EXPECT_EQ(Found("a.gim"), codes) << content;
    }
    Put("b.mesh", StaticMesh(TwoSubmeshBlock()));
    Write("b.gim", kManifest);
    Write("b.mtg", kMaterials);
    EXPECT_EQ(Found("b.gim"), Set{"submesh-count"});
    EXPECT_EQ(Found("."), Set{"unreadable"});
    EXPECT_EQ(Found("c.gim"), Set{"unreadable"});
}

void FindingsTest::ExpectSideFileFindings() const
{
    const Set missing{"missing-file", "save-refused"};
    Put("c.gis", SmallGis(true));
    EXPECT_EQ(Found("c.gis"), missing);
    Put("c_gis/Walk.gis", ClipRecord(0x60001));
    const std::string text = CheckFile(Path("c.gis").c_str()).findings[0].text;
    EXPECT_TRUE(text.ends_with("Walk.gis, which differs only in case")) << text;
    const std::pair<Bytes, Set> files[] = {
        {ClipRecord(0x60001), {"clip-bone", "save-base-info"}},
        {ClipRecord(0x60001, 1, "run"), {"clip-bone", "clip-renamed", "save-base-info"}},
        {{'r', 'u', 'n'}, {"damaged", "save-refused"}}};
    for (const auto& [file, codes] : files) {
        Put("c_gis/walk.gis", file);
        EXPECT_EQ(Found("c.gis"), codes);
    }
    EXPECT_EQ(CheckFile(Path("c.gis").c_str()).findings.back().block, "clip");
}

TEST_F(FindingsTest, EachCodeIsFoundWhereItBelongs)
{
    const LogCapture log;
    ExpectFieldFindings();
    ExpectWholeFindings();
    ExpectModelFindings();
    ExpectSideFileFindings();
    for (const FindingCode& code : FindingCodes()) {
        EXPECT_TRUE(Seen().contains(code.name)) << code.name << " is not tested";
        EXPECT_EQ(FindFindingCode(code.name), &code);
    }
    EXPECT_EQ(log.lines, std::vector<std::string>{});
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
        const Bytes file = Text(text);
        const CheckResult result = CheckBytes(file.data(), file.size(), "a.gim");
        ASSERT_EQ(result.findings.size(), 1U) << text;
        const Finding& found = result.findings[0];
        EXPECT_EQ(std::tuple(found.line, found.column, found.block, found.offset),
                  std::tuple(line, column, block, std::nullopt))
            << text;
    }
}

TEST_F(FindingsTest, ManyOfOneCodeAreCounted)
{
    std::string manifest = "<Vela><SubMesh>";
    for (int i = 0; i < 30; ++i)
        manifest += "<a/>";
    manifest += "</SubMesh></Vela>";
    const Bytes file = Text(manifest);
    const CheckResult result = CheckBytes(file.data(), file.size(), "a.gim");
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
