#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace vela::vlgim {

/// How a file is loaded by the operations that return an Error. Each takes the members that concern its kind of file.
struct LoadOptions {
    /// Models and animations: prefix of the relative paths in a manifest and of a relative .gis path, joined without
    /// a separator: a folder brings its own trailing slash.
    std::optional<std::string> base;

    /// Meshes: how many submeshes the file has, which it does not say itself. None: m_submeshCount of the object.
    std::optional<std::uint32_t> submeshCount;

    /// Bytes that a load may hold, file images aside. Without a limit a load holds at most 64 times the bytes of its
    /// files and 16 MiB.
    std::uint64_t memoryLimit = std::numeric_limits<std::uint64_t>::max();
};

/// How a model is saved by the operations that return an Error.
struct SaveOptions {
    /// Prefix of the "MtgPath" in a manifest, joined without a separator; the manifest itself is written without it.
    std::optional<std::string> base;
};

}  // namespace vela::vlgim
