#include "support/Blocks.h"
#include "support/Files.h"
#include "support/MeshBytes.h"

#include <nameid/NameID.h>
#include <vlgim/vlMeshData.h>

namespace vela::vlgim::test {

namespace {

using Counts = std::vector<std::uint32_t>;

const Bytes kFile = StaticMesh(TwoSubmeshBlock());
const MeshForm kWhole{1, true, true, true};
const auto kTableAt = static_cast<std::uint32_t>(kFile.size() - 16);

bool Read(vlMeshData& mesh, const unsigned char* data, const unsigned char* end)
{
    mesh.m_submeshCount = 2;
    return mesh.ReadMeshFile(data, static_cast<std::size_t>(end - data));
}

Bytes Write(vlMeshData& mesh)
{
    return Written([&](std::FILE* stream) { EXPECT_EQ(mesh.WriteMeshFile(stream), 0); });
}

Counts FittingCounts(const Bytes& file)
{
    return vlMeshData::FittingSubmeshCounts(file.data(), file.size());
}

Bytes Skinned(const Bytes& bones)
{
    const Bytes vertices = ByteBuilder().Raw(SmallVertexBlock(0x50004, 1)).Raw(SkinSlots(0x50004)).U32(0);
    return MeshFile(0x50004, 1, ByteBuilder().U16(0).Raw(bones).U8(0), {vertices}, {4});
}

}  // namespace

// Every byte of every form in every version, and that a file written is the newest form of the one read.
TEST(vlMeshData, EachVersionAndForm)
{
    const MeshForm forms[] = {
        {}, {1}, {2}, {0, true}, {0, false, true}, {0, false, false, true}, {2, true, false, true}, kWhole};
    for (std::uint32_t version = 0x50000; version <= 0x50004; ++version) {
        for (const MeshForm& form : forms) {
            SCOPED_TRACE(testing::Message() << "version " << (version & 0xFF) << ", form " << &form - forms);
            const Bytes file = MeshOf(version, form), written = MeshOf(version, form, true);
            LogCapture log;
            vlMeshData mesh = MeshFrom(file), again = MeshFrom(written);
            EXPECT_EQ(Write(mesh), written);
            EXPECT_EQ(Write(again), written);
            EXPECT_EQ(mesh.m_skelVertexBlocks, form.skeletonFlag != 0 ? 1 : 0);
            EXPECT_EQ(log.lines, Lines{});
            ForEachPrefix(file, [&](const unsigned char* data, const unsigned char* end) {
                log.lines.clear();
                EXPECT_FALSE(Read(mesh, data, end));
                EXPECT_EQ(log.lines.size(), 1U);
                static_cast<void>(
                    vlMeshData::FittingSubmeshCounts(data, static_cast<std::size_t>(end - data)));
            });
            EXPECT_EQ(std::tuple(mesh.m_vertexData, mesh.m_morph, mesh.m_tracks, mesh.m_hasMorph,
                                 mesh.m_hasTracks, mesh.m_boneCount, mesh.m_boneMatrices,
                                 mesh.m_originalData.size()),
                      std::tuple(nullptr, nullptr, nullptr, 0, 0, 0, nullptr, 0U));
        }
    }
    for (const Bytes& file :
         {kFile, MeshOf(0x50001, kWhole), MeshOf(0x50003, kWhole), MeshOf(0x50004, kWhole)}) {
        ExpectLiesReadBack(vlMeshData(), file, &Read, &Write);
        ForEachByteChange(file, &FittingCounts);
    }
}

TEST(vlMeshData, WhatIsNotReadSaysWhy)
{
    const std::pair<Bytes, std::string> cases[] = {
        {With(kFile, 4, {5}), "version is too new"},
        {With(kFile, 4, {0xFF, 0xFF, 0xFF, 2}), "version is too new"},
        {With(kFile, 4, {0xFF, 0xFF, 4}), "version is too old"},
        {Prefix(kFile, 9), "is damaged: header at byte 8: needs 2 bytes, but the file has 1 left"},
        {With(MeshOf(0x50004, {1}), 12, {255}),
         "is damaged: bones block at byte 524: needs 8160 bytes, but the file has 72 left"},
        {With(kFile, 14, {1}),
         "is damaged: share table at byte 65836: an offset points here, but the file has 316 bytes"},
        {With(kFile, kTableAt, Bytes(4)),
         "is damaged: share table at byte 300: the share table lists no blocks"},
        {With(With(kFile, 36, {0}), 41, {64}), "is damaged: vertex block at byte 46: needs 47248834560 bytes "
                                               "of memory, but 14700288 are allowed"},
    };
    for (const auto& [file, message] : cases) {
        const LogCapture log;
        vlMeshData mesh = MeshFrom(kFile);  // what is read again is replaced
        EXPECT_FALSE(mesh.ReadMeshFile(file.data(), file.size()));
        EXPECT_EQ(log.lines, Lines{"E gim file " + message});
        EXPECT_EQ(mesh.m_vertexData, nullptr) << message;
    }
    vlMeshData halves = MeshFrom(With(kFile, 7, {1}));
    EXPECT_EQ(std::tuple(halves.m_version, halves.m_packMode), std::tuple(0x50004U, 1U));
    EXPECT_EQ(Prefix(Write(halves), 10), Prefix(kFile, 10)) << "the newest version, pack mode 0";
}

TEST(vlMeshData, TheSubmeshCountThatFits)
{
    const std::pair<Bytes, Counts> cases[] = {
        {kFile, {2}},
        // The table comes first.
        {With(kFile, kTableAt, ByteBuilder().U16(2).U32s({16, kTableAt + 1}).U16(0)), {2}},
        {StaticMesh(Bytes(20)), {1}},
        // Three triangles without a vertex, or two submeshes without data.
        {StaticMesh(ByteBuilder().U16(1).U32(0).U32(3).Fill(20, 0)), {0, 2}},
        {With(kFile, 16, {9}), {}},  // no count adds up
        {StaticMesh(WithoutTangents(), 0x50000), {2}},
        {StaticMesh(WithoutTangents(), 0x4FFFF), {}},  // too old
        {{}, {}},
    };
    for (const auto& [file, counts] : cases)
        EXPECT_EQ(FittingCounts(file), counts);
}

// What follows from the bytes, and what is the caller's; members that bytes become show where they are written.
TEST(vlMeshData, MembersThatNoFileHolds)
{
    vlMeshData mesh = MeshFrom(MeshOf(0x50001, kWhole));
    EXPECT_EQ(mesh.m_boneNameIds, (std::vector{NameIDMurmur3("arm.l"), NameIDMurmur3("root"),
                                               NameIDMurmur3("an_old_name_that_fills_its_field")}));
    mesh.m_spareIndex = 7;
    EXPECT_TRUE(mesh.ReadMeshFile(kFile.data())) << "vouched for by the caller";
    EXPECT_EQ(mesh.m_spareIndex, 7);
    EXPECT_EQ(Write(mesh), kFile);
    const std::pair<std::vector<std::uint16_t>, std::uint16_t> roots[] = {
        {{0xFFFF, 0, 1}, 0},           {{1, 2, 0xFFFF}, 2}, {{0xFFFF, 0xFFFF, 0}, 0xFFFF},
        {{1, 0xFFFF, 0xFFFF}, 0xFFFF}, {{1, 0, 0}, 0},      {{255, 255, 0}, 0}};
    for (const auto& [parents, root] : roots) {
        const Bytes bytes = ByteBuilder().U16(parents[0]).U16(parents[1]).U16(parents[2]);
        mesh = MeshFrom(Skinned(With(BonesBlock(0x50004, true), 2, bytes)));
        EXPECT_EQ(std::tuple(mesh.m_boneParents, mesh.m_rootBone), std::tuple(parents, root));
    }
}

TEST(vlMeshData, BonesAsTheyAreWritten)
{
    const Bytes bones = BonesBlock(0x50004, true), nan = ByteBuilder().U32(0xFF800001);
    Bytes none = With(bones, 104, {0});
    none.erase(none.begin() + 105, none.begin() + 189);
    const auto expectWritten = [](vlMeshData& mesh, const Bytes& block) {
        Bytes written = Write(mesh);
        written.resize(12 + block.size() + 1);
        EXPECT_EQ(written, Prefix(Skinned(block), written.size()));
    };
    const Bytes extents = With(bones, 105 + 76, nan);  // of which nobody asks
    const std::pair<Bytes, Bytes> cases[] = {
        {none, none},      {With(bones, 105 + 24, nan), none}, {With(bones, 105 + 80, nan), none},
        {{0, 0}, {0, 0}},  {{0xFF, 0xFF}, {0xFF, 0xFF}},  // counts of no bones
        {extents, extents}};
    for (const auto& [read, written] : cases) {
        vlMeshData mesh = MeshFrom(Skinned(read));
        EXPECT_EQ(mesh.m_boneBounds != nullptr, written == extents);
        expectWritten(mesh, written);
    }
    vlMeshData mesh = MeshFrom(Skinned(bones));
    mesh.m_boneBounds[1].m_radius = std::numeric_limits<float>::quiet_NaN();
    expectWritten(mesh, none);
}

// How many records of 28 bytes follow for each key, in files before 0x50002.
TEST(vlMeshData, KeyRecordsOfOldFiles)
{
    const Bytes noTracks = ByteBuilder().U8(1).U32(0x10001).Fill(84, 0);
    const std::pair<const char*, Bytes> cases[] = {
        {"a morph without keys", {1, 2, 0, 0, 0}},
        {"tracks without keys count, the morph's do not",
         ByteBuilder().U8(1).U8(2).U16(1).F32(0).Raw(noTracks)},
        {"the first track has two keys, and the second none",
         ByteBuilder().U8(0).U8(1).U32(0x10001).Raw(TrackBlock()).Fill(42 + 2 * 84, 0)}};
    for (const auto& [what, animation] : cases) {
        SCOPED_TRACE(what);
        MeshFrom(MeshFile(0x50001, 0, animation, {SmallVertexBlock(0x50001, 1)}, {4}));
    }
}

TEST(vlMeshData, TracksHaveOneVersionInTheFile)
{
    vlMeshData mesh = MeshFrom(With(MeshOf(0x50004, {0, false, true}), 12, {0}));  // flags read as one set
    EXPECT_EQ(std::tuple(mesh.m_tracks[1].m_version, mesh.m_tracks[1].m_flags), std::tuple(0x10000U, 0xB007));
    EXPECT_EQ(Write(mesh).at(12), 0);
}

// Blocks may stand anywhere in the file, with anything between them. Pairs count by their type: as many as are of
// type 4 are no original data, and block 0 never is. The first that names a block says what it is.
TEST(vlMeshData, OriginalDataAnywhere)
{
    const Bytes vertices = SmallVertexBlock(0x50004, 1), gap{0xEE, 0xEE, 0xEE};
    const Bytes blocks = ByteBuilder().Raw(OriginalBlock()).Raw(gap).Raw(vertices).Raw(gap).Fill(13, 0);
    const std::uint32_t originalAt = 16, verticesAt = 16 + 90, emptyAt = verticesAt + 90 + 3;
    const std::string lost = " vertex blocks; only the first is read, and a save drops the others";
    const struct {
        std::vector<std::pair<std::uint32_t, std::uint16_t>> pairs;  // type, block
        std::vector<std::uint32_t> types;                            // of what is read and written
        Lines lines;
    } cases[] = {
        {{{9, 2}, {4, 0}, {7, 1}, {8, 2}, {6, 0xFFFF}, {6, 3}}, {4, 7, 9}, {}},
        {{{4, 2}, {9, 1}}, {4, 9, 5}, {}},
        {{}, {4, 5, 5}, {}},
        {{{4, 0}, {4, 1}, {3, 2}}, {4, 3}, {"W gim file lists 2" + lost + ": at byte 16"}},
        {{{4, 0}, {4, 0}, {4, 0}, {4, 0}}, {4}, {"W gim file lists 4" + lost + ": at byte 16, 199"}},
    };
    for (const auto& c : cases) {
        ByteBuilder file;
        file.U32(0xBBC88034).U32(0x50004).U16(0).U16(0).U32(emptyAt + 13).Raw(blocks);
        file.U16(3).U32s({verticesAt, originalAt, emptyAt}).U16(static_cast<std::uint16_t>(c.pairs.size()));
        for (const auto& [type, index] : c.pairs)
            file.U32(type).U16s({index, 0xEEEE});
        const LogCapture log;
        vlMeshData mesh = MeshFrom(file);
        EXPECT_EQ(log.lines, c.lines);
        std::vector<Bytes> written{vertices, OriginalBlock(), Bytes(13)};
        written.erase(written.begin() + 1, written.end() - (std::ssize(c.types) - 1));
        EXPECT_EQ(Write(mesh), MeshFile(0x50004, 0, {0, 0}, written, c.types));
    }
    ByteBuilder beyond;
    beyond.U32(0xBBC88034).U32(0x50004).U16(0).U16(0).U32(emptyAt + 13).Raw(blocks);
    const auto at = static_cast<std::uint32_t>(beyond.Bytes().size() + 28);  // one past the last byte
    beyond.U16(2).U32s({verticesAt, at}).U16(2).U32(4).U16s({0, 0}).U32(4).U16s({1, 0});
    vlMeshData refused;
    EXPECT_EQ(Load(refused, beyond.Bytes()).offset, at) << "of a block that is passed over";
    // A write warns of what a read would pass over.
    vlMeshData mesh = MeshFrom(MeshOf(0x50004, kWhole));
    mesh.m_originalData[1]->m_type = MESH_DATA_VERTEX;
    LogCapture log;
    mesh = MeshFrom(Write(mesh));
    ASSERT_EQ(log.lines.size(), 2U);
    EXPECT_TRUE(log.lines[0].starts_with("W 1 blocks of original data are marked as vertex data, so a re"));
    ASSERT_EQ(mesh.m_originalData.size(), 1U);
    EXPECT_EQ(mesh.m_originalData[0]->m_origVertexCount, 0U) << "the first block goes, whichever is marked";
}

using MeshFileTest = FolderTest;

TEST_F(MeshFileTest, WritesToPathsAndToStreamsThatSeek)
{
    vlMeshData mesh = MeshFrom(kFile);
    const std::string path = Path("a b\xC3\xA4.mesh");
    EXPECT_EQ(mesh.WriteMeshFile(path.c_str()), 0);
    const LogCapture log;
    std::FILE* pipe = ::popen(("cat >" + Path("piped")).c_str(), "w");
    EXPECT_EQ(mesh.WriteMeshFile(pipe), 0);
    ::pclose(pipe);
    EXPECT_EQ(FolderTest::Read(Path("piped")), "") << "nothing";
    Written([&](std::FILE* seeking) {
        mesh.WriteMeshFile(seeking);
        EXPECT_EQ(std::ftell(seeking), 16) << "behind the table offset";
    });
    mesh.m_vertexData = nullptr;
    EXPECT_EQ(mesh.WriteMeshFile(path.c_str()), 1);
    EXPECT_EQ(log.lines, (Lines{"E mesh can't be written: the stream can't seek",
                                "E mesh file " + path + " can't be written: there is no vertex object"}));
    EXPECT_EQ(FolderTest::Read(path), AsString(kFile)) << "the old file is whole";
}

// An object of a caller's class, whose writer puts these bytes in the place of the library's.
struct Foreign : vlMeshSkelVertexData {
    void WriteData(std::FILE* stream) override
    {
        std::fwrite(bytes.data(), 1, bytes.size(), stream);
        if (callsBase)
            vlMeshSkelVertexData::WriteData(stream);
    }

