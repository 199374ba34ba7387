#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/MeshBytes.h"

#include <vlgim/vlMeshData.h>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace vela::vlgim;
using namespace vela::vlgim::test;

namespace {

using Lines = std::vector<std::string>;

const Bytes kFile = StaticMesh(TwoSubmeshBlock());
const auto kTableAt = static_cast<std::uint32_t>(kFile.size() - 16);

Bytes Prefix(std::size_t size)
{
    return {kFile.begin(), kFile.begin() + static_cast<std::ptrdiff_t>(size)};
}

// The file with a share table of these blocks and of pairs with these types.
Bytes WithTable(std::initializer_list<std::uint32_t> blocks, std::initializer_list<std::uint32_t> types)
{
    ByteBuilder file;
    file.Raw(Prefix(kTableAt)).U16(static_cast<std::uint16_t>(blocks.size())).U32s(blocks);
    file.U16(static_cast<std::uint16_t>(types.size()));
    for (const std::uint32_t type : types)
        file.U32(type).U32(0);
    return file.Bytes();
}

bool Read(vlMeshData& mesh, const Bytes& file, std::uint32_t submeshCount = 2)
{
    mesh.m_submeshCount = submeshCount;
    return mesh.ReadMeshFile(file.data(), file.size());
}

Bytes Written(vlMeshData& mesh)
{
    return vela::vlgim::test::Written([&](std::FILE* stream) { EXPECT_EQ(mesh.WriteMeshFile(stream), 0); });
}

std::vector<std::uint32_t> Counts(const Bytes& file)
{
    return vlMeshData::FittingSubmeshCounts(file.data(), file.size());
}

TEST(vlMeshData, ReadsAndWritesTheSameFile)
{
    vlMeshData mesh, vouched;
    mesh.m_spareIndex = 7;
    vouched.m_submeshCount = 2;
    ASSERT_TRUE(Read(mesh, kFile));
    EXPECT_EQ(mesh.m_spareIndex, 7);
    EXPECT_EQ(mesh.m_vertexData->m_uvSets[0][3].v, 9.0F);
    EXPECT_EQ(Written(mesh), kFile);
    ASSERT_TRUE(vouched.ReadMeshFile(kFile.data()));
    EXPECT_EQ(Written(vouched), kFile);
    EXPECT_TRUE(Read(mesh, StaticMesh(Bytes(20)), 1));
}

TEST(vlMeshData, VersionGate)
{
    const std::tuple<std::uint32_t, std::uint32_t, unsigned, const char*> cases[] = {
        {0x00050000, 0x50000, 0, nullptr},
        {0x01050004, 0x50004, 1, nullptr},
        {0xFF050001, 0x50001, 255, nullptr},
        {0x00050005, 0x50005, 0, "E gim file version is too new"},
        {0x0004FFFF, 0x4FFFF, 0, "E gim file version is too old"},
        {0x02FFFFFF, 0xFFFFFF, 2, "E gim file version is too new"},
    };
    for (const auto& [word, version, packMode, message] : cases) {
        const Bytes block = version == 0x50000 ? WithoutTangents() : TwoSubmeshBlock();
        const LogCapture log;
        vlMeshData mesh;
        ASSERT_TRUE(Read(mesh, kFile));  // what is read again is replaced
        EXPECT_EQ(Read(mesh, StaticMesh(block, word)), !message) << std::hex << word;
        EXPECT_EQ(std::tuple(mesh.m_version, mesh.m_packMode), std::tuple(version, packMode));
        EXPECT_EQ(mesh.m_vertexData == nullptr, message != nullptr);
        EXPECT_EQ(log.lines, message ? Lines{message} : Lines{});
        if (!message) {
            const Bytes written = Written(mesh);  // as the newest version, with pack mode 0
            EXPECT_EQ(Bytes(written.begin(), written.begin() + 10), Prefix(10));
        }
    }
}

TEST(vlMeshData, WhatIsNotReadSaysWhy)
{
    const std::pair<Bytes, std::string> cases[] = {
        {Prefix(9), "is damaged: header at byte 8 needs 2, and 1 is left"},
        {Prefix(11), "is damaged: animation block at byte 11 needs 1, and 0 is left"},
        {Prefix(14), "is damaged: table offset at byte 12 needs 4, and 2 is left"},
        {With(kFile, 14, {1}), "is damaged: share table at byte 65836 needs 2, and 0 is left"},
        {With(kFile, kTableAt + 1, {0x80}),
         "is damaged: share table at byte 300 needs 32769, and 32767 is left"},
        {WithTable({}, {}), "is damaged: share table at byte 300 needs 1, and 0 is left"},
        {WithTable({77'777}, {}), "is damaged: submesh entries at byte 77777 needs 20, and 0 is left"},
        {With(kFile, 34, {5}), "is damaged: submesh entries at byte 34 needs 5, and 4 is left"},
        {With(kFile, 41, {64}), "is damaged: positions at byte 46 needs 12884901948, and 270 is left"},
        {With(With(kFile, 36, {0}), 41, {64}),
         "is damaged: vertex block at byte 46 needs 47244640576, and 16797440 is left"},
    };
    for (const auto& [file, message] : cases) {
        const LogCapture log;
        vlMeshData mesh;
        EXPECT_FALSE(Read(mesh, file));
        EXPECT_EQ(mesh.m_vertexData, nullptr);
        EXPECT_EQ(mesh.m_hasMorph + mesh.m_hasTracks, 0);
        EXPECT_EQ(log.lines, Lines{"E gim file " + message});
    }
}

TEST(vlMeshData, PrefixesAndLyingBytes)
{
    LogCapture log;
    ForEachPrefix(kFile, [&](const unsigned char* data, const unsigned char* end) {
        const Bytes prefix(data, end);
        vlMeshData mesh;
        log.lines.clear();
        EXPECT_FALSE(Read(mesh, prefix));
        EXPECT_EQ(mesh.m_vertexData, nullptr);
        EXPECT_EQ(log.lines.size(), 1U);
        Counts(prefix);
    });
    ForEachByteChange(kFile, [](const Bytes& changed) {
        vlMeshData mesh, again;
        if (Read(mesh, changed)) {
            const Bytes written = Written(mesh);
            ASSERT_TRUE(Read(again, written));
            EXPECT_EQ(Written(again), written);
        }
        Counts(changed);
    });
}

// The pairs of type 4 say how many blocks are no original data, and block 0 never is.
TEST(vlMeshData, ShareTableDecidesWhatIsRead)
{
    const std::string lost = " vertex blocks, of which the first is read and the others are lost at a write";
    const std::pair<Bytes, Lines> cases[] = {
        {WithTable({16}, {}), {}},
        {WithTable({16}, {4, 4}), {"W gim file tells of 2" + lost}},
        {WithTable({16, 99, 77}, {4, 4, 4}), {"W gim file tells of 3" + lost + ": at byte 99, 77"}},
    };
    for (const auto& [file, lines] : cases) {
        const LogCapture log;
        vlMeshData mesh;
        EXPECT_TRUE(Read(mesh, file));
        EXPECT_EQ(log.lines, lines);
        EXPECT_EQ(Written(mesh), kFile);
    }
}

TEST(vlMeshData, TheSubmeshCountThatFits)
{
    const std::pair<Bytes, std::vector<std::uint32_t>> cases[] = {
        {kFile, {2}},
        {WithTable({16, kTableAt + 1}, {}), {2}},  // the table comes first
        {StaticMesh(Bytes(20)), {1}},
        // Three triangles without a vertex, or two submeshes without data.
        {StaticMesh(ByteBuilder().U16(1).U32(0).U32(3).Raw(Bytes(20)).Bytes()), {0, 2}},
        {With(kFile, 16, {9}), {}},  // no count adds up
        {With(kFile, 4, {5}), {}},   // too new
        {WithTable({0xFFFFFFFF}, {}), {}},
        {{}, {}},
    };
    for (const auto& [file, counts] : cases)
        EXPECT_EQ(Counts(file), counts);
}

class MeshFile : public FolderTest {};

TEST_F(MeshFile, WritesToAPath)
{
    vlMeshData mesh;
    ASSERT_TRUE(::Read(mesh, kFile));
    const std::string path = Path("a b\xC3\xA4.mesh"), nowhere = Path("missing/a.mesh");
    EXPECT_EQ(mesh.WriteMeshFile(path.c_str()), 0);
    LogCapture log;
    EXPECT_EQ(mesh.WriteMeshFile(nowhere.c_str()), 1);
    EXPECT_EQ(mesh.WriteMeshFile("/dev/full"), 1);
    mesh.m_vertexData = nullptr;
    EXPECT_EQ(mesh.WriteMeshFile(path.c_str()), 1);
    EXPECT_EQ(log.lines,
              (Lines{"E unable to open " + nowhere, "E failed to write /dev/full: No space left on device",
                     "E mesh file " + path + " can't be written: there is no vertex object"}));
    EXPECT_EQ(Read(path), std::string(kFile.begin(), kFile.end())) << "the old file is whole";
}

TEST(vlMeshData, AStreamThatCannotSeekGetsNothing)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    std::FILE* stream = ::fdopen(ends[1], "wb");
    vlMeshData mesh;
    ASSERT_TRUE(Read(mesh, kFile));
    const LogCapture log;
    EXPECT_EQ(mesh.WriteMeshFile(stream), 0);
    std::fclose(stream);
    char byte = 0;
    EXPECT_EQ(::read(ends[0], &byte, 1), 0);
    ::close(ends[0]);
    EXPECT_EQ(log.lines, Lines{"E mesh can't be written: the stream can't seek"});
}

TEST(vlMeshData, RefusesToWriteWhatCannotBeReadBack)
{
    const std::pair<std::string, void (*)(vlMeshData&)> cases[] = {
        {"there is no vertex object", [](auto& mesh) { mesh.m_vertexData = nullptr; }},
        {"the skeleton flag is set, and the vertex object has no skin",
         [](auto& mesh) { mesh.m_skeletonFlag = 2; }},
        {"the morph flag is set, and there is no morph", [](auto& mesh) { mesh.m_hasMorph = 1; }},
        {"the track flag is set, and there are no tracks", [](auto& mesh) { mesh.m_hasTracks = 1; }},
        {"an object of original data is null", [](auto& mesh) { mesh.m_originalData.emplace_back(); }},
        {"the vertex object has 2 frames, and there is no morph",
         [](auto& mesh) { mesh.m_vertexData->m_frameCount = 2; }},
        {"the positions or normals are missing",
         [](auto& mesh) { mesh.m_vertexData->m_positions = nullptr; }},
        {"the file passes 4 GiB, and offsets in it have 32 bits",  // with its 16 bytes ahead
         [](auto& mesh) { mesh.m_vertexData->m_triangleCount = 0x2AAAAA7D; }},
    };
    for (const auto& [obstacle, spoil] : cases) {
        vlMeshData mesh;
        ASSERT_TRUE(Read(mesh, kFile));
        spoil(mesh);
        const LogCapture log;
        EXPECT_TRUE(Written(mesh).empty());
        EXPECT_EQ(log.lines, Lines{"E mesh can't be written: " + obstacle});
    }
}

}  // namespace
