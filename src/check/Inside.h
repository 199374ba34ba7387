#pragma once

#include <io/BlockReader.h>
#include <io/BlockWriter.h>
#include <vlgim/vlAnimData.h>
#include <vlgim/vlMeshData.h>
#include <vlgim/vlTrackData.h>

namespace vela::vlgim::check {

/// What a check needs of the frames and callers do not get: reads whose reader it holds itself, and so learns from it
/// where blocks lie and why they were refused; writes of a part of a file.
struct Inside {
    static bool Read(vlMeshData& mesh, io::BlockReader& in) { return mesh.Read(in); }
    static void ReadHead(vlAnimData& anim, io::BlockReader& in) { anim.ReadHead(in); }
    static void ReadClips(vlAnimData& anim, io::BlockReader& in) { anim.ReadClips(in); }
    static void WriteHead(const vlAnimData& anim, io::BlockWriter& out) { anim.WriteHead(out); }
    static void WriteFile(vlTrackData& track, std::FILE* stream) { track.WriteFile(stream); }
};

}  // namespace vela::vlgim::check
