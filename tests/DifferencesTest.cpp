#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/MeshBytes.h"

#include <vlgim/Differences.h>

#include <cmath>

namespace vela::vlgim::test {

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// As in "positions at vertex 3: 1 / 2"; "-" stands for what a side does not have.
Lines Told(const std::vector<Difference>& differences)
{
    Lines lines;
    for (const Difference& d : differences)
        lines.push_back(d.field + (d.where.empty() ? "" : " at " + d.where) + ": " + d.a.value_or("-") +
                        " / " + d.b.value_or("-"));
    return lines;
}

vlMeshData WholeMesh()
{
    return MeshFrom(MeshOf(0x50004, {1, true, true, true}));
}

vlMeshSkelVertexData& SkinOf(vlMeshData& mesh)
{
    return dynamic_cast<vlMeshSkelVertexData&>(*mesh.m_vertexData);
}

template <class T>
struct Change {
    const char* told;
    void (*make)(T&);
};

// Each change is told, either way round, and nothing else.
template <class T, class Make, std::size_t N>
void ExpectEach(const Change<T> (&changes)[N], Make make)
{
    const T plain = make();
    EXPECT_EQ(Told(Compare(plain, make())), Lines{});
    for (const Change<T>& change : changes) {
        T changed = make();
        change.make(changed);
        EXPECT_EQ(Told(Compare(plain, changed)), Lines{change.told});
        EXPECT_EQ(Compare(changed, plain).size(), 1U) << change.told;
    }
}

// The fields, without what they lie in, that are told where one byte of a file after the other is another.
template <class Object, class... Options>
std::string FieldsOf(const Bytes& file, const Options&... options)
{
    Object plain;
    EXPECT_FALSE(Load(plain, file, options...));
    std::string fields, last;
    for (std::size_t at = 0; at < file.size(); ++at) {
        Object changed;
        if (Load(changed, With(file, at, {static_cast<unsigned char>(file[at] ^ 1)}), options...))
            continue;  // refused
        const auto differences = Compare(plain, changed);
        const std::string field = differences.empty() ? "nothing" : differences[0].field;
        const std::size_t slash = field.rfind("/ ");
        if (field != last)
            fields += field.substr(slash == std::string::npos ? 0 : slash + 2) + ",";
        last = field;
    }
    return fields;
}

TEST(Differences, EachByteOfAFile)
{
    const LoadOptions two{.base = {}, .submeshCount = 2};
    // Nothing is told of the magic word, of what follows a name's end, of tables and of bits of a NaN.
    EXPECT_EQ(FieldsOf<vlMeshData>(MeshOf(0x50004, {1, true, true, true}), two),
              "nothing,pack mode,mode,key times,track version,name,nothing,options,flags,key times,"
              "position,rotation,scale,position,rotation,scale,name,nothing,options,flags,key times,"
              "position,rotation,scale,position,rotation,scale,parent,parent,parent,name,nothing,name,"
              "nothing,name,bounds,bounds,bounds,matrix,matrix,matrix,nothing,vertex count,triangle count,"
              "uv sets,triangle count,uv sets,positions,nothing,vertex count,positions,normals,triangles,"
              "colours,positions,normals,positions,normals,bone references,bone weights,nothing,"
              "bone weights,bits,used bones,positions,indices,extra count,extra values,skin,"
              "bone references,bone weights,extra count,nothing,type,nothing,type,nothing,"
              "original data count,type,nothing,");
    EXPECT_EQ(FieldsOf<vlMeshData>(StaticMesh(TwoSubmeshBlock()), two),
              "nothing,pack mode,vertex count,triangle count,colours,vertex count,triangle count,uv sets,"
              "colours,positions,nothing,vertex count,triangle count,positions,normals,tangents,nothing,"
              "tangents,triangles,uv set 0,uv set 1,uv set 0,colours,nothing,");
    const std::string
        clip = "name,nothing,second name,nothing,name,nothing,name,nothing,attribute word,attribute byte 0,"
               "attribute byte 1,attribute short,attribute long,compress flags,",
        still = "key count,key times,position keyed,rotation keyed,scale keyed,rotation order,position,"
                "rotation,scale,";
    EXPECT_EQ(FieldsOf<vlAnimData>(TwoClips(1), std::string("a.gis")),
              "version,nothing,name,nothing,name,nothing,reference position,reference rotation,"
              "reference scale,reference position,reference rotation,reference scale," +
                  clip + "key layout,key times,position keyed,position,rotation,scale," + still +
                  "clip 'run'," + clip + "key times,position keyed,rotation order,position,rotation,scale," +
                  still);
}

TEST(Differences, FieldsOfAMesh)
{
    using M = vlMeshData;
    const Change<M> changes[] = {
        {"submesh count: 2 / 1", [](M& m) { m.m_submeshCount = 1; }},
        {"morph:  / -", [](M& m) { m.m_hasMorph = 0; }},
        {"track of submesh 1 / channel count: 2 / 1", [](M& m) { m.m_tracks[1].m_channelCount = 1; }},
        {"track of submesh 1 / channel 1 / position at key 1 at 2: (4, 5, 6) / (4, 5, 7)",
         [](M& m) { m.m_tracks[1].m_channels[1].m_pos[5] = 7; }},
        {"bone 'arm.l' / parent: root / arm.l", [](M& m) { m.m_boneParents[0] = 0; }},
        {"bone 'root' / matrix at value 7: 123 / NaN", [](M& m) { m.m_boneMatrices[1].m[1][3] = kNaN; }},
        {"bone bounds:  / -", [](M& m) { m.m_boneBounds = nullptr; }},
        {"vertex count: 2 / 1", [](M& m) { m.m_vertexData->m_vertexCount = 1; }},
        {"positions at vertex 1, frame 2: (10, 11, 12) / (10, 11, -Infinity)",
         [](M& m) { m.m_vertexData->m_positions[5].z = -INFINITY, m.m_vertexData->m_positions[0].x = 2; }},
        {"skin:  / -", [](M& m) { m.m_vertexData = std::make_shared<vlMeshVertexData>(*m.m_vertexData); }},
        {"bone references at vertex 1: (254, an_old_name_that_fills_its_field, 65535, arm.l) / (254, root, "
         "65535, arm.l)",
         [](M& m) { SkinOf(m).m_boneIndices[5] = 1; }},
        {"used bones at bone 'root': 1 / 0", [](M& m) { SkinOf(m).m_usedBones[1] = false; }},
        {"used bones at bone 8: 1 / 0", [](M& m) { SkinOf(m).m_usedBones[8] = false; }},
    };
    ExpectEach(changes, WholeMesh);

    vlMeshData keyed = WholeMesh();  // one key that is like the single one, and another
    keyed.m_tracks[1].m_channels[0].m_rotKeyed = 1;
    keyed.m_tracks[1].m_channels[0].m_rot = {0, 0, 0, 1, 0, 1, 0, 0};
    const std::string rotation = "track of submesh 1 / channel 0 / rotation";
    EXPECT_EQ(Told(Compare(WholeMesh(), keyed)),
              (Lines{rotation + " keyed: 0 / 1", rotation + " at key 1 at 2: (0, 0, 0, 1) / (0, 1, 0, 0)"}));
}

TEST(Differences, FieldsOfAStaticMesh)
{
    using M = vlMeshData;
    const Change<M> changes[] = {
        {"tangents:  / -", [](M& m) { m.m_vertexData->m_tangents = nullptr; }},
        {"triangles at triangle 1: (3, 4, 3) / (3, 9, 3)", [](M& m) { m.m_vertexData->m_indices[4] = 9; }},
        {"uv set 0 at vertex 3: (8, 9) / (8, 1)", [](M& m) { m.m_vertexData->m_uvSets[0][3].v = 1; }},
        {"colours at vertex 3: (68, 51, 34, 17) / (68, 51, 34, 0)",
         [](M& m) { m.m_vertexData->m_colors[3] = 0x00223344; }},
    };
    const auto make = [] { return MeshFrom(StaticMesh(TwoSubmeshBlock())); };
    ExpectEach(changes, make);

    vlMeshData other = make();
    other.m_vertexData->m_uvSets[1][3].u = 5;  // of no submesh
    other.m_vertexData->m_subRecords[1].firstVertex = 7;
    EXPECT_EQ(Told(Compare(make(), other)), Lines{});
}

TEST(Differences, FieldsOfAnAnimation)
{
    using A = vlAnimData;
    const Change<A> changes[] = {
        {"bones:  / -", [](A& a) { a.m_boneCount = 0; }},
        {"bone 'head':  / -", [](A& a) { a.m_boneCount = 1; }},
        {"clip 'run' / length: 10 / 12", [](A& a) { a.m_clips[1]->m_length = 12; }},
        {"clip 'run' / bone 'Head':  / -", [](A& a) { a.m_clips[1]->m_boneCount = 1; }},
        {"clip order at clip 'run': 1 / 0", [](A& a) { std::swap(a.m_clips[0], a.m_clips[1]); }},
        {"clip 'walk':  / -", [](A& a) { a.m_clips.erase(a.m_clips.begin()); }},
    };
    ExpectEach(changes, [] { return AnimationFrom(TwoClips(1)); });
    const Change<A> shared[] = {
        {"clip 'run' / key count: 2 / 1", [](A& a) { a.m_clips[1]->m_keyTimes->m_count = 1; }}};
    ExpectEach(shared, [] { return AnimationFrom(TwoClips(0)); });
}

TEST(Differences, FloatsAreComparedByValueWithinTheTolerance)
{
    vlMeshData a = WholeMesh(), b = WholeMesh();
    auto *x = a.m_vertexData->m_positions.get(), *y = b.m_vertexData->m_positions.get();
    x[0] = {kNaN, 0, 5}, y[0] = {-kNaN, -0.0F, 5.5F};
    x[1].y = 2, y[1].y = 1;
    const auto compare = [&](double tolerance) { return Compare(a, b, {tolerance}); };
    ASSERT_EQ(compare(0).size(), 1U);
    EXPECT_EQ(compare(0)[0].largest, 1.0);
    EXPECT_EQ(compare(0)[0].count, 2U);
    EXPECT_EQ(compare(0.5)[0].count, 1U);
    EXPECT_EQ(Told(compare(1)), Lines{});
    y[0].z = kNaN;
    EXPECT_EQ(compare(1)[0].largest, INFINITY);
    a = WholeMesh(), b = WholeMesh();
    b.m_vertexData->m_indices[0] = 1;
    EXPECT_EQ(compare(100).size(), 1U) << "integers are exact";
}

TEST(Differences, AQuaternionIsItsNegative)
{
    vlMeshData mesh = WholeMesh(), other = WholeMesh();
    vlTrackData &a = mesh.m_tracks[0], &b = other.m_tracks[0];
    const float half = std::sqrt(0.5F);
    std::copy_n(std::initializer_list<float>{half, 0, 0, half}.begin(), 4, a.m_channels[0].m_rot.get());
    std::copy_n(std::initializer_list<float>{-half, 0, -0.0F, -half}.begin(), 4, b.m_channels[0].m_rot.get());
    EXPECT_EQ(Told(Compare(a, b)), Lines{});
    b.m_channels[0].m_rot[2] = 0.25F;
    ASSERT_EQ(Compare(a, b).size(), 1U);
    EXPECT_EQ(Compare(a, b)[0].largest, 0.25);
    EXPECT_EQ(Told(Compare(a, b, {0.25})), Lines{});
    a.m_channels[0].m_rotOrder = b.m_channels[0].m_rotOrder = EULER_XYZ;  // angles have a sign
    EXPECT_EQ(Compare(a, b)[0].largest, static_cast<double>(2 * half));
}

// The mesh with a bone "new" ahead of all others, and every reference moved.
void InsertBone(vlMeshData& mesh)
{
    const std::uint16_t count = mesh.m_boneCount++;
    const auto grown = [count](auto& array) {
        std::remove_reference_t<decltype(array)> more(count + 1U);
        std::copy_n(array.begin(), count, more.begin() + 1);
        array = more;
    };
    grown(mesh.m_boneNames);
    grown(mesh.m_boneBounds);
    grown(mesh.m_boneMatrices);
    mesh.m_boneNames[0] = Name32("new");
    mesh.m_boneParents.insert(mesh.m_boneParents.begin(), 0xFFFF);
    for (std::uint16_t i = 1; i <= count; ++i)
        mesh.m_boneParents[i] += mesh.m_boneParents[i] != 0xFFFF;
    vlMeshSkelVertexData& skin = SkinOf(mesh);
    for (std::size_t i = 0; i < 8; ++i)
        skin.m_boneIndices[i] += skin.m_boneIndices[i] < count;
    skin.m_usedBones.insert(skin.m_usedBones.begin(), false);
    skin.m_usedBoneBits = mesh.m_boneCount;
}

TEST(Differences, WhatWasAddedIsOneDifference)
{
    vlMeshData mesh = MeshFrom(MeshOf(0x50004, {1}));
    vlMeshData more = MeshFrom(MeshOf(0x50004, {1}));
    InsertBone(more);
    EXPECT_EQ(Told(Compare(mesh, more)), Lines{"bone 'new': - / "});
    // The same numbers mean other bones then.
    SkinOf(more).m_boneIndices = SkinOf(mesh).m_boneIndices;
    ASSERT_EQ(Compare(mesh, more).size(), 2U);
    EXPECT_EQ(Told(Compare(mesh, more))[1],
              "bone references at vertex 0: (arm.l, an_old_name_that_fills_its_field, 65535, root) / "
              "(new, root, 65535, arm.l)");

    vlAnimData anim = AnimationFrom(TwoClips(1)), longer = AnimationFrom(TwoClips(1));
    longer.m_clips.insert(longer.m_clips.begin(), std::make_shared<vlClipData>(*longer.m_clips[0]));
    longer.m_clips[0]->m_name = Name32("new");
    EXPECT_EQ(Told(Compare(anim, longer)), Lines{"clip 'new': - / "});
    longer.m_clips[0]->m_name = Name32("walk");  // the first of a name is the other's first
    EXPECT_EQ(Told(Compare(anim, longer)), Lines{"clip 'walk': - / "});
    longer = AnimationFrom(TwoClips(1));
    longer.m_clips[0]->m_name = Name32("jump");
    longer.m_clips[0]->m_attrShort = 1;
    EXPECT_EQ(Told(Compare(anim, longer)), (Lines{"clip 'walk':  / -", "clip 'jump': - / "}));
    anim.m_clips[0] = nullptr;  // its side file is missing
    EXPECT_EQ(Told(Compare(anim, anim)), Lines{});
}

class ModelDifferences : public FolderTest {
protected:
    static constexpr const char* kManifest =
        R"(<Vela Mesh="a.mesh"><!-- by hand --><SubMesh><s Name="wall" MtlIdx="1"/><s Name="roof" MtlIdx="0"/></SubMesh>
           <SkeletonFile><FileName Value="hero.gis"/></SkeletonFile><Lod><l F="1.5"/><l F="3"/></Lod></Vela>)";
    static constexpr const char* kMaterials =
        R"(<Vela><MaterialGroup><oak><Material><ParamTable><Color Value="0.5,1,0"/><Gloss Value="0.25"/></ParamTable>
           </Material></oak><tin><Material><ParamTable/></Material></tin></MaterialGroup><Note>new</Note></Vela>)";

    // Compares the model with one of which a text of one file is another.
    Lines After(const std::string& file, const std::string& from, const std::string& to, double tolerance = 0)
    {
        for (const std::string side : {"a/", "b/"}) {
            std::pair<std::string, std::string> files[] = {
                {"a.gim", kManifest}, {"a.mtg", kMaterials}, {"a_music.ags", "<Vela/>"}, {"a.mesh", mesh}};
            for (auto& [name, text] : files) {
                if (side == "b/" && name == file)
                    text.replace(text.find(from), from.size(), to);
                Write(side + name, text);
            }
        }
        GimData a, b;
        EXPECT_EQ(a.Load(Path("a/a.gim").c_str(), Path("a/").c_str()), 0);
        EXPECT_EQ(b.Load(Path("b/a.gim").c_str(), Path("b/").c_str()), 0);
        return Told(Compare(a, b, {tolerance}));
    }

    const std::string mesh = AsString(MeshOf(0x50004, {1, true, true, true}));
    LogCapture log;
};

