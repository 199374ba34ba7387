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

/// One skeletal animation file (.gis): a skeleton and a list of clips. The clips are in the file itself or, if m_async
/// is not 0, in side files. For path/hero.gis the side file of clip "walk" is path/hero_gis/walk.gis: the folder is
/// m_path up to its last dot, wherever that is, followed by "_gis".
///
/// A file is written in the version in which it was read. Nothing here converts between versions.
///
/// A copy shares the clips, names and transforms of its source. They live as long as the last object that shares them.
/// The arrays of all clips in one file share one allocation, so each of these clips keeps the memory of all of them. An
/// object and its copies belong to one thread at a time.
class VLGIM_API vlAnimData {
public:
    static constexpr unsigned kMaxBones = 255;

    std::uint32_t m_version = 0;  ///< 0x50000 to 0x60001 after a read: major << 16 | minor
    std::uint32_t m_async = 0;    ///< non-zero: the clips are in side files; from version 6.0 on
    std::string m_path;           ///< path of the file that was read; side files are next to it
    std::vector<std::shared_ptr<vlClipData>> m_clips;  ///< in file order; null: the side file was missing
    std::uint32_t m_boneCount = 0;                     ///< at most 255; 0 below version 6.0
    Array<Name32> m_boneNames;                         ///< in lower case; NUL-terminated, or all 32 bytes
    std::int32_t m_boneNameIds[255] = {};              ///< NameIDMurmur3 of each name; not stored in the file
    Array<vlTransInfo> m_boneTrans;                    ///< reference transforms, m_boneCount of them
    bool m_isDelta = false;                            ///< the keys are deltas; not stored in the file

    /// Reads a whole file image and the side files that it names. Everything that the object held is replaced.
    /// data    first byte of the file, at any alignment; used during the call only; null counts as an empty file
    /// length  in bytes, 40 to 2^31 - 1; bytes after the last clip are ignored
    /// path    where the file came from; side files are looked for next to it
    /// Returns true if the file was read. A side file that does not exist leaves its entry of m_clips null. A skeleton
    /// bone whose last name byte is not NUL gives LogError "incorrect gis file!". Neither is a failure.
    /// Returns false if the file was refused. LogError gives the reason:
    /// - "Skeletal animation file version is not suitable for current branch!", or "... version too old!" or "too
    ///   new!"; a wrong magic or length gives only the last message;
    /// - "gis file is damaged" with the clip, the block and the byte, for a file that does not match its counts or has
    ///   more than 255 bones;
    /// - "Failed to read file : %s", for a side file that can't be read or whose name leads out of its folder ("..");
    /// - "Unable to open seperate animation file %s", if side files are named and `path` has no dot.
    /// The last message always begins with "Bad format in skeletal animation". The object then has m_path, which is
    /// `path`, and m_version; all other members have their defaults. m_version is 0 if the file has fewer than 8 bytes.
    /// It still contains the branch number in its top byte if the magic, the length, the branch, or a version outside
    /// 2.0 to 6.1 was refused.
    /// A read uses at most 64 times the bytes of all files, plus 16 MiB and one vlClipData for each clip record in the
    /// file, not counting the file images. A side file that several clips name is read once and counts once, however
    /// its path is spelled. Throws std::bad_alloc; the object is then unchanged.
    [[nodiscard]] bool ReadAnimationFile(const unsigned char* data, std::uint32_t length,
                                         const std::string& path);

