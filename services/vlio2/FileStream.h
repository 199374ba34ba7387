#pragma once

#include <basekit/BlockAllocator.h>
#include <vlgim/Error.h>

#include <vector>

namespace vlio {

/// The bytes of a whole file. Elements that resize() adds are not initialised.
using Bytes = std::vector<unsigned char, kit::BlockAllocator<unsigned char>>;

/// The kind of a file that is opened. Today all kinds are in the file system of the machine. Callers name the kind so
/// that a packed archive could provide some of them.
enum FileSystemType {
    FILE_SYSTEM_ANY = 0,
    FILE_SYSTEM_MODEL = 1,  ///< .mesh and .gis files
    FILE_SYSTEM_CLIP = 2,   ///< clip side files
};

/// Reads a whole regular file. Nothing is logged.
/// path   path of the file
/// bytes  receives the file; empty after an error
/// Returns success, or an error. Its kind is NotFound, or Unreadable for a folder, a pipe or a device, for a file that
/// the system refuses to read or that is too large, and for a file whose size changed during the read. Error::code is
/// the errno value of the system, or 0. Throws std::bad_alloc.
[[nodiscard]] VLGIM_API vela::vlgim::Error ReadFile(const char* path, Bytes& bytes);

struct VLGIM_API FileStream {
    /// Reads a file as ReadFile does. Returns true if `bytes` has the file; false if it could not be read, and `bytes`
    /// is then empty. `type` has no effect today.
    [[nodiscard]] static bool ReadAllBinary(const char* path, Bytes& bytes,
                                            [[maybe_unused]] FileSystemType type)
    {
        return !ReadFile(path, bytes);
    }

    /// True if the path exists: as a file, a folder or a device. `type` has no effect today.
    static bool Exists(const char* path, FileSystemType type);
};

}  // namespace vlio
