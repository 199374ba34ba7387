#pragma once

#include <vlgim/Array.h>
#include <vlgim/Error.h>
#include <vlgim/Export.h>
#include <vlgim/Name32.h>
#include <vlgim/Options.h>
#include <vlgim/vlClipData.h>
#include <vlgim/vlTransKeysData.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vela::vlgim {

/// One skeletal animation file (.gis): a skeleton and a list of clips. The clips lie in the file itself or,
/// with m_async, in side files: of path/hero.gis, clip "walk" is path/hero_gis/walk.gis. (The folder's name
/// is m_path up to its last dot, wherever that stands, and "_gis".)
///
/// A file is written in the version that it was read in; nothing here converts one.
///
/// A copy shows the same clips, names and transforms as its source; they live as long as the last of them. The arrays
/// of all clips that one file held lie in one allocation, so that any of these clips keeps the memory of all.
/// An object belongs to one thread at a time, together with its copies.
class VLGIM_API vlAnimData {
public:
    static constexpr unsigned kMaxBones = 255;

    std::uint32_t m_version = 0;  ///< 0x50000 to 0x60001 once a file was read: major << 16 | minor
    std::uint32_t m_async = 0;    ///< non-zero: the clips lie in side files; from version 6.0 on
    std::string m_path;           ///< of the file that was read; side files lie beside it
    std::vector<std::shared_ptr<vlClipData>> m_clips;  ///< in file order; null where a side file was missing
    std::uint32_t m_boneCount = 0;                     ///< at most 255; 0 below version 6.0
    Array<Name32> m_boneNames;                         ///< in lower case, NUL-terminated or full
    std::int32_t m_boneNameIds[255] = {};              ///< NameIDMurmur3 of each name; not in the file
    Array<vlTransInfo> m_boneTrans;                    ///< reference transforms, m_boneCount of them
    bool m_isDelta = false;                            ///< the keys are deltas; not in the file

    /// Reads a whole file image, which is needed during the call only, and the side files that it names, in
    /// place of what the object held.
    /// data    first byte of the file, at any alignment
    /// length  in bytes, 40 to 2^31 - 1; what lies behind the last clip is not looked at
    /// path    where the file came from
    /// Returns true if the file was read. A side file that does not exist leaves its slot of m_clips null; a
    /// skeleton bone whose name fills its 32 bytes gives LogError "incorrect gis file!"; both are no failure.
    /// False: LogError has said why: the messages of the version gate; for a file that does not fit its
    /// counts, or has more than 255 bones, "gis file is damaged" with the clip, the block and the byte; for a
    /// side file that can't be read, "Failed to read file : %s"; for a path without a dot where side files
    /// are asked for, "Unable to open seperate animation file %s"; and last always "Bad format in skeletal
    /// animation". m_path is `path` then, m_version the file's, with the branch number in its top byte where
    /// the gate refused it, and all else is at its default. Memory never passes 64 times the bytes of all
    /// files and 16 MiB, their images aside; a side file that several clips name counts once. Throws
    /// std::bad_alloc, and the object is as it was.
    bool ReadAnimationFile(const unsigned char* data, std::uint32_t length, const std::string& path);

    /// Writes the file, and with m_async the side files: these beside m_path, whatever `path` says, in a
    /// folder that has to be there. All are written and checked before the first is replaced, the .gis last.
    /// Returns 0. 1: nothing was replaced, or not everything, and LogError has said why: "unable to open %s",
    /// "failed to write %s: %s", or what can't be written (WhyUnwritable), where nothing was opened. -1:
    /// the same, for an error of the kinds Limit and Reference.
    ///
    /// A file that was read is written back byte for byte, but for:
    /// - the branch number, which becomes 0, and what lies behind the last clip;
    /// - the base info size, which becomes 1108, and of base info records the m_keysOffset, m_length, name
    ///   ids of the clip's bones, and everything else that the side file has otherwise; the side file goes by
    ///   the name in its own record;
    /// - skeleton bone names, which become lower-case;
    /// - the last byte of each of a clip's two names, which becomes 0;
    /// - pivot tracks, which are dropped, and what lies behind the clip in a side file;
    /// - key times in ticks (below version 5.2) that are negative or above 6291458, where some move by a
    ///   tick, or by several where a float stands for so many; the very largest become the lowest;
    /// - keys in a small form, whose codes are worked out anew, with quaternions turned to the sign of the
    ///   form, and components whose keys are all alike, which collapse to one.
    int WriteAnimationFile(const char* path);

    /// Turns the keys of all clips into deltas against m_boneTrans, and back. Copies of the object show the
    /// same clips and see it too, although their own m_isDelta stays. A clip's bone belongs to the first skeleton bone with the
    /// same name id; skeleton names are in lower case, so one whose name is not keeps its keys as they are.
    /// Nothing happens where the keys are such already. The way there and back rounds.
    void ConvertToDelta();
    void ConvertFromDelta();
};

/// Reads a .gis file with its side files, from a path or from memory, in place of what the animation held, as
/// vlAnimData::ReadAnimationFile does, and logs nothing.
/// path      of the file; where it comes from memory, the place beside which its side files lie
/// warnings  receives what a user should know of a file that was read, such as names that have no end; may be null
/// Returns success, or why not; then the animation holds what ReadAnimationFile leaves after a failure, or nothing
/// where the file could not be read. Throws std::bad_alloc.
VLGIM_API Error Load(vlAnimData& anim, const char* path, const LoadOptions& options = {},
                     std::vector<Error>* warnings = nullptr);
VLGIM_API Error Load(vlAnimData& anim, std::span<const unsigned char> file, const std::string& path,
                     const LoadOptions& options = {}, std::vector<Error>* warnings = nullptr);

/// Writes a .gis file with its side files as vlAnimData::WriteAnimationFile does, and logs nothing. On an error nothing
/// was replaced, or not everything.
/// warnings  receives what a user should know of a save that went well; may be null
VLGIM_API Error Save(vlAnimData& anim, const char* path, std::vector<Error>* warnings = nullptr);

/// Why a write would be refused. Kinds Limit and Reference stand for what WriteAnimationFile gives -1: more than 65535
/// clips, an empty slot, and with side files two clips of one name or an m_path without a dot. The others: a version
/// that is not read here, what the version has no place for (shared key times below 5.3, a skeleton or side files below
/// 6.0, the bones of a clip in a side file at 6.0), a clip name with a component ".." or without a NUL, more than 255
/// bones, an array shorter than its count, and neither bones nor clips, which makes a file too short to be read.
/// Success if the animation can be written.
VLGIM_API Error WhyUnwritable(const vlAnimData& anim);

}  // namespace vela::vlgim