    /// Writes the file and, if m_async is not 0, the side files. All files are written and checked before the first is
    /// replaced. The .gis file is replaced last.
    /// path  path of the .gis file, used unchanged. Side files are written next to m_path, whatever `path` is, to a
    ///       folder that must exist.
    /// Returns 0 if all files were saved. Otherwise no file has been replaced, or only some of them (see
    /// vlio::FileWriter), and LogError gives the reason: "unable to open %s", "failed to write %s: %s", or why the
    /// animation can't be written (WhyUnwritable), in which case no file was opened. The result is -1 for errors of the
    /// kinds Limit and Reference, and 1 for all others.
    /// Writing changes the keys in memory as vlClipData::WriteKeysData does, also if the save then fails. Copies of the
    /// object share the channels and see the change.
    ///
    /// A file that was read is written back byte for byte, except that:
    /// - the branch number becomes 0, and bytes after the last clip are dropped;
    /// - the size of base info records becomes 1108. The values in these records become those of the side file,
    ///   including m_keysOffset, the name ids of the clip's bones and, if vlClipData::ReadKeysData replaced it,
    ///   m_length. A side file is named after the name in its own record;
    /// - skeleton bone names become lower-case;
    /// - the last byte of each of a clip's two names becomes 0, which a read does;
    /// - pivot tracks, and bytes after the clip in a side file, are dropped;
    /// - key times in ticks (below version 5.2) can change: each tick from -6291458 to -1 becomes one tick later; ticks
    ///   below -6291458 and above 6291458 can move by up to 193 ticks; and the 64 largest ticks become the lowest tick;
    /// - compressed keys are encoded again, with the sign that their form gives to a quaternion, and a component whose
    ///   keys are all equal keeps one key.
    [[nodiscard]] int WriteAnimationFile(const char* path);

    /// ConvertToDelta turns the keys of all clips into deltas against m_boneTrans; ConvertFromDelta turns them back.
    /// Keys that have the requested form already are left alone. Converting there and back rounds.
    /// A clip's bone uses the first skeleton bone with the same name id. Skeleton names are in lower case, so the keys
    /// of a clip's bone with an upper-case letter are not converted. Copies of the object share the clips and see the
    /// change, but keep their own m_isDelta. Clips that share m_keys get channels of their own first, also in a write.
    void ConvertToDelta();
    void ConvertFromDelta();
};

/// Reads a .gis file and its side files, from a path or from memory, as vlAnimData::ReadAnimationFile does. Everything
/// that the animation held is replaced. Nothing is logged.
/// path      path of the file; for a file in memory, where its side files are looked for
/// file      the whole file; used during the call only
/// warnings  receives what the caller should know about the file, such as names without a NUL; entries are appended;
///           may be null
/// Returns success, or an error. The animation then holds what ReadAnimationFile leaves, or nothing if the file could
/// not be read. Throws std::bad_alloc.
VLGIM_API Error Load(vlAnimData& anim, const char* path, const LoadOptions& options = {},
                     std::vector<Error>* warnings = nullptr);
VLGIM_API Error Load(vlAnimData& anim, std::span<const unsigned char> file, const std::string& path,
                     const LoadOptions& options = {}, std::vector<Error>* warnings = nullptr);

/// Writes a .gis file and its side files as vlAnimData::WriteAnimationFile does, and changes the keys in memory as that
/// does. Nothing is logged.
/// warnings  receives what the caller should know about the save; entries are appended; may be null
/// Returns success, or an error; no file has been replaced then, or only some of them (see vlio::FileWriter).
VLGIM_API Error Save(vlAnimData& anim, const char* path, std::vector<Error>* warnings = nullptr);

/// Returns why a write would be refused; success if the animation can be written. Errors of the kinds Limit and
/// Reference are those for which WriteAnimationFile returns -1:
/// - more than 65535 clips, or an empty entry of m_clips;
/// - with side files, two clips with one name, or an m_path without a dot.
/// All other errors:
/// - a version that is not supported;
/// - what the version can't store: shared key times below 5.3, a skeleton or side files below 6.0, and at 6.0 the bones
///   of a clip in a side file;
/// - more than 255 bones, of the skeleton or of a clip;
/// - with side files, a clip name of 32 bytes, of which a reader keeps 31, or one with a component "..";
/// - an array that is shorter than its count, or a keyed array of a channel with a key for other than each time;
/// - an animation with neither bones nor clips, since the file would be too short to be read.
VLGIM_API Error WhyUnwritable(const vlAnimData& anim);

}  // namespace vela::vlgim
