#pragma once

#include <vlgim/Export.h>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace vela::vlgim {

/// Kind of a data block in a .mesh file. A block of original data may have any other value in a file. Such a value is
/// carried unchanged and only compared with MESH_DATA_VERTEX.
enum MESH_DATA_TYPE : std::uint32_t {
    MESH_DATA_VERTEX = 4,
    MESH_DATA_ORIGINAL = 5,
};

/// The kind of one block; 8 bytes in a file.
struct DataPair {
    MESH_DATA_TYPE type;
    std::int16_t index;          ///< index of the block in vlDataShareTable::m_blocks
    std::uint16_t reserved = 0;  ///< as read; not used; written as 0
};
static_assert(sizeof(DataPair) == 8);

/// The table at the end of a .mesh file: where its data blocks start, and of which kinds they are. Counts are signed
/// 16-bit numbers, so a table holds at most 32,767 blocks and 32,767 pairs.
class VLGIM_API vlDataShareTable {
public:
    std::vector<std::uint32_t> m_blocks;  ///< offset of each block from the start of the file
    std::vector<DataPair> m_pairs;        ///< one for each block in files that this library wrote

    /// Appends a block that starts at `offset`, in bytes from the start of the file. Returns its index.
    short PushBlockInfo(unsigned int offset);

    /// Appends a pair for the block with this index. The index is not checked.
    void PushDataPair(MESH_DATA_TYPE type, short index);

    /// Removes all blocks.
    void ClearBlockInfo() noexcept { m_blocks.clear(); }
    /// Removes all pairs.
    void ClearDataPair() noexcept { m_pairs.clear(); }

    /// Unbounded if `end` is null: the counts in the data are then trusted.
    /// Reads i16 B, B u32 offsets, i16 P and P pairs: 4 + 4 B + 8 P bytes, little-endian. Everything that the table
    /// held is replaced.
    /// data  first byte of the table, at any alignment; null: the result is null
    /// end   one past the last readable byte; null: the caller guarantees that the whole table is readable
    /// Returns the byte after the table. Returns null if the table does not fit or a count is negative; the object is
    /// then unchanged.
    [[nodiscard]] const unsigned char* ReadData(const unsigned char* data,
                                                const unsigned char* end = nullptr);

    /// Writes the table that ReadData reads, with reserved bytes of 0.
    /// stream  open for binary writing; its errors are left to the caller to check
    /// With more than 32,767 blocks or pairs an error is logged and nothing is written.
    void WriteData(std::FILE* stream) const;
};

}  // namespace vela::vlgim
