#pragma once

#include <vlgim/GisData.h>
#include <vlgim/vlTrackData.h>

#include <string>

namespace vela::vlgim::tools {

/// Prints an account of a skeletal animation that is loaded already.
void PrintInfo(const std::string& path, const GisData& skeleton);

/// Prints an account of a track that is loaded already.
void PrintInfo(const std::string& path, const vlTrackData& track);

}  // namespace vela::vlgim::tools
