#pragma once

#include <io/BlockReader.h>
#include <io/BlockWriter.h>
#include <vlgim/Error.h>
#include <vlgim/vlMeshVertexData.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

// The vertex block on its way from a file into arrays and back, for the two classes that have one. It is measured first,
// together with whatever stands behind it, and filled when all of it is known to fit.
namespace vela::vlgim::mesh {

constexpr std::uint32_t kMostBits = 65535;  // of the mask of used bones: as many as a mesh can have bones
constexpr std::uint8_t kMostUvSets = 4;     // as many as there are members for

/// Calls visit(name, array, count) for each array of a vertex object, with the entries that its counts give it: none for
/// what it need not have. A skin's arrays are VisitSkin's.
template <class Mesh, class Visit>
void VisitArrays(Mesh& mesh, Visit visit)
{
    const std::uint64_t vertices = mesh.m_vertexCount, allFrames = mesh.m_frameCount * vertices;
    static constexpr const char* kUvSets[kMostUvSets] = {"uvs of set 0", "uvs of set 1", "uvs of set 2",
                                                         "uvs of set 3"};
    visit("submesh records", mesh.m_subRecords, mesh.m_subCount);
    visit("positions", mesh.m_positions, allFrames);
    visit("normals", mesh.m_normals, allFrames);
    visit("tangents", mesh.m_tangents, mesh.m_tangents ? allFrames : 0);
    visit("triangles", mesh.m_indices, 3 * std::uint64_t{mesh.m_triangleCount});
    for (unsigned set = 0; set < kMostUvSets; ++set)
        visit(kUvSets[set], mesh.m_uvSets[set], set < mesh.m_uvSetCount ? vertices : 0);
    visit("colours", mesh.m_colors, mesh.m_colorSetCount != 0 ? vertices : 0);
}

template <class Mesh, class Visit>
void VisitSkin(Mesh& mesh, Visit visit)
{
    const std::uint64_t slots = std::uint64_t{mesh.m_maxBoneRefCount} * mesh.m_vertexCount;
    visit("bone references", mesh.m_boneIndices, slots);
    visit("bone weights", mesh.m_boneWeights, slots);
}

/// Reads a block into an object that has its submesh and frame count.
void Read(io::BlockReader& in, vlMeshVertexData& mesh, unsigned int version, unsigned int packMode);
void Read(io::BlockReader& in, vlMeshSkelVertexData& mesh, unsigned int version, unsigned int packMode);

/// Writes a block, of an object that WhyUnwritable has nothing against.
void Write(io::BlockWriter& out, const vlMeshVertexData& mesh);
void Write(io::BlockWriter& out, vlMeshSkelVertexData& mesh);
std::uint64_t WrittenSize(const vlMeshVertexData& mesh);
std::uint64_t WrittenSize(const vlMeshSkelVertexData& mesh);

/// What has to be known of a vertex block ahead of its bytes, but for the submesh count.
struct VertexBlockKind {
    unsigned int version;
    std::uint32_t frameCount;
    bool skinned;
};

/// The submesh counts, ascending, with which such a block would fill data to end exactly.
std::vector<std::uint32_t> FittingSubCounts(const unsigned char* data, const unsigned char* end,
                                            const VertexBlockKind& kind);

// What the submesh entries say together. All sums are 64 bits wide: one that wrapped would lead a run back
// into the vertex list.
struct SubmeshSums {
    std::uint64_t vertices = 0;
    std::uint64_t uvs = 0;        // entries of all uv runs
    std::uint64_t colors = 0;     // entries of all colour runs
    std::uint64_t runEnd = 0;     // one past the last vertex that any run reaches
    std::uint8_t uvSetCount = 0;  // the largest of them

    void Add(const SubmeshRecord& record)
    {
        vertices += record.vertexCount;
        uvs += std::uint64_t{record.uvSetCount} * record.vertexCount;
        colors += record.hasColors ? record.vertexCount : 0;
        uvSetCount = std::max(uvSetCount, record.uvSetCount);
        if (record.vertexCount && (record.uvSetCount || record.hasColors))
            runEnd = vertices;
    }
};

// What a block holds, proven to fit before anything is allocated; attributes that it does not hold are null.
struct VertexSource {
    SubmeshSums submeshes;
    std::uint64_t vertexCount, triangleCount;
    bool hasData;
    const unsigned char *entries, *positions, *normals, *tangents, *indices, *uvs, *colors, *frames;
};

// Passes over a whole block. What it gives is of use only where `in` has not failed.
VertexSource MeasureVertices(io::BlockReader& in, std::uint32_t subCount, std::uint32_t frameCount,
                             unsigned int version, unsigned int packMode);

// Makes the arrays of a measured block and fills them, in one allocation. The target brings its submesh and frame
// count; it is as it was where the memory budget does not allow that, and `in` has failed.
void BuildVertices(io::BlockReader& in, const VertexSource& source, unsigned int packMode,
                   vlMeshVertexData& target);

// The skin data behind the vertices, proven to fit.
struct SkinSource {
    std::uint32_t slots;  // for each vertex
    std::uint32_t bits;   // of the mask
    const unsigned char *references, *weights, *mask;
};
SkinSource MeasureSkin(io::BlockReader& in, std::uint64_t vertexCount, unsigned int version);

}  // namespace vela::vlgim::mesh
