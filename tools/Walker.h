#pragma once

#include <vlgim/GisData.h>

namespace vela::vlgim::tools {

/// Makes a skeleton of a dozen bones, a walking stick figure, with three clips: "walk" with shared key times and 32-bit
/// rotations, "wave" with key times for each bone and halves, "idle" with shared times and floats. Fills the
/// animation and the document; m_path is the caller's.
void BuildWalker(GisData& skeleton);

}  // namespace vela::vlgim::tools
