#pragma once

#include <basekit/BlockAllocator.h>
#include <vlgim/Error.h>

#include <vector>

namespace vlio {

/// The bytes of a whole file. Elements that resize() adds are not initialised.
using Bytes = std::vector<unsigned char, kit::BlockAllocator<unsigned char>>;

/// Which kind of file is asked for. All kinds lie in the one file system of the machine today; callers name
/// them so that a packed archive could hold some of them.
enum FileSystemType {
    FILE_SYSTEM_ANY = 0,
    FILE_SYSTEM_MODEL = 1,  ///< .mesh and .gis files
    FILE_SYSTEM_CLIP = 2,   ///< clip side files
};

/// Reads a whole regular file. Logs nothing, and throws std::bad_alloc.
/// Returns no error, and bytes holds the file; or NotFound; or Unreadable for a folder, a pipe or a device, for what the
/// system refuses to read, and for a file whose length changed meanwhile. Error::code holds the system's errno value
/// if it has one; bytes is then empty.
[[nodiscard]] VLGIM_API vela::vlgim::Error ReadFile(const char* path, Bytes& bytes);

struct VLGIM_API FileStream {
    /// Reads as ReadFile does. True: bytes holds the file. False: bytes is empty.
    static bool ReadAllBinary(const char* path, Bytes& bytes, FileSystemType type);

    /// True for anything that is found under this name: a file, a folder, a device.
    static bool Exists(const char* path, FileSystemType type);
};

}  // namespace vlio
