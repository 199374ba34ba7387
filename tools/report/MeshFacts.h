#pragma once

#include <vlgim/vlMeshData.h>

#include <geomath/Types.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace vela::vlgim::tools {

inline constexpr std::uint16_t kNone = 0xFFFF;  ///< no bone, no parent
inline constexpr std::uint32_t kSlots = 4;      ///< bone references a vertex

/// Smallest and largest coordinates of all frames, but for NaN, which is in no box: where an axis has nothing else,
/// its low is infinity and its high minus infinity.
struct Box {
    geomath::_Vector3<float> low, high;
};

/// What the skin's slots of all vertices come to. Slots without a bone count for nothing.
struct SkinFacts {
    std::uint64_t byInfluences[kSlots + 1] = {};              ///< vertices with 0 to 4 weights that are not 0
    float lowest = std::numeric_limits<float>::infinity();    ///< sum of a vertex' weights, but for NaN;
    float highest = -std::numeric_limits<float>::infinity();  ///< below the lowest: there is no such sum
    std::uint64_t nanSums = 0;
    std::uint64_t missingBones = 0;      ///< slots that refer to a bone that does not exist
    std::vector<std::string> boneNames;  ///< as in the file
    std::vector<bool> usedBones;         ///< the mask, of any size

    bool HasSums() const { return lowest <= highest; }
    bool IsUsed(std::size_t bone) const { return bone < usedBones.size() && usedBones[bone]; }
};

/// What can be said of a mesh and stands nowhere in it.
struct MeshFacts {
    std::optional<Box> box;           ///< none without vertices
    bool hasColors = false;           ///< of any submesh
    std::uint64_t badIndices = 0;     ///< beyond the last vertex
    std::uint64_t bytesInMemory = 0;  ///< of all arrays
    std::optional<SkinFacts> skin;    ///< of a skinned mesh
};

/// Of a mesh that was read. Nothing in it is believed that a reader does not check.
MeshFacts GatherFacts(const vlMeshData& mesh);

}  // namespace vela::vlgim::tools
