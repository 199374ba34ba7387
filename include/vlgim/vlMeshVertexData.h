#pragma once

#include <vlgim/Array.h>
#include <vlgim/Error.h>
#include <vlgim/Export.h>

#include <geomath/Types.h>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace vela::vlgim {

/// One submesh: a range of the mesh's one vertex list and a range of its one triangle list. Files are believed in
/// this: unless it has uvs or colours, a range may reach beyond the list, so whoever walks one stops at its end.
struct SubmeshRecord {
    std::uint32_t firstVertex = 0;    ///< sum of the vertexCounts before it, modulo 2^32; not in the file
    std::uint32_t firstTriangle = 0;  ///< likewise, in triangles
    std::uint32_t vertexCount = 0;
    std::uint32_t triangleCount = 0;
    std::uint8_t uvSetCount = 0;  ///< sets 0 to uvSetCount - 1 have a run for its vertices; at most 4
    std::uint8_t hasColors = 0;   ///< non-zero: m_colors has a run for its vertices
};

/// The geometry of one mesh, and the vertex block of a .mesh file. A vertex is no record: every attribute is
/// an array of its own over one vertex list, which all submeshes share; so is the triangle list.
///
/// V stands for m_vertexCount, T for m_triangleCount, F for m_frameCount, S for m_subCount. A copy shows the
/// same arrays as its source; they live as long as the last of them. All arrays of one read lie in one
/// allocation.
struct VLGIM_API vlMeshVertexData {
    static constexpr int m_v_sz = 12;   ///< bytes of one position, normal or tangent
    static constexpr int m_tri_sz = 6;  ///< bytes of one triangle
    static constexpr int m_uv_sz = 8;   ///< bytes of one uv
    static constexpr int m_c_sz = 4;    ///< bytes of one colour

    Array<SubmeshRecord> m_subRecords;  ///< S records, in file order
    std::uint32_t m_frameCount = 1;     ///< frames of positions, normals and tangents; at least 1
    std::uint32_t m_subCount = 0;       ///< not in the block: set it before a read
    std::uint32_t m_vertexCount = 0;
    std::uint32_t m_triangleCount = 0;
    std::uint8_t m_uvSetCount = 0;     ///< the largest uvSetCount of the submeshes; at most 4
    std::uint8_t m_colorSetCount = 0;  ///< 1 after a read; non-zero: m_colors exists and its runs are written
    std::uint8_t m_hasTangents = 0;  ///< 1 if the block read had tangents; a write looks at m_tangents alone
    Array<geomath::_Vector3<float>> m_positions;  ///< F x V; frame f starts at entry f * V
    Array<geomath::_Vector3<float>> m_normals;    ///< F x V
    Array<std::uint16_t> m_indices;               ///< 3 x T vertex indices, not checked against V
    Array<geomath::_Point2<float>> m_uvSets[4];   ///< V each, (0, 0) where a submesh has no run
    Array<std::uint32_t> m_colors;                ///< V, all bits set where a submesh has no run
    Array<geomath::_Vector3<float>> m_tangents;   ///< F x V, or null
    std::uint32_t m_maxBoneRefCount = 4;          ///< bone references per vertex of a skinned mesh

    vlMeshVertexData() = default;
    vlMeshVertexData(const vlMeshVertexData&) = default;
    vlMeshVertexData(vlMeshVertexData&&) noexcept = default;
    vlMeshVertexData& operator=(const vlMeshVertexData&) = default;
    vlMeshVertexData& operator=(vlMeshVertexData&&) noexcept = default;
    virtual ~vlMeshVertexData() = default;

