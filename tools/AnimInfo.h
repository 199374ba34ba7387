#pragma once

#include <vlgim/GisData.h>
#include <vlgim/vlTrackData.h>

#include <cstdint>
#include <string>

namespace vela::vlgim::tools {

/// Prints an account of a skeletal animation that is loaded already.
void PrintAnimation(const std::string& path, const GisData& skeleton);

/// Prints an account of a track that is loaded already.
void PrintTrack(const std::string& path, const vlTrackData& track);

/// Whether any component of the channel has a value for each key.
bool Moves(const vlTransKeysData& channel);

/// Of a track with all its keys.
std::uint64_t TrackBytesInMemory(const vlTrackData& track);

}  // namespace vela::vlgim::tools
