#pragma once

#include <vlgim/Array.h>
#include <vlgim/Error.h>
#include <vlgim/Export.h>

#include <geomath/Types.h>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace vela::vlgim {

/// One submesh: a range of the vertex list and a range of the triangle list of the mesh. A read checks the vertex range
/// only if a submesh has uvs or colours, and never the triangle range: they may end after the list.
struct SubmeshRecord {
    std::uint32_t firstVertex = 0;    ///< sum of the vertexCounts before it, modulo 2^32; not in the file
    std::uint32_t firstTriangle = 0;  ///< the same for triangleCounts
    std::uint32_t vertexCount = 0;
    std::uint32_t triangleCount = 0;
    std::uint8_t uvSetCount = 0;  ///< uv sets 0 to uvSetCount - 1 have values for its vertices; at most 4
    std::uint8_t hasColors = 0;   ///< non-zero: m_colors has values for its vertices
};

/// The geometry of one mesh, and the vertex block of a .mesh file. Each attribute is an array of its own, with one
/// entry for each vertex. All submeshes share the vertex list and the triangle list.
///
/// V is m_vertexCount, T is m_triangleCount, F is m_frameCount and S is m_subCount. A copy shares the arrays of its
/// source. They live as long as the last object that shares them. The arrays of one read share one allocation.
struct VLGIM_API vlMeshVertexData {
    static constexpr int m_v_sz = 12;   ///< bytes of one position, normal or tangent
    static constexpr int m_tri_sz = 6;  ///< bytes of one triangle
    static constexpr int m_uv_sz = 8;   ///< bytes of one uv
    static constexpr int m_c_sz = 4;    ///< bytes of one colour

    Array<SubmeshRecord> m_subRecords;  ///< S records, in file order
    std::uint32_t m_frameCount = 1;     ///< frames of positions, normals and tangents; at least 1
    std::uint32_t m_subCount = 0;       ///< not stored in the block; set it before a read
    std::uint32_t m_vertexCount = 0;
    std::uint32_t m_triangleCount = 0;
    std::uint8_t m_uvSetCount = 0;     ///< largest uvSetCount of the submeshes; at most 4
    std::uint8_t m_colorSetCount = 0;  ///< 1 after a read; non-zero: m_colors has V entries
    std::uint8_t m_hasTangents = 0;    ///< 1 if the block read had tangents; a write tests m_tangents instead
    Array<geomath::_Vector3<float>> m_positions;  ///< F x V; frame f starts at entry f * V
    Array<geomath::_Vector3<float>> m_normals;    ///< F x V
    Array<std::uint16_t> m_indices;               ///< 3 x T vertex indices, not checked against V
    Array<geomath::_Point2<float>> m_uvSets[4];   ///< V each; (0, 0) for vertices without values
    Array<std::uint32_t> m_colors;                ///< V; all bits set for vertices without values
    Array<geomath::_Vector3<float>> m_tangents;   ///< F x V, or null
    std::uint32_t m_maxBoneRefCount = 4;          ///< bone references for each vertex of a skinned mesh

    vlMeshVertexData() = default;
    vlMeshVertexData(const vlMeshVertexData&) = default;
    vlMeshVertexData(vlMeshVertexData&&) noexcept = default;
    vlMeshVertexData& operator=(const vlMeshVertexData&) = default;
    vlMeshVertexData& operator=(vlMeshVertexData&&) noexcept = default;
    virtual ~vlMeshVertexData() = default;

    /// Unbounded if `end` is null: the counts in the data are then trusted.
    /// Reads a vertex block, little-endian: S entries of 10 bytes (u32 vertices, u32 triangles, u8 uv sets, u8
    /// colours); u16 data flag, u32 V, u32 T; V positions and V normals of 12 bytes; from version 0x50001 on u16
    /// tangent flag and, if it is not 0, F x V tangents of 12 bytes; T triangles of 6 bytes; for each submesh and each
    /// of its uv sets 8 bytes per vertex; for each submesh with colours 4 bytes per vertex; for each frame after the
    /// first V positions and V normals. With data flag 0 the block ends after T, and all positions, normals, indices
    /// and uvs are 0. m_subCount and m_frameCount have to be set before; an m_frameCount of 0 becomes 1. All arrays are
    /// new.
    /// data      first byte of the block, at any alignment; null: the result is null
    /// version   version of the file, 0x50000 to 0x50004; tangents exist from 0x50001 on
    /// packMode  1: the positions of frame 0 and the uvs are half floats. The block has the same size: the half floats
    ///           fill the first half of the bytes of these positions, and of all uvs together. The conversion is exact,
    ///           except that any NaN becomes 0xFFC00000. Any other value: all values are floats.
    /// end       one past the last readable byte; null: the caller guarantees that the whole block is readable
    /// Returns the byte after the block. Returns null if the block does not fit, a submesh has more than 4 uv sets, the
    /// uvs or colours of a submesh end after vertex V - 1, or the read would use more than 64 times the bytes from data
    /// to end, plus 14 MiB, of memory; the object is then unchanged. Throws std::bad_alloc; the object is then
    /// unchanged.
    [[nodiscard]] virtual const unsigned char* ReadDataNew(const unsigned char* data, unsigned int version,
                                                           unsigned int packMode,
                                                           const unsigned char* end = nullptr);

