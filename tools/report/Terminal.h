#pragma once

#include <cstdio>

namespace vela::vlgim::tools {

/// Whether a line that is shown there can be written over.
bool CanRewrite(std::FILE* stream);

/// Whether text that is shown there may have colours: not where NO_COLOR is set and not empty.
bool CanColor(std::FILE* stream);

}  // namespace vela::vlgim::tools
