#pragma once

#include <vlgim/Export.h>
#include <vlgim/vlKeyTimes.h>

#include <cstdio>
#include <memory>

namespace vela::vlgim {

/// The key times of a mesh with morph animation: frame k of the vertex object is the shape at the time of key k. The
/// frames are in vlMeshVertexData, which needs the key count as its m_frameCount before a read.
struct VLGIM_API vlMorphData {
    vlKeyTimes m_times;                  ///< ascending, not checked; in the exporter's unit
    unsigned char m_morphMode = 1;       ///< carried unchanged, not used
    unsigned short m_singleFrame = 0;    ///< non-zero: one frame, whatever the key count; not written
    std::shared_ptr<void> m_morphExtra;  ///< for the caller; never read or written

    /// Unbounded if `end` is null: the counts in the data are then trusted.
    /// Reads u8 mode, u16 K and K floats: 3 + 4 K bytes, little-endian.
    /// data  first byte of the block, at any alignment; null: the result is null
    /// end   one past the last readable byte; null: the caller guarantees that the whole block is readable
    /// Returns the byte after the block. Returns null if the block does not fit; the object is then unchanged.
    [[nodiscard]] const unsigned char* ReadDataNew(const unsigned char* data,
                                                   const unsigned char* end = nullptr);

    /// Unbounded if `end` is null: the counts in the data are then trusted.
    /// Reads the block of an older file: from version 0x20011 on u8 mode, before 0x20013 u16 m_singleFrame, u16 K, K
    /// times of 4 bytes. Times are floats; before 0x20005 they are u32, of which the first counts as 0.
    /// version    version of the file
    /// data, end  as for ReadDataNew
    /// Returns as ReadDataNew does. A block without a mode leaves m_morphMode unchanged. A block without m_singleFrame
    /// sets it to 0.
    [[nodiscard]] const unsigned char* ReadData(const unsigned char* data, unsigned int version,
                                                const unsigned char* end = nullptr);

    /// Writes the block that ReadDataNew reads. Cleared times are written as 0 keys.
    /// stream  open for binary writing; its errors are left to the caller to check
    /// If m_times counts more keys than its array has, an error is logged and nothing is written.
    void WriteData(std::FILE* stream) const;
};

}  // namespace vela::vlgim
