#pragma once

#include <vlgim/GimData.h>

namespace vela::vlgim::tools {

/// Makes a flag of two submeshes, a pole and a cloth of coloured stripes, that waves in three morph frames.
/// Fills the mesh and the three documents; m_meshPath is the caller's.
void BuildFlag(GimData& model);

}  // namespace vela::vlgim::tools
