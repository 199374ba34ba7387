#pragma once

#include <io/BlockReader.h>
#include <io/BlockWriter.h>
#include <vlgim/Error.h>
#include <vlgim/vlDataShareTable.h>
#include <vlgim/vlMeshData.h>
#include <vlgim/vlMorphData.h>
#include <vlgim/vlOriginalData.h>

#include <cstdint>
#include <vector>

// The blocks of a .mesh file, as its frame reads and writes them. A reader of a block leaves its object as it was
// where `in` fails.
namespace vela::vlgim::mesh {

void Read(io::BlockReader& in, vlDataShareTable& table);
void Write(io::BlockWriter& out, const vlDataShareTable& table);

void Read(io::BlockReader& in, vlMorphData& morph);
void Write(io::BlockWriter& out, const vlMorphData& morph);

/// hasSkinRows  whether files of this version tell of a skin
void Read(io::BlockReader& in, vlOriginalData& data, bool hasSkinRows);
void Write(io::BlockWriter& out, vlOriginalData& data);
std::uint64_t WrittenSize(const vlOriginalData& data);

/// The bones block; nothing in a mesh that is not skinned.
void ReadBones(io::BlockReader& in, vlMeshData& mesh);
Error WhyBonesUnwritable(const vlMeshData& mesh);
void WriteBones(io::BlockWriter& out, const vlMeshData& mesh);

/// How many bones the arrays hold: a count of 65535 stands for none, like 0.
std::uint16_t BoneCount(const vlMeshData& mesh);

/// The animation block, which says what moves the vertices, and the anim-BI block of skinned meshes, of which nothing
/// is kept.
void ReadAnimation(io::BlockReader& in, vlMeshData& mesh);
void ReadAnimBI(io::BlockReader& in, const vlMeshData& mesh);
Error WhyAnimationUnwritable(const vlMeshData& mesh);
void WriteAnimation(io::BlockWriter& out, const vlMeshData& mesh);
void WriteAnimBI(io::BlockWriter& out, const vlMeshData& mesh);

/// The blocks of a file as the share table sorts them.
struct BlockList {
    std::uint32_t vertexBlock;
    std::ptrdiff_t vertexPairs;  ///< how many vertex blocks the table tells of
    std::vector<std::uint32_t> passedOver;
    std::vector<std::uint32_t> originalData;
    std::vector<MESH_DATA_TYPE> originalTypes;
};

/// Of a table with at least one block.
BlockList Sort(const vlDataShareTable& table);

/// Reads a whole file into a mesh whose m_submeshCount is set. On an error the mesh has the header's members and no
/// blocks.
/// blocks  receives what the table tells of; may be null
Error ReadFile(io::BlockReader& in, vlMeshData& mesh, BlockList* blocks = nullptr);

/// Writes a whole file, of a mesh that WhyUnwritable has nothing against. An error ends the save: only an object of a
/// class that is not the library's can still fail.
/// tableOffset  receives where the word stands that is written last; may be null
Error WriteFile(vlio::Sink& sink, const vlMeshData& mesh, std::uint64_t* tableOffset = nullptr);

/// What a reader and a writer that went well have to say, one sentence; none: nothing.
Error WarnOfPassedOver(const BlockList& blocks);
Error WarnOfVertexTypes(const vlMeshData& mesh);

/// Logs why a mesh was refused, and what a reader has to say, in the documented words.
void LogRead(const Error& error, const vlMeshData& mesh);
void LogReadWarning(const Error& warning);

}  // namespace vela::vlgim::mesh
