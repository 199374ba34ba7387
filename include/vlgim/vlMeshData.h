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

/// One .mesh file. The file does not store how many submeshes it has. The manifest has this number: set m_submeshCount
/// before a read.
///
/// A copy shares the blocks of its source. They live as long as the last object that shares them. A write changes
/// shared blocks, so an object and its copies belong to one thread at a time.
class VLGIM_API vlMeshData {
public:
    std::uint32_t m_version = 0x50004;  ///< version of the file read, 0x50000 to 0x50004
    std::uint32_t m_packMode = 0;       ///< pack mode of the file read; 1: it held half floats
    std::uint32_t m_submeshCount = 0;   ///< set it before a read
    std::uint16_t m_skeletonFlag = 0;   ///< 0: static mesh; 1: skinned mesh; other: skinned, without bones
    std::vector<std::shared_ptr<vlOriginalData>> m_originalData;  ///< in file order
    std::shared_ptr<vlMeshVertexData> m_vertexData;  ///< a vlMeshSkelVertexData if m_skeletonFlag is not 0
    std::uint8_t m_hasMorph = 0;                     ///< non-zero: there is m_morph
    std::shared_ptr<vlMorphData> m_morph;
    std::uint8_t m_hasTracks = 0;              ///< non-zero: there is m_tracks
    Array<vlTrackData> m_tracks;               ///< one for each submesh
    std::uint16_t m_spareIndex = 65535;        ///< for the caller; never read or written
    std::uint16_t m_boneCount = 0;             ///< N; 0 and 65535: a skeleton without bones
    std::vector<std::uint16_t> m_boneParents;  ///< N; 65535: no parent
    Array<Name32> m_boneNames;                 ///< N, in lower case; NUL-terminated, or all 32 bytes
    std::vector<std::int32_t> m_boneNameIds;   ///< N, NameIDMurmur3 of each name; not in the file
    std::uint16_t m_rootBone = 0;      ///< the one bone without a parent; 65535: several; 0 also for none
    Array<BoundingInfo> m_boneBounds;  ///< N, or null
    Array<geomath::_Matrix<float>> m_boneMatrices;  ///< N
    std::uint16_t m_skelVertexBlocks = 0;           ///< 1: m_vertexData is a vlMeshSkelVertexData

    /// Reads a whole file image. m_submeshCount has to be set before. It and m_spareIndex are unchanged; everything
    /// else is replaced.
    /// data    first byte of the file, at any alignment; used during the call only; null: the read fails
    /// length  in bytes
    /// Returns true if the mesh was read. Returns false otherwise; LogError gives the reason. If the file has a header,
    /// m_version, m_packMode and m_skeletonFlag are then its values; no block is left. The magic word is not checked. A
    /// read uses at most 64 times `length`, plus 16 MiB, of memory. Throws std::bad_alloc; the object is then
    /// unchanged.
    [[nodiscard]] bool ReadMeshFile(const unsigned char* data, std::size_t length);

    /// Unbounded: all counts and offsets of the file are trusted, and the memory is not limited.
    /// Reads a file image as ReadMeshFile(data, length) does, for a caller who guarantees that the file is intact.
    [[nodiscard]] bool ReadMeshFile(const unsigned char* data);

    /// Writes the mesh as version 0x50004 with pack mode 0, whatever m_version and m_packMode are. The file appears as
    /// a whole or not at all, unless it has to be written in place (see vlio::FileWriter).
    /// path  path of the file, used unchanged
    /// Writing changes the blocks in memory, also if the save then fails: the mask of used bones, m_hasSkin of original
    /// data, and the channels of the tracks (vlTransKeysData::WriteData). Copies of the object share the blocks and see
    /// the change.
    /// Not written are m_version, m_packMode, m_submeshCount, m_spareIndex, m_rootBone, m_boneNameIds, bone bounds if
    /// any has a NaN radius, m_singleFrame and m_morphExtra of the morph, m_version of all tracks but the first, what
    /// the vertex object leaves out, and what a read skipped: the anim-BI block and the key records of old files, and
    /// blocks that a warning named. Original data of type MESH_DATA_VERTEX give a warning: the next reader skips as
    /// many blocks.
    /// A vertex object of a class of your own is written by its WriteData, through a temporary file and memory of the
    /// size of its block. If WriteData logs an error, the message does not reach the log: nothing is written, and the
    /// message becomes the reason of the failure.
    /// Returns 0 if the file was saved. Returns 1 otherwise; LogError gives the reason: "unable to open %s", "failed to
    /// write %s: %s", or why the mesh can't be written. The old file is then unchanged, unless it had to be written in
    /// place. If WhyUnwritable returns an error, no file is opened.
    [[nodiscard]] int WriteMeshFile(const char* path);

