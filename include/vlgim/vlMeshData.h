#pragma once

#include <vlgim/Array.h>
#include <vlgim/Error.h>
#include <vlgim/Export.h>
#include <vlgim/Name32.h>
#include <vlgim/Options.h>
#include <vlgim/vlMeshVertexData.h>
#include <vlgim/vlMorphData.h>
#include <vlgim/vlOriginalData.h>
#include <vlgim/vlTrackData.h>

#include <corecommon/BoundingInfo.h>
#include <geomath/Types.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace vela::vlgim {

/// One .mesh file. The file does not say how many submeshes it has: the manifest does, or the caller, who
/// sets m_submeshCount ahead of a read.
///
/// A copy shows the same blocks as its source; they live as long as the last of them. A write changes blocks, so an
/// object belongs to one thread at a time, together with its copies.
class VLGIM_API vlMeshData {
public:
    std::uint32_t m_version = 0x50004;  ///< of the file read, 0x50000 to 0x50004
    std::uint32_t m_packMode = 0;       ///< of the file read; 1: it held half floats
    std::uint32_t m_submeshCount = 0;   ///< set it before a read
    std::uint16_t m_skeletonFlag = 0;   ///< 0 static mesh, 1 skinned mesh; any other: skinned, without bones
    std::vector<std::shared_ptr<vlOriginalData>> m_originalData;  ///< in file order
    std::shared_ptr<vlMeshVertexData> m_vertexData;  ///< a vlMeshSkelVertexData under a skeleton flag but 0
    std::uint8_t m_hasMorph = 0;                     ///< non-zero: m_morph exists
    std::shared_ptr<vlMorphData> m_morph;
    std::uint8_t m_hasTracks = 0;                   ///< non-zero: m_tracks exists
    Array<vlTrackData> m_tracks;                    ///< one for each submesh
    std::uint16_t m_spareIndex = 65535;             ///< the caller's own; copied, never read or written
    std::uint16_t m_boneCount = 0;                  ///< N; 0 and 65535 stand for a skeleton without bones
    std::vector<std::uint16_t> m_boneParents;       ///< N; 65535: no parent
    Array<Name32> m_boneNames;                      ///< N, in lower case, NUL-terminated or full
    std::vector<std::int32_t> m_boneNameIds;        ///< N, NameIDMurmur3 of each name; not in the file
    std::uint16_t m_rootBone = 0;                   ///< the bone without a parent; 65535: several; 0: none
    Array<BoundingInfo> m_boneBounds;               ///< N, or null
    Array<geomath::_Matrix<float>> m_boneMatrices;  ///< N
    std::uint16_t m_skelVertexBlocks = 0;           ///< 1: m_vertexData is a vlMeshSkelVertexData

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
    /// FileWriter: path holds the old file or the whole new one. As a write of each block does, it brings the mask
    /// of used bones and m_hasSkin up to date and packs the keys of the tracks. Not written: m_version, m_packMode,
    /// m_submeshCount, m_spareIndex, m_rootBone, m_boneNameIds, bone bounds of which any has a NaN radius, the
    /// morph's m_singleFrame and m_morphExtra, m_version of the tracks behind the first, what a read passed over
    /// (the anim-BI block and the key records of old files; blocks that a warning named), and what the vertex
    /// object leaves out. Original data of the type MESH_DATA_VERTEX are written with a warning that the next
    /// reader passes over as many blocks.
    /// A vertex object of a caller's own class is written by its WriteData, through a temporary file.
    /// Returns 0; 1 if the file was not put in place, and LogError has said why: "unable to open %s", "failed to write
    /// %s: %s", or what WhyUnwritable gives, in which case nothing was opened.
    int WriteMeshFile(const char* path);

    /// Writes to the caller's stream, which has to be open for binary writing, able to seek, not appending, and
    /// at position 0, since offsets in the file count from there. Leaves the stream behind the table offset, not
    /// at its end. Always returns 0: failures of the stream are its owner's to check. What can't be written,
    /// and a stream that can't seek or does not stand at its start, is logged, and nothing is written.
    int WriteMeshFile(std::FILE* stream);

