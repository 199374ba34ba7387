#pragma once

#include "MeshVersions.h"

#include <io/BlockReader.h>
#include <io/BlockWriter.h>
#include <vlgim/vlMeshData.h>
#include <vlio2/FileStream.h>
#include <vlio2/FileWriter.h>

#include <cstdint>
#include <span>
#include <vector>

// The blocks of a .mesh file, as its frame reads and writes them. A reader of a block leaves its object as it was
// where `in` fails. A writer takes objects that WhyUnwritable has nothing against.
namespace vela::vlgim::mesh {

constexpr std::uint8_t kMostUvSets = 4;             // as many as there are members for
constexpr std::uint16_t kNoBone = 0xFFFF;           // in the place of a bone's index
constexpr std::uint16_t kMostTableEntries = 32767;  // counts in a share table have a sign

/// Copies indices of bones, which old files have in one byte each: 255 becomes kNoBone.
void CopyBoneIndices(std::uint16_t* to, const unsigned char* from, std::uint64_t count, bool isWide);

void Read(io::BlockReader& in, vlDataShareTable& table);
void Write(io::BlockWriter& out, const vlDataShareTable& table);

/// Members that the version of the block does not have stay as they were.
void Read(io::BlockReader& in, vlMorphData& morph, std::uint32_t version = kNewestMorphVersion);
void Write(io::BlockWriter& out, const vlMorphData& morph);

/// hasSkinRows  whether files of this version tell of a skin
void Read(io::BlockReader& in, vlOriginalData& data, bool hasSkinRows);
void Write(io::BlockWriter& out, vlOriginalData& data);
std::uint64_t WrittenSize(const vlOriginalData& data);

/// The object has its submesh and frame count.
void Read(io::BlockReader& in, vlMeshVertexData& mesh, unsigned int version, unsigned int packMode);
void Read(io::BlockReader& in, vlMeshSkelVertexData& mesh, unsigned int version, unsigned int packMode);

/// Why an array is shorter than the counts of its object say; of a skin, its own arrays alone.
Error WhyArraysShort(const vlMeshVertexData& mesh);
Error WhySkinShort(const vlMeshSkelVertexData& mesh);

/// With the skin, if the object has one.
void Write(io::BlockWriter& out, vlMeshVertexData& mesh);
std::uint64_t WrittenSize(const vlMeshVertexData& mesh);

/// The submesh counts, ascending, with which a vertex block would fill the bytes exactly.
std::vector<std::uint32_t> FittingSubCounts(std::span<const unsigned char> block, unsigned int version,
                                            std::uint32_t frameCount, bool isSkinned);

/// The bones block, and behind it the anim-BI block, of which nothing is kept; nothing in a mesh that is not skinned.
void ReadSkeleton(io::BlockReader& in, vlMeshData& mesh);
Error WhySkeletonUnwritable(const vlMeshData& mesh);
void WriteSkeleton(io::BlockWriter& out, const vlMeshData& mesh);

/// How many bones the arrays hold: a count of 65535 stands for none, like 0.
std::uint16_t BoneCount(const vlMeshData& mesh);

/// The animation block, which says what moves the vertices.
void ReadAnimation(io::BlockReader& in, vlMeshData& mesh);
Error WhyAnimationUnwritable(const vlMeshData& mesh);
void WriteAnimation(io::BlockWriter& out, const vlMeshData& mesh);

/// Reads a whole file into a mesh whose m_submeshCount is set. On an error the mesh has the header's members and no
/// blocks.
/// passedOver  receives where the vertex blocks lie that are not read; may be null
/// warnings    receives what the caller should know about the file; may be null
Error ReadFile(io::BlockReader& in, vlMeshData& mesh, std::vector<std::uint32_t>* passedOver = nullptr,
               std::vector<Error>* warnings = nullptr);

/// Writes a whole file. Returns the position of the word that is written last.
/// foreign  the vertex block of an object whose class is not the library's
std::uint64_t WriteFile(vlio::Sink& sink, const vlMeshData& mesh, const vlio::Bytes& foreign = {});

/// Adds the file to a set, for the caller to commit. After an error the caller drops the set: only an object of a class
/// that is not the library's can still be refused.
Error AddTo(vlio::FileWriter& set, const vlMeshData& mesh, const char* path, std::vector<Error>* warnings);

/// Logs why a mesh was refused, and what a reader has to say, in the documented words.
void LogRead(const Error& error, const vlMeshData& mesh);
void LogReadWarning(const Error& warning);

}  // namespace vela::vlgim::mesh