    /// Writes the block that ReadDataNew reads, in the form of version 0x50004 and pack mode 0, with data flag 1. Not
    /// written are uv sets that no submesh declares, uvs and colours of vertices outside of the submeshes that declare
    /// them, firstVertex, firstTriangle, m_hasTangents and m_maxBoneRefCount.
    /// stream  open for binary writing; its errors are left to the caller to check
    /// If WhyUnwritable returns an error, that error is logged and nothing is written. A call for this class, as in
    /// object.vlMeshVertexData::WriteData(stream), neither writes nor checks a skin.
    virtual void WriteData(std::FILE* stream);

    /// Returns the bone references for each vertex of a skinned mesh.
    unsigned int GetMaxBoneRefCount() const noexcept { return m_maxBoneRefCount; }
};

/// The vertex object of a skinned mesh: a fixed number of bone references and weights for each vertex, and a mask of
/// the bones in use. Its block is the vertex block followed by the skin data.
///
/// W is m_maxBoneRefCount. A copy shares the arrays of its source and has its own mask. The skin arrays of one read
/// share one allocation, separate from that of the other arrays.
struct VLGIM_API vlMeshSkelVertexData : vlMeshVertexData {
    Array<std::uint16_t> m_boneIndices;  ///< V x W; vertex v starts at entry v * W; 0xFFFF: no bone
    Array<float> m_boneWeights;          ///< V x W; not normalised
    std::uint32_t m_usedBoneBits = 0;    ///< number of bits that a write gives the mask; at most 65535
    std::vector<bool> m_usedBones;  ///< bit b: bone b is in use; can have another size than m_usedBoneBits

    vlMeshSkelVertexData() = default;
    vlMeshSkelVertexData(const vlMeshSkelVertexData&) = default;
    vlMeshSkelVertexData(vlMeshSkelVertexData&&) noexcept = default;
    vlMeshSkelVertexData& operator=(const vlMeshSkelVertexData&) = default;
    vlMeshSkelVertexData& operator=(vlMeshSkelVertexData&&) noexcept = default;
    ~vlMeshSkelVertexData() override = default;

    /// Unbounded if `end` is null: the counts in the data are then trusted.
    /// Reads the vertex block as vlMeshVertexData::ReadDataNew does, and the skin data after it: V x W bone references,
    /// of 2 bytes from version 0x50004 on, of 1 byte before (255 becomes 0xFFFF); V x W float weights; from 0x50004 on
    /// a u32 bit count, which is 255 in older versions; and from 0x50003 on the mask, one bit for each bone in whole
    /// bytes. W becomes 4, or 8 for version 0x50005, which no .mesh file has. m_usedBoneBits and the size of
    /// m_usedBones become the bit count. vlMeshData then sets m_usedBoneBits to its bone count; m_usedBones gets this
    /// size with the next write.
    /// data, version, packMode, end  as for the base
    /// Returns the byte after the block. Returns null as the base does, and also if the skin data do not fit or the
    /// mask has more than 65535 bits; the object is then unchanged.
    [[nodiscard]] const unsigned char* ReadDataNew(const unsigned char* data, unsigned int version,
                                                   unsigned int packMode,
                                                   const unsigned char* end = nullptr) override;

    /// Writes the block in the form of version 0x50004, with W references for each vertex. It first updates the mask:
    /// m_usedBones gets m_usedBoneBits bits. Bits that are set stay set, and the bit of each bone that a vertex refers
    /// to with a weight other than 0 is set (NaN is other than 0, -0.0 is not). References at or above m_usedBoneBits
    /// set no bit.
    /// stream  open for binary writing; its errors are left to the caller to check
    /// If WhyUnwritable returns an error, that error is logged and nothing is written; the object is then unchanged.
    void WriteData(std::FILE* stream) override;
};

/// Returns why a write would be refused: the counts and arrays of the object disagree, so that the block could not be
/// read back. For a skinned object this includes the skin. Success if the object can be written.
VLGIM_API Error WhyUnwritable(const vlMeshVertexData& mesh);

}  // namespace vela::vlgim
