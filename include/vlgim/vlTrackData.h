#pragma once

#include <vlgim/Array.h>
#include <vlgim/Error.h>
#include <vlgim/Export.h>
#include <vlgim/Name32.h>
#include <vlgim/Options.h>
#include <vlgim/vlKeyTimes.h>
#include <vlgim/vlTransKeysData.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

namespace vela::vlgim {

/// A named set of transform channels with common times: key k of each channel is at time k. A track is a file of its
/// own, and also a block in mesh files and clips.
///
/// A copy has its own times and shares the channels of its source. They live as long as the last object that shares
/// them. Writing changes the channels, so an object and its copies belong to one thread at a time.
class VLGIM_API vlTrackData {
public:
    std::uint32_t m_version = 0x10001;          ///< of the file or block read; not written by Save
    Name32 m_name;                              ///< its last byte is 0 after a read
    unsigned char m_options[4] = {1, 0, 0, 1};  ///< carried unchanged, not used
    std::uint16_t m_flags = 0;                  ///< carried unchanged; see ReadData for version 0x10000
    vlKeyTimes m_times;                         ///< in the exporter's unit
    Array<vlTransKeysData> m_channels;          ///< m_channelCount channels
    std::uint16_t m_channelCount = 0;

    /// Reads a track file and replaces everything that the object held.
    /// path  path of a regular file
    /// Returns true if the track was read. Returns false otherwise; LogError gives the reason:
    /// - "Track file %s is not found!", for a file that is missing or may not be read;
    /// - "Track file %s version too old!" or "too new!";
    /// - "Bad format in track file %s!", for anything else. If the file does not match its counts, the message "track
    ///   file is damaged" with block, channel and byte comes first.
    /// m_version is then the file's if the file has the magic and a version; everything else is unchanged. A read uses
    /// at most 64 times the bytes of the file, plus 16 MiB, not counting the file image. Throws std::bad_alloc.
    [[nodiscard]] bool Load(const char* path);

    /// Writes a track file of version 0x10001, whatever m_version is. The file appears as a whole or not at all, unless
    /// it has to be written in place (see vlio::FileWriter). Writing changes the channels in memory as WriteData does,
    /// also if the save then fails.
    /// path  path of the file, used unchanged
    /// A failure gives a LogError: "unable to open %s", "failed to write %s: %s", or why the track can't be written
    /// (WhyUnwritable), in which case no file was opened.
    ///
    /// A file that was read is written back byte for byte, except for:
    /// - the version, and for version 0x10000 the flag word, which was replaced when it was read;
    /// - name bytes after the first NUL, and the last name byte;
    /// - bytes after the last channel;
    /// - components whose keys are all equal, which keep one key (vlTransKeysData::WriteData).
    void Save(const char* path);

    /// Returns the key count of m_times, also if its array has fewer keys.
    unsigned short GetKeyCount() const noexcept { return m_times.GetKeyCount(); }

    /// Unbounded if `end` is null.
    /// Reads the header of a file, 10 bytes: magic, u32 version, u16 256. The magic is not checked.
    /// data  first byte of the file, at any alignment; null: the result is null
    /// end   one past the last readable byte; null: the caller guarantees that the whole header is readable
    /// Returns the byte after the header, and sets m_version. Returns null if the header does not fit; the object is
    /// then unchanged. Returns null also if the last word is not 256; m_version is set nevertheless.
    [[nodiscard]] const unsigned char* ReadHeader(const unsigned char* data,
                                                  const unsigned char* end = nullptr);

    /// Unbounded if `end` is null: the counts in the data are then trusted.
    /// Reads a track block, little-endian: 32 bytes name, 4 bytes options, u16 flags, u16 key count K, K floats, u16
    /// channel count, then the channels (vlTransKeysData), each of K keys as full floats. m_version has to be set
    /// before: up to 0x10000 a flag word other than 0 becomes 0xB007.
    /// data  first byte of the block, at any alignment; null: the result is null
    /// end   one past the last readable byte; null: the caller guarantees that the whole block is readable
    /// Returns the byte after the block. Returns null if the block does not fit; the object is then unchanged. The
    /// channels and their arrays are new, and the arrays share one allocation.
    [[nodiscard]] const unsigned char* ReadData(const unsigned char* data,
                                                const unsigned char* end = nullptr);

    /// Writes the track block that ReadData reads. Each channel gets the key count of m_times and no compress flags,
    /// and is changed as vlTransKeysData::WriteData does.
    /// stream  open for binary writing; its errors are left to the caller to check
    /// If WhyUnwritable returns an error, that error is logged and nothing is written; the object is then unchanged.
    void WriteData(std::FILE* stream);
};

/// Reads a track file, from a path or from memory, as vlTrackData::Load does. Nothing is logged.
/// file  the whole file; used during the call only
/// Returns success, or an error; the track is then as vlTrackData::Load leaves it. Throws std::bad_alloc.
VLGIM_API Error Load(vlTrackData& track, const char* path, const LoadOptions& options = {});
VLGIM_API Error Load(vlTrackData& track, std::span<const unsigned char> file,
                     const LoadOptions& options = {});

/// Writes a track file as vlTrackData::Save does, and changes the channels in memory as that does. Nothing is logged.
/// warnings  receives what the caller should know about the save; entries are appended; may be null
/// Returns success, or an error; the old file is then unchanged, unless it had to be written in place (see
/// vlio::FileWriter).
VLGIM_API Error Save(vlTrackData& track, const char* path, std::vector<Error>* warnings = nullptr);

/// Returns why a write would be refused: m_times counts more keys than its array has, an array is shorter than its
/// count, or a keyed array of a channel doesn't hold one key for each of m_times. Success if the track can be written.
VLGIM_API Error WhyUnwritable(const vlTrackData& track);

}  // namespace vela::vlgim
