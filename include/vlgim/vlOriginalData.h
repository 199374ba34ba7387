#pragma once

#include <vlgim/Array.h>
#include <vlgim/Error.h>
#include <vlgim/Export.h>
#include <vlgim/vlDataShareTable.h>

#include <geomath/Types.h>

#include <cstdint>
#include <cstdio>

namespace vela::vlgim {

/// A plain second description of geometry that a mesh carries beside its vertices: read, kept and written back;
/// nothing here computes with it. A copy shows the same arrays as its source.
class VLGIM_API vlOriginalData {
public:
    /// Kind of this data, written into the share table's pair. A mesh that is read sets it from there,
    /// or to MESH_DATA_ORIGINAL where there is no pair or one of a vertex block. With MESH_DATA_VERTEX the block counts among the vertex blocks, and one block is passed over by the next reader.
    MESH_DATA_TYPE m_type = MESH_DATA_VERTEX;
    Array<geomath::_Vector3<float>> m_origPositions;  ///< m_origVertexCount, or null for 0
    Array<std::uint16_t> m_origIndices;               ///< m_origIndexCount, or null for 0
    Array<std::uint32_t> m_origExtra;                 ///< m_origExtraCount, or null for 0
    std::uint8_t m_hasSkin = 0;        ///< as read; a write looks at the two arrays and sets it
    Array<unsigned char> m_origBones;  ///< four bone references a vertex, or null
    Array<float> m_origWeights;        ///< four weights a vertex, or null
    std::uint32_t m_origVertexCount = 0;
    std::uint32_t m_origExtraCount = 0;  ///< has no fixed relation to the vertex count
    std::uint32_t m_origIndexCount = 0;  ///< in indices, not in triangles

    /// Reads u32 N and N positions, u32 I and I u16 indices, u32 E and E u32 values, a skin flag and, if it is set,
    /// 4 N bytes and 4 N floats; little-endian, at any alignment; into new arrays, in one allocation.
    /// data   first byte of the block; null gives null
    /// end    one past the last readable byte; null if the caller vouches for the block
    /// Returns the byte behind the block; null if it does not fit, and the object is as it was. m_type stays.
    const unsigned char* ReadDataNew(const unsigned char* data, const unsigned char* end = nullptr);

    /// The same for the block of a file of this version: before 0x30017 it ends behind the extra values, there are
    /// no skin arrays and m_hasSkin stays.
    const unsigned char* ReadData(const unsigned char* data, unsigned int version,
                                  const unsigned char* end = nullptr);

    /// Writes the block that ReadDataNew reads, whatever version says, and sets m_hasSkin to whether it has a skin:
    /// both arrays and a vertex. Where WhyUnwritable gives an error, it is logged and nothing is written.
    void WriteData(std::FILE* stream, unsigned int version);
};

/// Why a write would be refused: an array is shorter than its count. Success if the data can be written.
VLGIM_API Error WhyUnwritable(const vlOriginalData& data);

}  // namespace vela::vlgim