    /// Writes the mesh to a stream as WriteMeshFile(path) does.
    /// stream  open for binary writing, able to seek, not in append mode, and at position 0, because offsets in the
    ///         file count from there; its errors are left to the caller to check. The call leaves it after the table
    ///         offset, not at its end.
    /// Returns 0 always. If WhyUnwritable returns an error, a vertex object of a class of your own can't be written, or
    /// the stream can't seek or is not at position 0, the error is logged and nothing is written.
    int WriteMeshFile(std::FILE* stream);

    /// Finds the submesh counts with which the vertex block of a file image ends exactly where the next block begins.
    /// For tools that have a .mesh file without its manifest. The read is bounded, and nothing is logged.
    /// data, length  the file image
    /// Returns the counts in ascending order: only one for nearly every file that this library wrote. Returns no count
    /// for a file that can't be read, and if the block can't be found without the count: in files with tracks, and
    /// below version 0x50002 in files with a morph.
    [[nodiscard]] static std::vector<std::uint32_t> FittingSubmeshCounts(const unsigned char* data,
                                                                         std::size_t length);

    /// Appends the whole mesh to lists, one entry to each, so that several meshes can be collected. Nothing is
    /// appended without a vertex object, or if one of its arrays is shorter than its count.
    /// positions, normals            the arrays of the vertex object, all frames. They belong to it and are valid as
    ///                               long as it is.
    /// indices                       a copy of the 3 x T vertex indices
    /// uvs0, uvs1                    the first two uv sets, or null; valid like the positions
    /// vertexCounts, triangleCounts  the counts, truncated to 16 bits
    void CollectSegGeometryInfo(std::vector<geomath::_Vector3<float>*>& positions,
                                std::vector<geomath::_Vector3<float>*>& normals,
                                std::vector<std::vector<std::uint16_t>>& indices,
                                std::vector<geomath::_Point2<float>*>& uvs0,
                                std::vector<geomath::_Point2<float>*>& uvs1,
                                std::vector<std::uint16_t>& vertexCounts,
                                std::vector<std::uint16_t>& triangleCounts) const;

    /// Appends copies of the skin to lists.
    /// boneIndices, weights  4 for each vertex; 0xFFFF: no bone
    /// matrices              the matrix of each bone, with the bone's index as key; replaces an existing entry
    /// names                 the name of each bone, in bone order
    /// Returns true if there is a skinned vertex object, and no array is shorter than its count. Returns false
    /// otherwise, and nothing is appended. An object with 8 references for each vertex, which no file gives, is treated
    /// as if it had 4: half of its references are appended.
    [[nodiscard]] bool
    CollectSegSkinInfo(std::vector<std::uint32_t>& boneIndices, std::vector<float>& weights,
                       std::unordered_map<std::uint16_t, geomath::_Matrix<float>>& matrices,
                       std::vector<std::string>& names) const;

    /// Gets the range of a submesh in the index array.
    /// start, count  receive the range in indices; 0 and 0 if there is no such submesh
    /// submesh       index of the submesh, from 0
    void GetSubIBInfo(std::uint32_t& start, std::uint32_t& count, std::uint32_t submesh) const noexcept;

    /// Gets the range of a submesh in the vertex arrays.
    /// start, count  receive the range in vertices; 0 and 0 if there is no such submesh
    /// submesh       index of the submesh, from 0
    void GetSubVBInfo(std::uint32_t& start, std::uint32_t& count, std::uint32_t submesh) const noexcept;
};

/// Reads a .mesh file, from a path or from memory, as vlMeshData::ReadMeshFile does. Everything that the mesh held is
/// replaced, except m_spareIndex. The submesh count is that of the options, which m_submeshCount becomes; without one
/// it is m_submeshCount. Nothing is logged.
/// file      the whole file; used during the call only
/// warnings  receives what the caller should know about the file, such as blocks that a save would drop; entries are
///           appended; may be null
/// Returns success, or an error. The mesh then holds what ReadMeshFile leaves; it is unchanged if the file could not be
/// opened or read. Throws std::bad_alloc.
VLGIM_API Error Load(vlMeshData& mesh, const char* path, const LoadOptions& options = {},
                     std::vector<Error>* warnings = nullptr);
VLGIM_API Error Load(vlMeshData& mesh, std::span<const unsigned char> file, const LoadOptions& options = {},
                     std::vector<Error>* warnings = nullptr);

/// Writes a .mesh file as vlMeshData::WriteMeshFile does, and changes the blocks in memory as that does, although the
/// mesh is const. Nothing is logged.
/// warnings  receives what the caller should know about the save; entries are appended; may be null
/// Returns success, or an error; the old file is then unchanged, unless it had to be written in place (see
/// vlio::FileWriter).
VLGIM_API Error Save(const vlMeshData& mesh, const char* path, std::vector<Error>* warnings = nullptr);

/// Returns why a write would be refused: blocks, counts and arrays disagree, so that the file could not be read back,
/// or the file would have more than 4 GiB. Success if the mesh can be written. A vertex object of a class of your own
/// is not checked.
VLGIM_API Error WhyUnwritable(const vlMeshData& mesh);

}  // namespace vela::vlgim
