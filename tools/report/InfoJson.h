#pragma once

#include "report/Json.h"
#include "report/Load.h"

#include <string>

namespace vela::vlgim::tools {

/// The line of `info --json` for a file that is loaded already: "model", "mesh", "animation" or "track".
Json InfoLine(const std::string& path, const GimData& model);
Json InfoLine(const std::string& path, const MeshFile& file);
Json InfoLine(const std::string& path, const GisData& skeleton);
Json InfoLine(const std::string& path, const vlTrackData& track);

}  // namespace vela::vlgim::tools
