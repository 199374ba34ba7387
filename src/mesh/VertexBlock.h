#pragma once

#include "io/BlockReader.h"

#include <vlgim/vlMeshVertexData.h>

#include <algorithm>
#include <cstdint>
#include <vector>

// A vertex block on its way from the file into arrays, for the two classes that read one: the block is measured
// first, together with whatever stands behind it, and filled when all of it is known to fit.
namespace vela::vlgim {

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

// What the block holds, proven to fit before anything is allocated; attributes that it does not hold are
// null.
struct VertexSource {
    SubmeshSums submeshes;
    std::uint64_t vertexCount, triangleCount;
    bool hasData;
    const unsigned char *entries, *positions, *normals, *tangents, *indices, *uvs, *colors, *frames;
};

/// Passes over a whole vertex block. What it gives is of use only where `in` has not failed.
VertexSource MeasureVertices(io::BlockReader& in, std::uint32_t subCount, std::uint32_t frameCount,
                             unsigned int version);

/// Makes the arrays of a measured block and fills them, in one allocation. The target brings its submesh and frame
/// count; it is as it was where the memory budget does not allow that, and `in` has failed.
void BuildVertices(io::BlockReader& in, const VertexSource& source, unsigned int packMode,
                   vlMeshVertexData& target);

/// The skin data behind the vertices, proven to fit.
struct SkinSource {
    std::uint32_t slots;  ///< for each vertex
    std::uint32_t bits;   ///< of the mask
    const unsigned char *references, *weights, *mask;
};
SkinSource MeasureSkin(io::BlockReader& in, std::uint64_t vertexCount, unsigned int version);

/// What has to be known of a vertex block ahead of its bytes, but for the submesh count.
struct VertexBlockKind {
    unsigned int version;
    std::uint32_t frameCount;
    bool skinned;
};

/// The submesh counts, ascending, with which such a block would fill data to end exactly.
std::vector<std::uint32_t> FittingSubCounts(const unsigned char* data, const unsigned char* end,
                                            const VertexBlockKind& kind);

}  // namespace vela::vlgim
