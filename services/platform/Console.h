#pragma once

#include <cstdio>

namespace platform {

/// True if the stream is a terminal.
bool IsTerminal(std::FILE* stream);

}  // namespace platform