    /// The submesh counts, ascending, with which the vertex block of this file image would end just where the
    /// next block begins: one, for nearly every file that was written by this library. For a tool that has a
    /// .mesh file and no manifest. Reads bounded and never logs; empty for a file that can't be read,
    /// and where the count is needed to find the block: with tracks, and below 0x50002 with a morph.
    static std::vector<std::uint32_t> FittingSubmeshCounts(const unsigned char* data, std::size_t length);

    /// Appends the whole mesh to lists of the caller's, one entry each, so that several meshes can be gathered.
    /// positions, normals    the arrays of the vertex object, all frames; valid while that lives, not to be released
    /// indices               a copy of the 3 x T indices
    /// uvs0, uvs1            the first two uv sets, null where there are none; valid as the positions
    /// vertexCounts, triangleCounts   cut to 16 bits
    /// Without a vertex object nothing is appended.
    void CollectSegGeometryInfo(std::vector<geomath::_Vector3<float>*>& positions,
                                std::vector<geomath::_Vector3<float>*>& normals,
                                std::vector<std::vector<std::uint16_t>>& indices,
                                std::vector<geomath::_Point2<float>*>& uvs0,
                                std::vector<geomath::_Point2<float>*>& uvs1,
                                std::vector<std::uint16_t>& vertexCounts,
                                std::vector<std::uint16_t>& triangleCounts) const;

    /// Appends copies of the skin to lists of the caller's.
    /// boneIndices, weights   4 for each vertex; 0xFFFF: no bone
    /// matrices               the matrix of each bone under its index; what is there is overwritten
    /// names                  of each bone, in bone order
    /// Returns true; false, with nothing appended, without a skinned vertex object. One with 8 slots a vertex, which
    /// no file gives, is taken as if it had 4, so that half of its slots are appended.
    bool CollectSegSkinInfo(std::vector<std::uint32_t>& boneIndices, std::vector<float>& weights,
                            std::unordered_map<std::uint16_t, geomath::_Matrix<float>>& matrices,
                            std::vector<std::string>& names) const;

    /// The range of a submesh in the index array, counted in indices; 0 and 0 where there is no such submesh.
    void GetSubIBInfo(std::uint32_t& start, std::uint32_t& count, std::uint32_t submesh) const;

    /// The range of a submesh in the vertex arrays; 0 and 0 where there is no such submesh.
    void GetSubVBInfo(std::uint32_t& start, std::uint32_t& count, std::uint32_t submesh) const;
};

/// Reads a .mesh file, from a path or from memory, in place of what the mesh held, as vlMeshData::ReadMeshFile does, and
/// logs nothing. The submesh count is the option's or else m_submeshCount.
/// warnings  receives what a user should know of a file that was read, such as blocks that a save would drop; may be null
/// Returns success, or why not; then the mesh holds what ReadMeshFile leaves after a failure. Throws std::bad_alloc.
VLGIM_API Error Load(vlMeshData& mesh, const char* path, const LoadOptions& options = {},
                     std::vector<Error>* warnings = nullptr);
VLGIM_API Error Load(vlMeshData& mesh, std::span<const unsigned char> file, const LoadOptions& options = {},
                     std::vector<Error>* warnings = nullptr);

/// Writes a .mesh file as vlMeshData::WriteMeshFile does, and logs nothing. On an error the old file is as it was.
/// warnings  receives what a user should know of a save that went well; may be null
VLGIM_API Error Save(const vlMeshData& mesh, const char* path, std::vector<Error>* warnings = nullptr);

/// Why a write would be refused: blocks, counts and arrays disagree, so that the file could not be read back. Success
/// if the mesh can be written.
VLGIM_API Error WhyUnwritable(const vlMeshData& mesh);

}  // namespace vela::vlgim
