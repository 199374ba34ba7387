#pragma once

#include <basekit/BlockAllocator.h>
#include <vlgim/Export.h>

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

struct VLGIM_API FileStream {
    /// Reads a whole regular file. True: bytes holds it. False: it is missing, is a folder, a pipe or a
    /// device, can't be read, or changed its length meanwhile; bytes is then empty. Throws std::bad_alloc.
    static bool ReadAllBinary(const char* path, Bytes& bytes, FileSystemType type);

    /// True for anything that is found under this name: a file, a folder, a device.
    static bool Exists(const char* path, FileSystemType type);
};

}  // namespace vlio
