#pragma once

#include <vlgim/GimData.h>
#include <vlgim/GisData.h>
#include <vlgim/vlTrackData.h>

#include <vlio2/FileStream.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace CLI {
class App;
}

namespace vela::vlgim::tools {

/// Gives a command the options --base and --submeshes.
void AddLoadOptions(CLI::App& command, LoadOptions& options);

/// Where a submesh count came from, for a file that does not hold it.
struct SubmeshCount {
    std::uint32_t count = 0;
    std::string source;
};

/// The submesh count of a .mesh file: as given, as the manifest beside it says, or the one that fits.
Error FindSubmeshCount(const std::string& path, const vlio::Bytes& bytes, const LoadOptions& options,
                       SubmeshCount& found);

/// A .mesh file without its manifest.
struct MeshFile {
    vlMeshData mesh;
    std::string countSource;               ///< of SubmeshCount
    std::uint64_t size = 0;                ///< of the file, in bytes
    std::array<unsigned char, 4> magic{};  ///< its first bytes, which the reader passes over
};

/// A file with what belongs to it, by kind.
using LoadedFile = std::variant<GimData, MeshFile, GisData, vlTrackData>;

/// Loads a .gim, .mesh, .gis or track file: by its extension, in any case, or else by its first bytes; what is none of
/// them is taken for a manifest. None: it can't be read, and stderr says why. Throws std::bad_alloc.
std::optional<LoadedFile> LoadFile(const std::string& path, const LoadOptions& options);

}  // namespace vela::vlgim::tools
