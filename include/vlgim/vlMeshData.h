#pragma once

#include <vlgim/Export.h>
#include <vlgim/vlMeshVertexData.h>

#include <corecommon/BoundingInfo.h>
#include <geomath/Types.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace vela::vlgim {

namespace io {
class BlockReader;
}
class vlDataShareTable;
struct vlMorphData;
class vlOriginalData;
class vlTrackData;

/// One .mesh file. The file does not say how many submeshes it has: the manifest does, or the caller, who
/// sets m_submeshCount ahead of a read.
///
/// A copy shows the same blocks as its source; they live as long as the last of them. An object belongs to
/// one thread at a time; different objects may be used side by side.
class VLGIM_API vlMeshData {
public:
    std::uint32_t m_version = 0x50004;  ///< of the file read, 0x50000 to 0x50004
    std::uint32_t m_packMode = 0;       ///< of the file read; 1: it held half floats
    std::uint32_t m_submeshCount = 0;   ///< set it before a read
    std::uint16_t m_skeletonFlag = 0;   ///< 0 static mesh, 1 skinned mesh
    std::vector<std::shared_ptr<vlOriginalData>> m_originalData;
    std::shared_ptr<vlMeshVertexData> m_vertexData;
    std::uint8_t m_hasMorph = 0;
    std::shared_ptr<vlMorphData> m_morph;
    std::uint8_t m_hasTracks = 0;
    std::shared_ptr<vlTrackData[]> m_tracks;
    std::uint16_t m_spareIndex = 65535;  ///< the caller's own; copied, never read or written
    std::uint16_t m_boneCount = 0;
    std::vector<std::uint16_t> m_boneParents;
    std::shared_ptr<char[][32]> m_boneNames;
    std::vector<std::int32_t> m_boneNameIds;
    std::uint16_t m_rootBone = 0;
    std::shared_ptr<BoundingInfo[]> m_boneBounds;
    std::shared_ptr<geomath::_Matrix<float>[]> m_boneMatrices;
    std::uint16_t m_skelVertexBlocks = 0;  ///< 1: m_vertexData is a skinned vertex object

    /// Reads a whole file image, which is needed during the call only. m_submeshCount and m_spareIndex are the
    /// caller's and stay; everything else is replaced.
    /// data     first byte of the file, at any alignment
    /// length   in bytes
    /// Returns true if the mesh was read. False: LogError has said why, m_version, m_packMode and m_skeletonFlag
    /// hold the file's values where it has a header, and no block is left. The magic word is not looked at.
    /// Memory never passes 64 times length and 16 MiB. Throws std::bad_alloc, and the object is as it was.
    bool ReadMeshFile(const unsigned char* data, std::size_t length);

    /// The same for a caller who vouches that all counts and offsets of the file lie within its bytes.
    bool ReadMeshFile(const unsigned char* data);

    /// Writes the mesh as version 0x50004 with pack mode 0, whatever m_version and m_packMode say, through a
    /// FileWriter: path holds the old file or the whole new one. Not written: m_version, m_packMode,
    /// m_submeshCount, m_spareIndex, blocks that a read passed over with a warning, and what the vertex object
    /// leaves out.
    /// Returns 0; 1 if nothing was written, and LogError has said why: "unable to open %s", "failed to write
    /// %s: %s", or what WriteObstacle says, in which case nothing was opened.
    int WriteMeshFile(const char* path);

    /// Writes to the caller's stream, which has to be open for binary writing, able to seek, not appending, and
    /// at position 0, since offsets in the file count from there. Leaves the stream behind the table offset, not
    /// at its end. Always returns 0: failures of the stream are its owner's to check. What can't be written,
    /// and a stream that can't seek, is logged, and nothing is written.
    int WriteMeshFile(std::FILE* stream);

    /// Why a write would be refused, in one sentence; empty if the mesh can be written.
    std::string WriteObstacle() const;

    /// The submesh counts, ascending, with which the vertex block of this file image would end just where the
    /// next block begins: one, for nearly every file that was written by this library. For a tool that has a
    /// .mesh file and no manifest. Reads bounded and never logs; empty for a file that can't be read.
    static std::vector<std::uint32_t> FittingSubmeshCounts(const unsigned char* data, std::size_t length);

private:
    bool Read(io::BlockReader& in);
    void ReadMeshHeader(io::BlockReader& in);
    bool ReadBlocks(io::BlockReader& in);
    bool ReadAnimDataNew(io::BlockReader& in);
    bool ReadVertexData(io::BlockReader& in);
    static vlDataShareTable ReadTable(io::BlockReader& in);
    void WriteMeshHeader(std::FILE* stream) const;
    void WriteAnimData(std::FILE* stream) const;
    void WriteMeshVertexData(std::FILE* stream);
};

}  // namespace vela::vlgim
