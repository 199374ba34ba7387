#pragma once

#include "report/Json.h"
#include "report/Load.h"

#include <cstdint>
#include <string>

namespace vela::vlgim::tools {

/// All that `info` tells of a file that is loaded already, as the line of `info --json`: "model", "mesh", "animation" or
/// "track". Nothing in a file is believed that its reader does not check.
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
