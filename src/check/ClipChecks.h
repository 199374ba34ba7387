#pragma once

#include "Values.h"

#include <anim/SidePaths.h>
#include <vlgim/vlAnimData.h>

// Clips, in an animation or in side files of their own.
namespace vela::vlgim::check {

/// A clip as it was read.
void CheckClip(const File& file, std::size_t block, const vlAnimData& skeleton, const vlClipData& clip);

/// What a save drops of all clips of a file.
void CheckPivotTracks(const File& file);

/// What becomes of a clip, of its base info, or of their count.
void ReportChangedClip(const Change& change);

/// Whether no other clip is named so; else a finding at `where` of a report that is not null says which.
bool CheckClipName(anim::ClipNames& names, FileReport* report, const Where& where, const vlClipData& clip,
                   std::size_t number);

/// Reads all side files of an animation into the base info of its clips and checks them. Whether all were read, and a
/// save would give each clip a side file of its own.
/// held  bytes in memory
bool CheckSideClips(Session& session, const File& file, vlAnimData& anim, std::uint64_t held);

}  // namespace vela::vlgim::check
