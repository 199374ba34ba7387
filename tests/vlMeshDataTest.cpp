#include "support/Bytes.h"
#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/MeshBytes.h"
#include "support/Written.h"

#include <vlgim/vlMeshData.h>

#include <gtest/gtest.h>

#include <unistd.h>

namespace vela::vlgim {

namespace {

using Bytes = std::vector<unsigned char>;
using Lines = std::vector<std::string>;
using test::ByteBuilder;

const Bytes kFile = test::StaticMesh(test::TwoSubmeshBlock());
const auto kTableAt = static_cast<std::uint32_t>(kFile.size() - 16);

Bytes With(Bytes file, std::size_t at, const ByteBuilder& patch)
{
    std::copy(patch.Bytes().begin(), patch.Bytes().end(), file.begin() + static_cast<std::ptrdiff_t>(at));
    return file;
}

// The file with another share table at its end.
Bytes WithTable(const ByteBuilder& table)
{
    Bytes file(kFile.begin(), kFile.begin() + kTableAt);
    file.insert(file.end(), table.Bytes().begin(), table.Bytes().end());
    return file;
}

bool Read(vlMeshData& mesh, const Bytes& file, std::uint32_t submeshCount = 2)
{
    mesh.m_submeshCount = submeshCount;
    return mesh.ReadMeshFile(file.data(), file.size());
}

Bytes Written(vlMeshData& mesh)
{
    return test::Written([&](std::FILE* stream) { EXPECT_EQ(mesh.WriteMeshFile(stream), 0); });
}

TEST(vlMeshData, ReadsAndWritesTheSameFile)
{
    vlMeshData mesh;
    mesh.m_spareIndex = 7;
    ASSERT_TRUE(Read(mesh, kFile));
    EXPECT_EQ(mesh.m_version, 0x50004U);
    EXPECT_EQ(mesh.m_packMode, 0U);
    EXPECT_EQ(mesh.m_spareIndex, 7);
    EXPECT_EQ(mesh.m_skelVertexBlocks, 0);
    ASSERT_TRUE(mesh.m_vertexData);
    EXPECT_EQ(mesh.m_vertexData->m_frameCount, 1U);
    EXPECT_EQ(mesh.m_vertexData->m_uvSets[0][3].v, 9.0F);
    EXPECT_EQ(Written(mesh), kFile);

    vlMeshData vouched;
    vouched.m_submeshCount = 2;
    ASSERT_TRUE(vouched.ReadMeshFile(kFile.data()));
    EXPECT_EQ(Written(vouched), kFile);
}

TEST(vlMeshData, VersionGate)
{
    struct Case {
        std::uint32_t word;
        std::uint32_t version, packMode;
        const char* message;
    };
    const Case cases[] = {
        {0x00050000, 0x50000, 0, nullptr},
        {0x01050004, 0x50004, 1, nullptr},
        {0xFF050001, 0x50001, 255, nullptr},
        {0x00050005, 0x50005, 0, "E gim file version is too new"},
        {0x0004FFFF, 0x4FFFF, 0, "E gim file version is too old"},
        {0x02FFFFFF, 0xFFFFFF, 2, "E gim file version is too new"},
    };
    for (const Case& c : cases) {
        Bytes block = test::TwoSubmeshBlock();
        if (c.version == 0x50000)
            block.erase(block.begin() + 150, block.begin() + 212);  // tangents came later
        test::LogCapture log;
        vlMeshData mesh;
        ASSERT_TRUE(Read(mesh, kFile));  // what is read again is replaced
        EXPECT_EQ(Read(mesh, test::StaticMesh(block, c.word)), !c.message) << std::hex << c.word;
        EXPECT_EQ(mesh.m_version, c.version);
        EXPECT_EQ(mesh.m_packMode, c.packMode);
        EXPECT_EQ(mesh.m_vertexData == nullptr, c.message != nullptr);
        EXPECT_EQ(log.lines, c.message ? Lines{c.message} : Lines{});
        if (!c.message) {
            const Bytes written = Written(mesh);
            EXPECT_EQ(Bytes(written.begin(), written.begin() + 10), Bytes(kFile.begin(), kFile.begin() + 10));
        }
    }
}

TEST(vlMeshData, DamageNamesBlockAndByte)
{
    const std::pair<Bytes, std::string> cases[] = {
        {Bytes(kFile.begin(), kFile.begin() + 9), "header at byte 8 needs 2, and 1 is left"},
        {Bytes(kFile.begin(), kFile.begin() + 14), "table offset at byte 12 needs 4, and 2 is left"},
        {With(kFile, 12, ByteBuilder().U32(100'000)), "share table at byte 100000 needs 2, and 0 is left"},
        {With(kFile, kTableAt, ByteBuilder().U16(0x8001)),
         "share table at byte 300 needs 32769, and 32767 is left"},
        {WithTable(ByteBuilder().U16(0).U16(0)), "share table at byte 300 needs 1, and 0 is left"},
        {With(kFile, kTableAt + 2, ByteBuilder().U32(0xFFFFFFFF)),
         "submesh entries at byte 4294967295 needs 20, and 0 is left"},
        {With(kFile, 16 + 18, ByteBuilder().U8(5)), "submesh entries at byte 34 needs 5, and 4 is left"},
        {With(kFile, 16 + 22, ByteBuilder().U32(0x40000000)),
         "positions at byte 46 needs 12884901888, and 270 is left"},
        {With(kFile, 16 + 20, ByteBuilder().U16(0).U32(0x40000000)),
         "vertex block at byte 46 needs 47244640320, and 16797440 is left"},
    };
    for (const auto& [file, message] : cases) {
        test::LogCapture log;
        vlMeshData mesh;
        EXPECT_FALSE(Read(mesh, file));
        EXPECT_EQ(mesh.m_vertexData, nullptr);
        ASSERT_EQ(log.lines.size(), 1U);
        EXPECT_EQ(log.lines[0], "E gim file is damaged: " + message);
    }
}

TEST(vlMeshData, EveryPrefixIsRefused)
{
    test::LogCapture log;
    test::ForEachPrefix(kFile, [&](const unsigned char* data, const unsigned char* end) {
        vlMeshData mesh;
        mesh.m_submeshCount = 2;
        log.lines.clear();
        EXPECT_FALSE(mesh.ReadMeshFile(data, static_cast<std::size_t>(end - data)));
        EXPECT_EQ(mesh.m_vertexData, nullptr);
        EXPECT_EQ(log.lines.size(), 1U);
        vlMeshData::FittingSubmeshCounts(data, static_cast<std::size_t>(end - data));
    });
    vlMeshData mesh;
    EXPECT_FALSE(mesh.ReadMeshFile(nullptr, 0));
}

TEST(vlMeshData, AByteThatLiesIsRefusedOrRead)
{
    const test::LogCapture log;
    test::ForEachByteChange(kFile, [](const Bytes& changed) {
        vlMeshData mesh;
        if (Read(mesh, changed)) {
            const Bytes written = Written(mesh);
            vlMeshData again;
            ASSERT_TRUE(Read(again, written));
            EXPECT_EQ(Written(again), written);
        }
        vlMeshData::FittingSubmeshCounts(changed.data(), changed.size());
    });
}

TEST(vlMeshData, ShareTableDecidesWhatIsRead)
{
    struct Case {
        const char* what;
        ByteBuilder table;
        bool read;
        Lines log;
    };
    const auto pair = [](ByteBuilder& table, std::uint32_t type) { table.U32(type).U16(0).U16(0); };
    ByteBuilder noPair, twoVertexBlocks, moreVertexPairs, original;
    noPair.U16(1).U32(16).U16(0);
    twoVertexBlocks.U16(3).U32(16).U32(99).U32(77).U16(3);
    moreVertexPairs.U16(1).U32(16).U16(2);
    original.U16(2).U32(16).U32(20).U16(2);
    for (const std::uint32_t type : {4U, 4U, 4U})
        pair(twoVertexBlocks, type);
    for (const std::uint32_t type : {4U, 4U})
        pair(moreVertexPairs, type);
    for (const std::uint32_t type : {5U, 4U})
        pair(original, type);
    const Case cases[] = {
        {"no pair", noPair, true, {}},
        {"blocks behind the first vertex block",
         twoVertexBlocks,
         true,
         {"W gim file tells of 3 vertex blocks, of which the first is read and the others are lost at a "
          "write: at byte 99, 77"}},
        {"more vertex pairs than blocks",
         moreVertexPairs,
         true,
         {"W gim file tells of 2 vertex blocks, of which the first is read and the others are lost at a "
          "write"}},
        {"original data", original, false, {"E gim file has original data, which is not read yet"}},
    };
    for (const Case& c : cases) {
        test::LogCapture log;
        vlMeshData mesh;
        EXPECT_EQ(Read(mesh, WithTable(c.table)), c.read) << c.what;
        EXPECT_EQ(log.lines, c.log) << c.what;
        if (c.read) {
            EXPECT_EQ(Written(mesh), kFile) << c.what;
        }
    }
}

TEST(vlMeshData, BlocksThatAreNotReadYet)
{
    const std::pair<std::size_t, std::string> cases[] = {
        {8, "a skeleton, which is"}, {10, "morph data, which is"}, {11, "tracks, which are"}};
    for (const auto& [flagAt, what] : cases) {
        test::LogCapture log;
        vlMeshData mesh;
        EXPECT_FALSE(Read(mesh, With(kFile, flagAt, ByteBuilder().U8(1))));
        EXPECT_EQ(log.lines, Lines{"E gim file has " + what + " not read yet"});
        EXPECT_EQ(mesh.m_hasMorph + mesh.m_hasTracks, 0);
    }
}

TEST(vlMeshData, TheSubmeshCountThatFits)
{
    const auto counts = [](const Bytes& file) {
        return vlMeshData::FittingSubmeshCounts(file.data(), file.size());
    };
    EXPECT_EQ(counts(kFile), (std::vector<std::uint32_t>{2}));
    EXPECT_TRUE(counts(With(kFile, 16, ByteBuilder().U32(9))).empty()) << "no count adds up";
    EXPECT_TRUE(counts(With(kFile, 4, ByteBuilder().U32(0x50005))).empty());
    EXPECT_TRUE(counts({}).empty());
    // Three triangles without a vertex, or two submeshes without data.
    const ByteBuilder ambiguous = ByteBuilder().U16(1).U32(0).U32(3).Fill(20, 0);
    EXPECT_EQ(counts(test::StaticMesh(ambiguous)), (std::vector<std::uint32_t>{0, 2}));
}

TEST(vlMeshData, AStreamThatCannotSeekGetsNothing)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    std::FILE* stream = ::fdopen(ends[1], "wb");
    vlMeshData mesh;
    ASSERT_TRUE(Read(mesh, kFile));
    test::LogCapture log;
    EXPECT_EQ(mesh.WriteMeshFile(stream), 0);
    std::fclose(stream);
    char byte = 0;
    EXPECT_EQ(::read(ends[0], &byte, 1), 0);
    ::close(ends[0]);
    EXPECT_EQ(log.lines, Lines{"E mesh can't be written: the stream can't seek"});
}

class MeshFile : public test::FolderTest {};

TEST_F(MeshFile, WritesToAPath)
{
    vlMeshData mesh;
    ASSERT_TRUE(::vela::vlgim::Read(mesh, kFile));
    const std::string path = Path("a b\xC3\xA4.mesh");
    EXPECT_EQ(mesh.WriteMeshFile(path.c_str()), 0);
    EXPECT_EQ(Read(path), std::string(kFile.begin(), kFile.end()));

    test::LogCapture log;
    const std::string nowhere = Path("missing/a.mesh");
    EXPECT_EQ(mesh.WriteMeshFile(nowhere.c_str()), 1);
    EXPECT_EQ(mesh.WriteMeshFile("/dev/full"), 1);
    mesh.m_vertexData = nullptr;
    EXPECT_EQ(mesh.WriteMeshFile(path.c_str()), 1);
    EXPECT_TRUE(Written(mesh).empty());
    EXPECT_EQ(log.lines,
              (Lines{"E unable to open " + nowhere, "E failed to write /dev/full: No space left on device",
                     "E mesh file " + path + " can't be written: there is no vertex object",
                     "E mesh can't be written: there is no vertex object"}));
    EXPECT_EQ(Read(path).size(), kFile.size()) << "the old file is whole";
}

TEST(vlMeshData, RefusesToWriteWhatCannotBeReadBack)
{
    const std::pair<const char*, void (*)(vlMeshData&)> cases[] = {
        {"a skeleton is not written yet", [](auto& mesh) { mesh.m_skeletonFlag = 2; }},
        {"morph data are not written yet", [](auto& mesh) { mesh.m_hasMorph = 1; }},
        {"tracks are not written yet", [](auto& mesh) { mesh.m_hasTracks = 1; }},
        {"original data are not written yet", [](auto& mesh) { mesh.m_originalData.emplace_back(); }},
        {"the vertex object has 2 frames, and there is no morph",
         [](auto& mesh) { mesh.m_vertexData->m_frameCount = 2; }},
        {"the positions or normals are missing",
         [](auto& mesh) { mesh.m_vertexData->m_positions = nullptr; }},
        {"the vertex block passes 4 GiB, and offsets in the file have 32 bits",
         [](auto& mesh) { mesh.m_vertexData->m_triangleCount = 0x2AAAAAA0; }},
    };
    for (const auto& [obstacle, spoil] : cases) {
        vlMeshData mesh;
        ASSERT_TRUE(Read(mesh, kFile));
        spoil(mesh);
        EXPECT_EQ(mesh.WriteObstacle(), obstacle);
        const test::LogCapture log;
        EXPECT_TRUE(Written(mesh).empty());
    }
}

}  // namespace

}  // namespace vela::vlgim