    Bytes bytes;
    bool callsBase = false;
};

TEST(vlMeshData, ACallersClassWritesItsOwnBytes)
{
    const MeshForm form{1};
    const Bytes file = MeshOf(0x50004, form, true), noise(300'000, 0xA5);  // more than one piece of a copy
    vlMeshData mesh = MeshFrom(file);
    auto skin = dynamic_cast<vlMeshSkelVertexData&>(*mesh.m_vertexData);
    const auto written = [&](const Bytes& bytes) {
        const auto foreign = std::make_shared<Foreign>();
        static_cast<vlMeshSkelVertexData&>(*foreign) = skin;
        foreign->bytes = bytes;
        mesh.m_vertexData = foreign;
        return Write(mesh);
    };
    EXPECT_EQ(written(noise), MeshFile(0x50004, 1, AheadOfVertices(0x50004, form, true), {noise}, {4}));
    EXPECT_EQ(written(Written(skin)), file);
    const LogCapture log;
    written({});
    EXPECT_EQ(log.lines, Lines{"E mesh can't be written: the vertex object has written nothing"});
    EXPECT_EQ(Save(mesh, "/dev/full").kind, ErrorKind::Unwritable);
    auto& refused = dynamic_cast<Foreign&>(*mesh.m_vertexData);
    refused = {};
    refused.m_subCount = 1;
    refused.bytes = {1};
    refused.callsBase = true;
    EXPECT_EQ(Save(mesh, "/dev/full").text, "vertex block can't be written: the submesh records are missing");
    EXPECT_EQ(log.lines.size(), 1U) << "none is of the base";
    EXPECT_EQ(Written([&](std::FILE* stream) { skin.vlMeshVertexData::WriteData(stream); }),
              SmallVertexBlock(0x50004, 1));
}

TEST(vlMeshData, WhatCannotBeReadBackIsNotWritten)
{
    using Mesh = vlMeshData&;
    ExpectRefusedAtWrite<vlMeshData>(
        "E mesh can't be written: ", [] { return MeshFrom(MeshOf(0x50004, kWhole)); },
        {{"there is no vertex object", [](Mesh mesh) { mesh.m_vertexData = nullptr; }},
         {"the skeleton flag is set, but the vertex object has no skin",
          [](Mesh mesh) { mesh.m_vertexData = std::make_shared<vlMeshVertexData>(); }},
         {"the vertex object has a skin, but the skeleton flag is not set",
          [](Mesh mesh) { mesh.m_skeletonFlag = 0; }},
         {"a vertex has 8 bone slots, but files have 4",
          [](Mesh mesh) { mesh.m_vertexData->m_maxBoneRefCount = 8; }},
         {"there are 3 bones and 2 parents", [](Mesh mesh) { mesh.m_boneParents.pop_back(); }},
         {"the vertex object has 3 frames, but there is no morph", [](Mesh mesh) { mesh.m_hasMorph = 0; }},
         {"the vertex object has 3 frames, but the morph has 2 keys",
          [](Mesh mesh) { mesh.m_morph->m_times.SetKeyTimes(2, 1); }},
         {"the morph flag is set, but there is no morph", [](Mesh mesh) { mesh.m_morph = nullptr; }},
         {"the track flag is set, but there are no tracks", [](Mesh mesh) { mesh.m_tracks = nullptr; }},
         {"track 1 / channel 0: the positions have 6 entries, but 3 are needed",
          [](Mesh mesh) {
              mesh.m_tracks[1].m_channels = mesh.m_tracks[0].m_channels;
              mesh.m_tracks[1].m_times.SetKeyTimes(1, 1);
          }},
         {"track 1: the version of the first track has no place for its flags",
          [](Mesh mesh) { mesh.m_tracks[0].m_version = 0x10000, mesh.m_tracks[0].m_flags = 0; }},
         {"original data 1: the object is null", [](Mesh mesh) { mesh.m_originalData[1] = nullptr; }},
         {"there are 32767 blocks of original data, which exceeds the limit of 32766",
          [](Mesh mesh) { mesh.m_originalData.resize(32767, mesh.m_originalData[1]); }},
         {"the file would exceed 4 GiB, but its offsets have 32 bits",
          [](Mesh mesh) {
              const auto data = std::make_shared<vlOriginalData>();
              data->m_origExtra = Array<std::uint32_t>(data->m_origExtraCount = 1U << 20);
              mesh.m_originalData.assign(1024, data);
          }}},
        &Write);
}

}  // namespace vela::vlgim::test
