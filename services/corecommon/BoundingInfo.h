#pragma once

namespace vela {

/// Bounds of one bone, 28 bytes as in a file. The library carries them unchanged and only looks at m_radius.
struct BoundingInfo {
    float m_extents[6] = {};  ///< carried unchanged
    float m_radius = 0;       ///< NaN: the bounds are unknown
};
static_assert(sizeof(BoundingInfo) == 28);

}  // namespace vela
