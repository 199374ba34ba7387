#pragma once

#include <vlgim/GimData.h>
#include <vlgim/GisData.h>

#include <span>

namespace vela::vlgim::tools {

/// One bone of the walking figure.
struct Bone {
    const char* name;                   ///< in lower case
    int parent;                         ///< index, below its own; -1: none
    geomath::_Vector3<float> position;  ///< from its parent, metres; no bone is turned against its parent
    float swing;                        ///< radians to either side, when walking
};

/// The bones of the walking figure, the same for its skeleton and its body.
std::span<const Bone> WalkerBones();

/// Makes a skeleton of a dozen bones, a walking stick figure, with three clips: "walk" with shared key times and 32-bit
/// rotations, "wave" with key times for each bone and halves, "idle" with shared times and floats. Fills the
/// animation and the document; m_path is the caller's.
void BuildWalker(GisData& skeleton);

/// Makes the body of the figure: boxes along the bones, skinned to the skeleton in walker.gis, that share the corners
/// at a joint between its two bones; and a block of original data, the same boxes with each corner once. Fills
/// the mesh and the three documents; m_meshPath is the caller's.
void BuildWalkerBody(GimData& model);

}  // namespace vela::vlgim::tools
