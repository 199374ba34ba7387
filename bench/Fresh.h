#pragma once

#include "Timing.h"

#include <string>
#include <vector>

namespace vela::vlgim::bench {

/// A side that is sampled in a new process each time, whose heap no one has touched.
/// task        of the list in Fresh.cpp
/// arguments   a file, and numbers
Side InFreshProcess(const char* task, std::vector<std::string> arguments);

/// A mesh from a path, and dropped again.
void ReadMeshFromPath(const char* path);

/// In such a process, what it was started for: true, and the sample has gone to its standard output. Nothing may
/// be allocated ahead of this.
bool RanAsFreshProcess(int argc, char** argv);

}  // namespace vela::vlgim::bench
