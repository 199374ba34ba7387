#pragma once

#include <io/BlockReader.h>
#include <io/BlockWriter.h>
#include <vlgim/vlTrackData.h>

// Tracks as containers read and write them: many from one file.
namespace vela::vlgim::tracks {

/// Reads a block into `track`, whose m_version says how. Where `in` fails, the track is as it was.
/// number  of the track in its file
void Read(io::BlockReader& in, vlTrackData& track, std::int64_t number = io::Step::kOnly);

/// Passes over a block and allocates nothing.
void Skip(io::BlockReader& in);

/// Reads a whole track file. What fails otherwise than in the reader gives an error here.
Error ReadFile(io::BlockReader& in, vlTrackData& track);

/// Bytes of a block in full, before any component collapses to one key.
std::uint64_t LargestSize(const vlTrackData& track);

/// Writes a block, of a track that WhyUnwritable has nothing against.
void Write(io::BlockWriter& out, vlTrackData& track);

/// Writes a whole track file.
void WriteFile(vlio::Sink& sink, vlTrackData& track);

}  // namespace vela::vlgim::tracks
