#pragma once

#include "AnimBytes.h"
#include "Bytes.h"

#include <vlgim/vlMeshData.h>

#include <gtest/gtest.h>

#include <limits>

namespace vela::vlgim::test {

/// A .mesh file: what stands ahead of the table offset, the blocks, the table with a pair for each block.
inline Bytes MeshFile(std::uint32_t versionWord, std::uint16_t skeletonFlag, const Bytes& ahead,
                      const std::vector<Bytes>& blocks, const std::vector<std::uint32_t>& types)
{
    ByteBuilder file, table;
    std::size_t at = 14 + ahead.size();
    table.U16(static_cast<std::uint16_t>(blocks.size()));
    for (const Bytes& block : blocks) {
        table.U32(static_cast<std::uint32_t>(at));
        at += block.size();
    }
    table.U16(static_cast<std::uint16_t>(types.size()));
    for (std::uint16_t i = 0; i < types.size(); ++i)
        table.U32(types[i]).U16(i).U16(0);
    file.U32(0xBBC88034).U32(versionWord).U16(skeletonFlag).Raw(ahead).U32(static_cast<std::uint32_t>(at));
    for (const Bytes& block : blocks)
        file.Raw(block);
    return file.Raw(table);
}

/// A static .mesh file around one vertex block. Offsets: table offset at 12, vertex block at 16.
inline Bytes StaticMesh(const Bytes& vertexBlock, std::uint32_t versionWord = 0x00050004)
{
    return MeshFile(versionWord, 0, {0, 0}, {vertexBlock}, {4});
}

// Byte offsets in TwoSubmeshBlock.
constexpr std::ptrdiff_t kFlagAt = 20, kVertexCountAt = 22, kPositionsAt = 30, kTangentFlagAt = 150,
                         kUvsAt = 224;

/// A vertex block of two submeshes over five vertices, of which the last belongs to none. Submesh 0: three
/// vertices, two uv sets; submesh 1: one vertex, one uv set, colours.
inline Bytes TwoSubmeshBlock()
{
    ByteBuilder block;
    block.U32(3).U32(1).U8(2).U8(0);
    block.U32(1).U32(1).U8(1).U8(1);
    block.U16(1).U32(5).U32(2).F32Run(0, 30);  // positions 0 to 14, normals 15 to 29
    block.U16(1).F32Run(100, 15).U16s({0, 1, 2, 3, 4, 3});
    block.F32s({0.0F, 0.25F, 0.5F, 0.75F, 1.0F, 1.25F});        // submesh 0, set 0
    block.F32s({-1.0F, -1.25F, -1.5F, -1.75F, -2.0F, -2.25F});  // submesh 0, set 1
    block.F32s({8.0F, 9.0F});                                   // submesh 1, set 0
    block.U32(0x11223344);
    return block;
}

/// The block as version 0x50000 had it: without the tangent flag and its stream.
inline Bytes WithoutTangents()
{
    Bytes block = TwoSubmeshBlock();
    block.erase(block.begin() + kTangentFlagAt, block.begin() + kTangentFlagAt + 2 + 60);
    return block;
}

/// What a .mesh file can hold beside its vertices.
struct MeshForm {
    std::uint16_t skeletonFlag = 0;
    bool morph = false, tracks = false, originalData = false;
};

/// Two submeshes of one vertex each, and one triangle.
inline Bytes SmallVertexBlock(std::uint32_t version, int frames)
{
    ByteBuilder block;
    block.U32(1).U32(1).U8(0).U8(0).U32(1).U32(0).U8(0).U8(1);
    block.U16(1).U32(2).U32(1);
    block.F32s({1, 2, 3, 4, 5, 6}).F32s({0, 0, 1, 0, 1, 0});
    if (version >= 0x50001)
        block.U16(0);
    block.U16s({0, 1, 0}).U32(0x99887766);
    for (int frame = 1; frame < frames; ++frame)
        block.F32s({7, 8, 9, 10, 11, 12}).F32s({1, 0, 0, 0, 0, 1});
    return block;
}

/// The skin of two vertices behind their block, without bit count and mask. Bones 0 and 2 have weights other
/// than 0, and so has 254; the weight of 1 is -0.
inline ByteBuilder SkinSlots(std::uint32_t version)
{
    ByteBuilder skin;
    if (version >= 0x50004)
        skin.U16s({0, 2, 0xFFFF, 1, 254, 2, 0xFFFF, 0});
    else
        skin.Raw({0, 2, 255, 1, 254, 2, 255, 0});
    return skin.F32s({0.5F, 0, 1, -0.0F, 1, std::numeric_limits<float>::quiet_NaN(), 1, 0.25F});
}

/// The mask behind it: bones 1 and 8, where the version has one.
inline ByteBuilder SkinMask(std::uint32_t version)
{
    ByteBuilder mask;
    if (version >= 0x50004)
        mask.U32(9).Raw({0x02, 0x01});
    else if (version == 0x50003)
        mask.Raw({0x02, 0x01}).Fill(30, 0);
    return mask;
}

/// The mask that a write makes of that: what is used as well, for each of the skeleton's bones if there are
/// some, else for as many as the file had bits.
inline ByteBuilder WrittenMask(std::uint32_t version, std::uint16_t skeletonFlag)
{
    const bool hadMask = version >= 0x50003;
    const Bytes used{static_cast<unsigned char>(hadMask ? 0x07 : 0x05), hadMask};
    ByteBuilder mask;
    if (skeletonFlag == 1)
        return mask.U32(3).U8(used[0]);
    if (version >= 0x50004)
        return mask.U32(9).Raw(used);
    return mask.U32(255).Raw(used).Fill(29, 0).U8(0x40);
}

/// Three bones, of which 1 is the root. Offsets: parents 2, names 2 + 6, bounds flag 104, bounds 105.
inline ByteBuilder BonesBlock(std::uint32_t version, bool asWritten)
{
    ByteBuilder block;
    block.U16(3);
    if (version >= 0x50004)
        block.U16s({1, 0xFFFF, 0});
    else
        block.Raw({1, 255, 0});
    block.Raw(Name(asWritten ? "arm.l" : "Arm.L")).Raw(Name("root"));
    block.Raw(Name(asWritten ? "an_old_name_that_fills_its_field" : "AN_old_name_that_fills_its_field"));
    return block.U8(1).F32Run(0, 21).F32Run(100, 48);
}

/// Animation, bones and anim-BI blocks; asWritten: without what a write leaves out.
inline Bytes AheadOfVertices(std::uint32_t version, const MeshForm& form, bool asWritten)
{
    ByteBuilder bytes;
    bytes.U8(form.morph);
    if (form.morph)
        bytes.U8(2).U16(3).F32s({0, 0.5F, 2});
    bytes.U8(form.tracks);
    if (form.tracks)
        bytes.U32(0x10001).Raw(TrackBlock()).Raw(TrackBlock(7));
    if (version < 0x50002 && (form.morph || form.tracks))
        bytes.Fill((form.tracks ? 2 : 3) * (28 + 2 * 28), 0xEE);  // for each key
    if (form.skeletonFlag == 1) {
        bytes.Raw(BonesBlock(version, asWritten));
        if (asWritten)
            bytes.U8(0);
        else
            bytes.U8(7).U16s({9, 9, 2}).U16(1).Fill(28, 0xEE).U16(0);  // two groups, of one record and none
    }
    return bytes;
}

/// Original data of two vertices, three indices and one extra value, with a skin.
inline Bytes OriginalBlock()
{
    ByteBuilder block;
    block.U32(2).F32s({1, 2, 3, 4, 5, 6}).U32(3).U16s({1, 0, 1}).U32(1).U32(0xCAFEBABE);
    return block.U8(1).Raw({0, 1, 2, 3, 4, 5, 6, 7}).F32s({0.5F, 0.25F, 0.125F, 1, 2, 3, 4, 5});
}

/// The mesh of a file of two submeshes.
inline vlMeshData MeshFrom(const Bytes& file)
{
    vlMeshData mesh;
    mesh.m_submeshCount = 2;
    EXPECT_TRUE(mesh.ReadMeshFile(file.data(), file.size()));
    return mesh;
}

/// The lists that a mesh appends to.
struct Geometry {
    std::vector<geomath::_Vector3<float>*> positions, normals;
    std::vector<std::vector<std::uint16_t>> indices;
    std::vector<geomath::_Point2<float>*> uvs0, uvs1;
    std::vector<std::uint16_t> vertexCounts, triangleCounts;