    /// Reads a vertex block at any alignment into new arrays; m_subRecords is made anew as well. With data flag 0
    /// the block ends behind its counts, and positions, normals, indices and uvs are 0.
    /// data      first byte of the block; null gives null
    /// version   of the file, 0x50000 to 0x50004; tangents arrived with 0x50001
    /// packMode  1: positions of frame 0 and uvs are half floats, which convert exactly, but for NaN, which
    ///           becomes 0xFFC00000; any other value: singles
    /// end       one past the last readable byte; null if the caller vouches for the block
    /// Needs m_subCount and m_frameCount (0 becomes 1). Returns the byte behind the block. Null, and the object
    /// is as it was, where the block does not fit, declares more than 4 uv sets, has a uv or colour run that
    /// leaves the V vertices, or, where `end` is given, would take more than 64 times the bytes up to it and 14 MiB of
    /// memory. Throws
    /// std::bad_alloc, and the object is as it was.
    virtual const unsigned char* ReadDataNew(const unsigned char* data, unsigned int version,
                                             unsigned int packMode, const unsigned char* end = nullptr);

    /// Writes the block in the form of version 0x50004 and pack mode 0 at the stream's position; data flag 1.
    /// Not written: uv sets that no submesh declares, colours and uvs of vertices outside the runs, firstVertex,
    /// firstTriangle, m_hasTangents and m_maxBoneRefCount. Where WhyUnwritable gives an error, it is
    /// logged and nothing is written. Failures of the stream are its owner's to check.
    virtual void WriteData(std::FILE* stream);

    /// Bone references per vertex of a skinned mesh.
    unsigned int GetMaxBoneRefCount() const noexcept { return m_maxBoneRefCount; }
};

/// The vertex object of a skinned mesh: for every vertex a fixed number of bone references and weights, and which
/// bones are in use. Its block is the vertex block with the skin data behind it.
///
/// W stands for m_maxBoneRefCount. A copy shows the same arrays as its source and has a mask of its own. The skin
/// arrays of one read lie in one allocation, beside that of the vertices.
struct VLGIM_API vlMeshSkelVertexData : vlMeshVertexData {
    Array<std::uint16_t> m_boneIndices;  ///< V x W; vertex v from v * W on; 0xFFFF: no bone
    Array<float> m_boneWeights;          ///< V x W; nothing makes them add up to 1
    std::uint32_t m_usedBoneBits = 0;    ///< bits that a write gives the mask; at most 65535
    std::vector<bool> m_usedBones;       ///< bit b: bone b is in use; its own size counts, see ReadDataNew

    vlMeshSkelVertexData() = default;
    vlMeshSkelVertexData(const vlMeshSkelVertexData&) = default;
    vlMeshSkelVertexData(vlMeshSkelVertexData&&) noexcept = default;
    vlMeshSkelVertexData& operator=(const vlMeshSkelVertexData&) = default;
    vlMeshSkelVertexData& operator=(vlMeshSkelVertexData&&) noexcept = default;
    ~vlMeshSkelVertexData() override = default;

    /// Reads the block as the base does, and the skin data behind it: references of one byte below version 0x50004
    /// (255 becomes 0xFFFF), of two from it on; weights; from 0x50004 on a bit count, before that 255; from 0x50003
    /// on the mask. Sets W to 4, or to 8 for version 0x50005, which stands in no .mesh file. m_usedBoneBits and the
    /// size of m_usedBones become the bit count; a mesh with bones then sets m_usedBoneBits to their count, and
    /// the mask follows at the next write.
    /// Null, and the object is as it was, also where the skin does not fit or has more than 65535 mask bits.
    const unsigned char* ReadDataNew(const unsigned char* data, unsigned int version, unsigned int packMode,
                                     const unsigned char* end = nullptr) override;

    /// Writes the block in the form of version 0x50004, W slots a vertex. The mask is brought up to date first:
    /// it gets m_usedBoneBits bits, those that are set stay set, and so becomes each whose bone a vertex refers to
    /// with a weight other than 0 (a NaN is other, -0.0 is not). A reference at or above m_usedBoneBits marks none.
    void WriteData(std::FILE* stream) override;
};

/// Why a write would be refused: counts and arrays disagree, so that the block could not be read back; of a skinned
/// object the skin too. Success if it can be written.
VLGIM_API Error WhyUnwritable(const vlMeshVertexData& mesh);

}  // namespace vela::vlgim
