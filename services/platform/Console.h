#pragma once

#include <cstdio>

namespace platform {

/// Whether a stream ends at a terminal.
bool IsTerminal(std::FILE* stream);

}  // namespace platform
