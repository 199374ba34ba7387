#pragma once

#include <vlgim/GimData.h>

namespace vela::vlgim::tools {

/// Makes a small house of three submeshes: walls with two uv sets, a roof with one and with colours, and a
/// door; with a track for each, of which the door's swings it open and shut. Fills the mesh and the three
/// documents; m_meshPath is the caller's.
void BuildHouse(GimData& model);

}  // namespace vela::vlgim::tools
