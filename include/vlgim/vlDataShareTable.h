#pragma once

#include <vlgim/Export.h>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace vela::vlgim {

/// Kind of a data block of a .mesh file. Files may hold any other value for a block of original data; it is
/// carried unchanged and only compared with MESH_DATA_VERTEX.
enum MESH_DATA_TYPE : std::uint32_t {
    MESH_DATA_VERTEX = 4,
    MESH_DATA_ORIGINAL = 5,
};

/// Says of one block of the file what it is; 8 bytes.
struct DataPair {
    MESH_DATA_TYPE type;
    std::int16_t index;          ///< position of the block in vlDataShareTable::m_blocks
    std::uint16_t reserved = 0;  ///< as read, not looked at, written as 0
};
static_assert(sizeof(DataPair) == 8);

/// The index at the end of a .mesh file: where its data blocks start, and of which kind they are. All counts
/// are signed 16-bit numbers, so a table holds at most 32,767 blocks and as many pairs.
class VLGIM_API vlDataShareTable {
public:
    std::vector<std::uint32_t> m_blocks;  ///< offset of each block from the first byte of the file
    std::vector<DataPair> m_pairs;        ///< one for each block, in files that this library wrote

    /// Appends a block that starts at offset. Returns its index.
    short PushBlockInfo(unsigned int offset);

    /// Appends a pair for the block with this index.
    void PushDataPair(MESH_DATA_TYPE type, short index);

    void ClearBlockInfo() noexcept { m_blocks.clear(); }
    void ClearDataPair() noexcept { m_pairs.clear(); }

    /// Reads i16 B, B u32 offsets, i16 P and P pairs: 4 + 4 B + 8 P bytes, at any alignment, in place of what the
    /// table held.
    /// data   first byte of the table; null gives null
    /// end    one past the last readable byte; null if the caller vouches for the table
    /// Returns the byte behind the table; null if it does not fit or a count is negative, and the table is as it
    /// was.
    const unsigned char* ReadData(const unsigned char* data, const unsigned char* end = nullptr);

    /// Writes the table at the stream's position, reserved bytes as 0. With more than 32,767 blocks or pairs
    /// it logs an error and writes nothing. Failures of the stream are its owner's to check.
    void WriteData(std::FILE* stream) const;
};

}  // namespace vela::vlgim
