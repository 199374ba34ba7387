#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace vela::vlgim::bench {

enum class Place { kDisk, kTmpfs };

/// Where a row may put a file. It goes when the row has been measured, however that ended.
std::string ScratchPath(Place place, const char* name);

/// A file with these bytes, on disk, and by then in the page cache too. Returns its path.
std::string ScratchFile(const char* name, const std::vector<unsigned char>& bytes);

/// Removes what the process of a row has left.
void RemoveScratch(pid_t process);

}  // namespace vela::vlgim::bench