TEST_F(ModelDifferences, EachFieldOfAModel)
{
    const char* const changes[][4] = {
        {"a.gim", "by hand", "by tool", nullptr},
        {"a.gim", "a.mesh", "./a.mesh", "mesh path: a.mesh / ./a.mesh"},
        {"a.gim", "hero.gis", "villain.gis", "skeleton name: hero.gis / villain.gis"},
        {"a.gim", "roof", "tiles", "submesh 'roof' / Name: roof / tiles"},
        {"a.gim", "\"0\"", "\"1\"", "submesh 'roof' / MtlIdx: 0 / 1"},
        {"a.gim", "<l F=\"3\"", "<l G=\"3\"", "manifest at Vela/Lod/l[2]@F: 3 / -"},
        {"a.gim", "<l F=\"3\"/>", "", "manifest at Vela/Lod/l[2]: l / -"},
        {"a.gim", "<Lod>", "<Lod Far='9'>", "manifest at Vela/Lod@Far: - / 9"},
        {"a.mtg", "<Gloss Value=\"0.25\"/>", "", "material 'oak' / Gloss: 0.25 / -"},
        {"a.mtg", "new", "old", "material group at Vela/Note: new / old"},
        {"a.mtg", "<MaterialGroup>", "<MaterialGroup><elm><Material><ParamTable/></Material></elm>",
         "material 'elm': - / "},
        {"a_music.ags", "<Vela/>", "", "music:  / -"},
        {"a_music.ags", "<Vela/>", "<Vale/>", "music at Vela: Vela / Vale"},
    };
    for (const auto& [file, from, to, told] : changes)
        EXPECT_EQ(After(file, from, to), told ? Lines{told} : Lines{}) << to;
    EXPECT_EQ(After("a.mtg", "0.5,1,0", "0.5,1.25,0", 0.25), Lines{});
    EXPECT_EQ(After("a.mtg", "0.5,1,0", "0.5,1.25", 1), Lines{"material 'oak' / Color: 0.5,1,0 / 0.5,1.25"});
    EXPECT_EQ(After("a.gim", "1.5", "1.50"), Lines{"manifest at Vela/Lod/l@F: 1.5 / 1.50"});
}

}  // namespace

}  // namespace vela::vlgim::test
