#pragma once

#include <vlgim/Array.h>
#include <vlgim/Error.h>
#include <vlgim/Export.h>
#include <vlgim/vlDataShareTable.h>

#include <geomath/Types.h>

#include <cstdint>
#include <cstdio>

namespace vela::vlgim {

/// A second, plain description of the geometry that a mesh carries next to its vertices. It is read, kept and written
/// back; nothing here computes with it. A copy shares the arrays of its source. They live as long as the last object
/// that shares them.
class VLGIM_API vlOriginalData {
public:
    /// Kind of this data, which is written to the share table. Reading a mesh sets it from there; it becomes
    /// MESH_DATA_ORIGINAL if the table has no kind for the block, or that of a vertex block. With MESH_DATA_VERTEX the
    /// block counts as a vertex block, and the next reader skips as many blocks.
    MESH_DATA_TYPE m_type = MESH_DATA_ORIGINAL;
    Array<geomath::_Vector3<float>> m_origPositions;  ///< m_origVertexCount entries, or null for 0
    Array<std::uint16_t> m_origIndices;               ///< m_origIndexCount entries, or null for 0
    Array<std::uint32_t> m_origExtra;                 ///< m_origExtraCount entries, or null for 0
    std::uint8_t m_hasSkin = 0;                       ///< as read; a write sets it from the two arrays
    Array<unsigned char> m_origBones;                 ///< four bone references for each vertex, or null
    Array<float> m_origWeights;                       ///< four weights for each vertex, or null
    std::uint32_t m_origVertexCount = 0;
    std::uint32_t m_origExtraCount = 0;  ///< not related to the vertex count
    std::uint32_t m_origIndexCount = 0;  ///< in indices, not in triangles

    /// Unbounded if `end` is null: the counts in the data are then trusted.
    /// Reads u32 N and N positions of 12 bytes, u32 I and I u16 indices, u32 E and E u32 values, u8 skin flag and, if
    /// it is not 0, 4 N bytes and 4 N floats, little-endian. All arrays are new and share one allocation. m_type is
    /// unchanged.
    /// data  first byte of the block, at any alignment; null: the result is null
    /// end   one past the last readable byte; null: the caller guarantees that the whole block is readable
    /// Returns the byte after the block. Returns null if the block does not fit; the object is then unchanged. Throws
    /// std::bad_alloc.
    [[nodiscard]] const unsigned char* ReadDataNew(const unsigned char* data,
                                                   const unsigned char* end = nullptr);

    /// Unbounded if `end` is null: the counts in the data are then trusted.
    /// Reads the block of a file of this version. Before 0x30017 the block ends after the extra values: the skin arrays
    /// become null and m_hasSkin is unchanged.
    /// data, end  as for ReadDataNew
    /// Returns as ReadDataNew does.
    [[nodiscard]] const unsigned char* ReadData(const unsigned char* data, unsigned int version,
                                                const unsigned char* end = nullptr);

    /// Writes the block that ReadDataNew reads, whatever `version` is. m_hasSkin becomes 1 if there are both skin
    /// arrays and at least one vertex, otherwise 0.
    /// stream  open for binary writing; its errors are left to the caller to check
    /// If WhyUnwritable returns an error, that error is logged and nothing is written; the object is then unchanged.
    void WriteData(std::FILE* stream, unsigned int version);
};

/// Returns why a write would be refused: an array is shorter than its count. Success if the data can be written.
VLGIM_API Error WhyUnwritable(const vlOriginalData& data);

}  // namespace vela::vlgim
