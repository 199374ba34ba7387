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

/// A named set of transform channels on one time axis: key k of every channel is at time k. It is a file of
/// its own, and a block inside of mesh files and clips.
///
/// A copy has times of its own and shows the same channels as its source; they live as long as the last of
/// them. An object belongs to one thread at a time, together with its copies.
class VLGIM_API vlTrackData {
public:
    std::uint32_t m_version = 0x10001;  ///< of the file or block read, 0x10000 or 0x10001; not written
    Name32 m_name;                      ///< ends with a NUL when read
    unsigned char m_options[4] = {1, 0, 0, 1};  ///< carried unchanged; nothing here looks at them
    std::uint16_t m_flags = 0;                  ///< vlClipData asks for 0x800; carried unchanged
    vlKeyTimes m_times;                         ///< in the exporter's unit
    Array<vlTransKeysData> m_channels;          ///< m_channelCount of them
    std::uint16_t m_channelCount = 0;

    /// Reads a track file in place of what the object held.
    /// path  of a regular file
    /// Returns true if the track was read. False: LogError has said why, "Track file %s is not found!", "Bad
    /// format in track file %s!" (ahead of it, for a file that does not fit its counts, "track file is
    /// damaged" with block, channel and byte) or "Track file %s version too old!" or "too new!". m_version is
    /// the file's then, where it has the magic and a version. The rest is as it was, or, where the file was
    /// refused behind its header, at its defaults. Memory never passes 64 times the file's size and 16 MiB,
    /// beside the file itself. Throws std::bad_alloc.
    bool Load(const char* path);

    /// Writes a track file of version 0x10001, whatever m_version says, through a FileWriter: path holds the
    /// old file or the whole new one. LogError says what went wrong: "unable to open %s", "failed to write
    /// %s: %s", or why the track can't be written (see WriteData), in which case nothing was opened.
    ///
    /// A file that was read is written back byte for byte, but for: the version, and with 0x10000 the flag
    /// word that was replaced; name bytes behind the first NUL, and the last; bytes behind the last channel;
    /// components that collapse to one key (vlTransKeysData::WriteData).
    void Save(const char* path);

    /// Keys of m_times, as the member stands.
    unsigned short GetKeyCount() const noexcept { return m_times.GetKeyCount(); }

    /// Reads the 10 bytes of a file's header: magic, u32 version, u16 256. The magic is not looked at.
    /// data  first byte of the file; null gives null
    /// end   one past the last readable byte; null if the caller vouches for the header
    /// Returns the byte behind the header, and m_version is the file's. Null if it does not fit, and the
    /// object is as it was; null also if the last word is not 256, but m_version is the file's then.
    const unsigned char* ReadHeader(const unsigned char* data, const unsigned char* end = nullptr);

    /// Reads a track block: 32 bytes name, 4 options, u16 flags, u16 key count K, K floats, u16 channel
    /// count, then the channels, each of K keys in full floats; little-endian, at any alignment. m_version
    /// must be set: at 0x10000 and below a flag word other than 0 becomes 0xB007.
    /// data  first byte of the block; null gives null
    /// end   one past the last readable byte; null if the caller vouches for the block
    /// Returns the byte behind the block; null if it does not fit, and the object is as it was. Otherwise the
    /// channels and their arrays are new, the arrays in one allocation.
    const unsigned char* ReadData(const unsigned char* data, const unsigned char* end = nullptr);

    /// Writes a track block; the stream is open for binary writing, and its results are not looked at. Each
    /// channel gets the key count of the times and no compress flags, and is changed as its own WriteData
    /// says. Refused, with a LogError and nothing written, is a track whose counts and arrays disagree: a
    /// null array with a count, or a channel whose m_keyCount is neither 0 nor the key count of the times.
    void WriteData(std::FILE* stream);
};

/// Reads a track file, from a path or from memory, in place of what the track held. Logs nothing.
/// Returns success, or why not; then m_version is the file's, where it has the magic and a version, and the rest is as
/// it was. Throws std::bad_alloc.
VLGIM_API Error Load(vlTrackData& track, const char* path, const LoadOptions& options = {});
VLGIM_API Error Load(vlTrackData& track, std::span<const unsigned char> file,
                     const LoadOptions& options = {});

/// Writes a track file as vlTrackData::Save does, and logs nothing. On an error the old file is as it was.
/// warnings  receives what a user should know of a save that went well; may be null
VLGIM_API Error Save(vlTrackData& track, const char* path, std::vector<Error>* warnings = nullptr);

/// Why a write would be refused: an array is shorter than its count, or a channel's m_keyCount is neither 0 nor the
/// key count of the times. Success if the track can be written.
VLGIM_API Error WhyUnwritable(const vlTrackData& track);

}  // namespace vela::vlgim
