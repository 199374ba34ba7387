#pragma once

#include <vlgim/Export.h>
#include <vlgim/vlKeyTimes.h>

#include <cstdio>
#include <memory>

namespace vela::vlgim {

/// Key times of a morph-animated mesh: frame k of the vertex object holds at key k. The frames themselves lie in
/// vlMeshVertexData, which needs this key count to be read.
struct VLGIM_API vlMorphData {
    vlKeyTimes m_times;                  ///< ascending, not checked; in the exporter's unit
    unsigned char m_morphMode = 1;       ///< carried unchanged; nothing here looks at it
    unsigned short m_singleFrame = 0;    ///< non-zero: one frame, whatever the key count; not written
    std::shared_ptr<void> m_morphExtra;  ///< the caller's own; never read or written

    /// Reads u8 mode, u16 K and K floats: 3 + 4 K bytes, little-endian, at any alignment.
    /// data   first byte of the block; null gives null
    /// end    one past the last readable byte; null if the caller vouches for the block
    /// Returns the byte behind the block; null if it does not fit, and the object is as it was.
    const unsigned char* ReadDataNew(const unsigned char* data, const unsigned char* end = nullptr);

    /// Reads the block of an older file: u8 mode from version 0x20011 on, u16 m_singleFrame before 0x20013, u16 K,
    /// K times, which are u32 before 0x20005 (of which the first counts as 0) and floats from it on.
    /// Arguments and result as above. m_singleFrame becomes 0 where the block has none.
    const unsigned char* ReadData(const unsigned char* data, unsigned int version,
                                  const unsigned char* end = nullptr);

    /// Writes the block that ReadDataNew reads. Failures of the stream are its owner's to check.
    void WriteData(std::FILE* stream) const;
};

}  // namespace vela::vlgim
