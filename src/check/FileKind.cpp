#include <vlgim/Findings.h>

#include <anim/AnimVersions.h>
#include <basekit/StringAlgo.h>
#include <mesh/MeshVersions.h>
#include <track/TrackVersions.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace vela::vlgim {

namespace {

template <class Magic>
bool StartsWith(const unsigned char* data, std::size_t size, const Magic& magic)
{
    return size >= sizeof magic && std::memcmp(data, &magic, sizeof magic) == 0;
}

}  // namespace

FileKind KindOfFile(std::string_view path, const unsigned char* data, std::size_t size)
{
    std::string lower(path);
    kit::StringAlgo::ToLower(lower.data());
    if (lower.ends_with(".gim"))
        return FileKind::Model;
    if (lower.ends_with(".mesh"))
        return FileKind::Mesh;
    if (lower.ends_with(".mtg") || lower.ends_with(".ags"))
        return FileKind::Document;
    // A clip's side file has the extension of an animation, and lies in a folder of its own.
    if (lower.ends_with(".gis") &&
        (StartsWith(data, size, kGisMagic) ||
         !std::filesystem::path(lower).parent_path().filename().string().ends_with("_gis")))
        return FileKind::Animation;
    if (StartsWith(data, size, kTrackMagic))
        return FileKind::Track;
    if (StartsWith(data, size, kGisMagic))
        return FileKind::Animation;
    if (StartsWith(data, size, kMeshMagic))
        return FileKind::Mesh;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const bool isDocument = text.starts_with("<?xml") || text.starts_with("<Vela");
    return isDocument ? FileKind::Document : FileKind::Unknown;
}

}  // namespace vela::vlgim
