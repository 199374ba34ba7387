#pragma once

#include <vlgim/Export.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace vela::vlgim {

/// Options of the operations that load a file and return an Error. Each operation uses the members that apply to its
/// kind of file.
struct LoadOptions {
    /// Models and skeletons: prefix of a relative mesh path, of the "MtgPath" in a manifest, and of a relative .gis
    /// path. No separator is added, so a folder has to end with a slash.
    std::optional<std::string> base;

    /// Meshes: number of submeshes, which the file does not contain. None: m_submeshCount of the object.
    std::optional<std::uint32_t> submeshCount;

    /// Bytes of memory that a load may use, not counting file images and XML documents. Without a limit a load uses at
    /// most 64 times the bytes of its files, plus 16 MiB.
    std::uint64_t memoryLimit = std::numeric_limits<std::uint64_t>::max();
};

/// Options of the operations that save a model and return an Error.
struct SaveOptions {
    /// Prefix of the "MtgPath" in the manifest. No separator is added. The manifest itself is written without it.
    std::optional<std::string> base;
};

}  // namespace vela::vlgim
