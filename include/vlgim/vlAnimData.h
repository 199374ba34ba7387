#pragma once

#include <vlgim/Export.h>
#include <vlgim/vlClipData.h>
#include <vlgim/vlTransKeysData.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vlio {
class FileWriter;
}

namespace vela::vlgim {

namespace io {
class BlockReader;
class BlockWriter;
}  // namespace io
namespace check {
struct Inside;
}

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
    std::shared_ptr<char[][32]> m_boneNames;           ///< in lower case, NUL-terminated or full
    std::int32_t m_boneNameIds[255] = {};              ///< NameIDMurmur3 of each name; not in the file
    std::shared_ptr<vlTransInfo[]> m_boneTrans;        ///< reference transforms, m_boneCount of them
    bool m_isDelta = false;                            ///< the keys are deltas; not in the file

    /// Opens the stream of a clip's side file, binary and at position 0, for the path that it would have. It
    /// stays the callable's own, and is written to up to the next call. Null: it can't be opened.
    using ClipOpener = std::function<std::FILE*(const char* path)>;

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
    /// "failed to write %s: %s", or what can't be written (WriteObstacle), where nothing was opened. -1:
    /// the same, for what WriteObstacle gives -1.
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

    /// Adds the file and its side files to a set, for the caller to commit: first to open, the .gis is
    /// renamed last. Returns and logs as WriteAnimationFile(path); after any but 0 the caller drops the set.
    int WriteAnimationFile(const char* path, vlio::FileWriter& set);

    /// Writes the file to the caller's stream, open for binary writing, and the clips of side files to the
    /// streams that openClip gives, so that a set can also go to memory; without m_async it is not called and
    /// may be empty. Failures of the streams are their owners' to check. Returns 0; 1 where openClip gave
    /// null, after LogError "unable to open %s", and what was written so far stays; 1 or -1 as above for what
    /// can't be written, and then nothing is.
    int WriteAnimationFile(std::FILE* stream, const ClipOpener& openClip);

    /// A refused write: what it returns, and the message that it logs.
    struct Obstacle {
        int result = 0;  ///< 0: none
        std::string message;
    };

    /// Why a write would be refused: -1 for more than 65535 clips, an empty slot, and with side files two
    /// clips of one name or an m_path without a dot; 1 for a version that is not read here, what the version
    /// has no place for (shared key times below 5.3, a skeleton or side files below 6.0, the bones of a clip
    /// in a side file at 6.0), a clip name with a component ".." or without a NUL, more than 255 bones,
    /// counts that disagree with their arrays, and neither bones nor clips, which makes a file too short to be
    /// read. How long an array is can't be seen: whoever makes a component keyed gives it an array for all keys.
    Obstacle WriteObstacle() const;

    /// Turns the keys of all clips into deltas against m_boneTrans, and back; in place, so that copies of the
    /// object, whose m_isDelta stays, see it too. A clip's bone belongs to the first skeleton bone with the
    /// same name id; skeleton names are in lower case, so one whose name is not keeps its keys as they are.
    /// Nothing happens where the keys are such already. The way there and back rounds.
    void ConvertToDelta();
    void ConvertFromDelta();

private:
    friend struct check::Inside;

    bool IsSuitable(const unsigned char* data, std::int32_t length) const;
    bool ReadVersion(const unsigned char* data, std::uint32_t length);
    static const unsigned char* ReadFile_Version2(const unsigned char*) { return nullptr; }
    static const unsigned char* ReadFile_Version3(const unsigned char*) { return nullptr; }
    static const unsigned char* ReadFile_Version4(const unsigned char*) { return nullptr; }
    bool ReadFile_Version5(io::BlockReader& in);
    void ReadHead(io::BlockReader& in);
    void ReadBonesData(io::BlockReader& in);
    bool ReadClips(io::BlockReader& in);
    bool ReadSideFiles(io::BlockReader& in);
    bool ReadSideFile(const std::string& path, std::size_t slot, io::BlockReader& load, bool isNew);

    int WriteFile(std::FILE* stream, const ClipOpener& openClip);
    void WriteHead(io::BlockWriter& out) const;
    void WriteAnimationHeader(io::BlockWriter& out) const;
    void WriteBonesData(io::BlockWriter& out) const;
    int WriteSideFiles(io::BlockWriter& out, const ClipOpener& openClip);

    template <class Convert>
    void ForEachBone(Convert convert);
};

}  // namespace vela::vlgim