    void Collect(const vlMeshData& mesh)
    {
        mesh.CollectSegGeometryInfo(positions, normals, indices, uvs0, uvs1, vertexCounts, triangleCounts);
    }
};

struct Skin {
    std::vector<std::uint32_t> bones;
    std::vector<float> weights;
    std::unordered_map<std::uint16_t, geomath::_Matrix<float>> matrices;
    std::vector<std::string> names;

    bool Collect(const vlMeshData& mesh) { return mesh.CollectSegSkinInfo(bones, weights, matrices, names); }
};

/// A whole file of a version and form; asWritten: as the library writes it.
inline Bytes MeshOf(std::uint32_t version, const MeshForm& form, bool asWritten = false)
{
    const std::uint32_t layout = asWritten ? 0x50004 : version;
    ByteBuilder vertices;
    vertices.Raw(SmallVertexBlock(layout, form.morph ? 3 : 1));
    if (form.skeletonFlag != 0)
        vertices.Raw(SkinSlots(layout))
            .Raw(asWritten ? WrittenMask(version, form.skeletonFlag) : SkinMask(version));
    std::vector<Bytes> blocks{vertices};
    std::vector<std::uint32_t> types{4};
    if (form.originalData) {
        blocks.insert(blocks.end(), {OriginalBlock(), Bytes(13)});
        types.insert(types.end(), {0x80000001, 5});
    }
    return MeshFile(layout, form.skeletonFlag, AheadOfVertices(layout, form, asWritten), blocks, types);
}

}  // namespace vela::vlgim::test
