#pragma once

namespace vela {

/// Bounds of one bone, 28 bytes as they stand in a file. The library carries them and looks at the last float
/// alone: a NaN there means that the bounds are unknown.
struct BoundingInfo {
    float m_extents[6] = {};  ///< carried unchanged
    float m_radius = 0;       ///< NaN: the bounds are unknown
};
static_assert(sizeof(BoundingInfo) == 28);

}  // namespace vela
