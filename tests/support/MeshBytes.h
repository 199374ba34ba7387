#pragma once

#include "Bytes.h"

namespace vela::vlgim::test {

/// A static .mesh file around one vertex block. Offsets: table offset at 12, vertex block at 16.
inline Bytes StaticMesh(const Bytes& vertexBlock, std::uint32_t versionWord = 0x00050004)
{
    ByteBuilder file;
    file.U32(0xBBC88034).U32(versionWord).U16(0).U8(0).U8(0);
    file.U32(static_cast<std::uint32_t>(16 + vertexBlock.size()));
    file.Raw(vertexBlock);
    file.U16(1).U32(16).U16(1).U32(4).U16(0).U16(0);
    return file;
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
    block.U16(1).U32(5).U32(2);
    for (int i = 0; i < 30; ++i)  // positions 0 to 14, normals 15 to 29
        block.F32(static_cast<float>(i));
    block.U16(1);
    for (int i = 0; i < 15; ++i)
        block.F32(static_cast<float>(100 + i));
    block.U16s({0, 1, 2, 3, 4, 3});
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

}  // namespace vela::vlgim::test
