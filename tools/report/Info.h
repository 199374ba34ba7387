#pragma once

#include "report/Json.h"
#include "report/Load.h"

#include <cstdint>
#include <string>

namespace vela::vlgim::tools {

/// Returns the line that `info --json` prints for a loaded file. Its type is "model", "mesh", "animation" or "track".
/// References that the reader does not check, such as bone indices, are checked here.
Json InfoOf(const std::string& path, const GimData& model);
Json InfoOf(const std::string& path, const MeshFile& file);
Json InfoOf(const std::string& path, const GisData& skeleton);
Json InfoOf(const std::string& path, const vlTrackData& track);

/// The members for a track, alone or of a mesh.
Json TrackInfo(const vlTrackData& track);

/// Of all elements of some arrays.
template <class... Arrays>
std::uint64_t BytesInMemory(const Arrays&... arrays)
{
    return (std::uint64_t{arrays.size() * sizeof(typename Arrays::value_type)} + ...);
}

/// Prints for people what InfoOf gives.
void PrintInfo(const Json& info);

}  // namespace vela::vlgim::tools
