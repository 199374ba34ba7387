#pragma once

#include <io/BlockReader.h>
#include <io/BlockWriter.h>
#include <keys/TransKeysBlock.h>
#include <vlgim/vlTrackData.h>

#include <string>

// Tracks as containers read and write them: many from one file.
namespace vela::vlgim::tracks {

/// Reads a block into `track`, whose m_version says how. Where `in` fails, the track is as it was.
void Read(io::BlockReader& in, vlTrackData& track);

/// Passes over a block and allocates nothing.
void Skip(io::BlockReader& in);

/// Why a track can't be written, with the number of the channel; empty: it can. To be asked before a file is
/// opened, with the `counts` of all its tracks.
std::string WhyUnwritable(const vlTrackData& track, keys::UnsetCounts* counts = nullptr);

/// Writes a block, of a track that WhyUnwritable has nothing against.
void Write(io::BlockWriter& out, vlTrackData& track);

}  // namespace vela::vlgim::tracks
