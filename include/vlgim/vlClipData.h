#pragma once

#include <vlgim/Array.h>
#include <vlgim/Export.h>
#include <vlgim/Name32.h>
#include <vlgim/vlKeyTimes.h>
#include <vlgim/vlTrackData.h>
#include <vlgim/vlTransKeysData.h>

#include <cstdint>
#include <cstdio>
#include <memory>

namespace vela::vlgim {

/// How the key times of a clip are stored (m_keyLayout). With any other value a clip has no key data.
inline constexpr unsigned char KEY_LAYOUT_SHARED = 0;    ///< one list for all bones
inline constexpr unsigned char KEY_LAYOUT_PER_BONE = 1;  ///< an array for each bone

/// One clip of an animation file: its names, the bones that it animates, attributes that are carried unchanged, and one
/// channel of transform keys for each bone. N is m_boneCount, K is a key count.
///
/// A clip record has three sections: clip info, key data and pivot track. Each has a reader and a writer here. A clip
/// in a side file also has a base info record in the animation file. Everything is little-endian.
///
/// A copy shares the arrays of its source. They live as long as the last object that shares them. Writing keys changes
/// shared channels, so an object and its copies belong to one thread at a time.
///
/// The readers have these arguments and results:
/// data     first byte of the section, at any alignment; null: the result is null
/// version  version of the animation file, 0x50000 to 0x60001, without the branch number
/// end      one past the last readable byte. Null: the read is unbounded; the caller guarantees that the whole section
///          is readable.
/// They return the byte after the section. They return null if the section does not fit or N is above 255; the object
/// is then unchanged.
///
/// The writers have these arguments:
/// stream   open for binary writing; its errors are left to the caller to check
/// version  as for the readers
/// Each writer checks only what it is documented to check. What it refuses gives a LogError, and nothing is written.
class VLGIM_API vlClipData {
public:
    static constexpr unsigned kMaxBones = 255;

    Name32 m_name;                          ///< names the side file; its last byte is 0 after a read
    Name32 m_name2;                         ///< carried unchanged; its last byte is 0 after a read
    std::uint16_t m_boneCount = 0;          ///< bones of this clip, not of the skeleton; at most 255
    Array<Name32> m_boneNames;              ///< N names in the file's case; NUL-terminated, or all 32 bytes
    std::uint32_t m_attrWord = 0;           ///< carried unchanged; from version 5.4 on
    std::uint8_t m_attrByte0 = 0;           ///< carried unchanged
    std::uint8_t m_attrByte1 = 0;           ///< carried unchanged
    std::uint16_t m_attrShort = 65535;      ///< carried unchanged
    std::uint32_t m_attrLong = 0xFFFFFFFF;  ///< carried unchanged
    std::uint8_t m_compressFlags = 255;     ///< form of all keys: KEY_HALF_ROT and so on; from version 5.2 on
    std::uint8_t m_keyLayout = 255;    ///< KEY_LAYOUT_SHARED and so on; below version 5.3 always per bone
    Array<vlTransKeysData> m_keys;     ///< N channels, in the order of m_boneNames
    Array<float> m_boneKeyTimes[255];  ///< KEY_LAYOUT_PER_BONE: K times, without a trailing time
    std::uint16_t m_boneKeyCounts[255] = {};  ///< KEY_LAYOUT_PER_BONE: K of each bone
    std::shared_ptr<vlKeyTimes> m_keyTimes;   ///< KEY_LAYOUT_SHARED: the times of all bones
    std::int32_t m_boneNameIds[255] = {};     ///< NameIDMurmur3 of each name, in the file's case
    std::uint32_t m_keysOffset = 0;  ///< offset of the key data from byte 8 of the .gis, or in the side file
    std::shared_ptr<vlTrackData> m_pivotTrack;  ///< for the caller; no reader fills it, no writer writes it
    float m_length = 0;                         ///< the latest key time
    std::uint16_t m_maxKeys = 0;                ///< the largest key count of any bone
    std::uint32_t m_aclMark = 0;                ///< for the caller; see IsACLCompressed

    /// ReadClipInfo is unbounded if `end` is null: the counts in the data are then trusted.
    /// Clip info, 74 to 80 bytes plus 32 N: two names of 32 bytes, u16 N, N names of 32 bytes, from version 5.4 on u32
    /// m_attrWord, then u8, u8, u16 and u32 attributes, from 5.2 on u8 m_compressFlags, from 5.3 on u8 m_keyLayout.
    /// ReadClipInfo leaves a member unchanged that the version does not store, except that m_keyLayout becomes
    /// KEY_LAYOUT_PER_BONE. The case of bone names is kept, so only lower-case names match a skeleton's. m_boneNames is
    /// a new array.
    /// WriteClipInfo refuses N above 255, and m_boneNames with fewer than N names. Names are written as they are.
    [[nodiscard]] const unsigned char* ReadClipInfo(const unsigned char* data, std::uint32_t version,
                                                    const unsigned char* end = nullptr);
    void WriteClipInfo(std::FILE* stream, std::uint32_t version) const;

    /// ReadKeysData is unbounded if `end` is null: the counts in the data are then trusted.
    /// Key data: u16 K and K times of 4 bytes, once for the clip or before the channel of each bone; and N channels
    /// (vlTransKeysData). Times are floats; below version 5.2 they are i32 ticks, 4.8 to a unit of time, and the
    /// channels are full floats. With an unknown m_keyLayout there is no key data.
    /// ReadKeysData needs what ReadClipInfo has read. With an unknown m_keyLayout it reads nothing and makes N channels
    /// without arrays. m_maxKeys becomes the largest K if that is larger than its old value. m_length becomes the
    /// length of the shared times; with times for each bone it becomes the latest of them if that is later than its old
    /// value. All arrays are new. Those of the channels, and the times of the bones, share one allocation.
    /// WriteKeysData sets m_keyCount and m_compressFlags of each channel, and changes the channel as
    /// vlTransKeysData::WriteData does. It rounds times to the nearest tick, half a tick upwards. Negative times can
    /// become one tick too late. NaN and times outside of 32 bits become the tick -2^31.
    /// WriteKeysData refuses any m_keyLayout but KEY_LAYOUT_PER_BONE below version 5.3; N above 255; m_keyTimes that is
    /// null under KEY_LAYOUT_SHARED or counts more keys than its array has; an array that is shorter than its count;
    /// and a channel with a keyed array that doesn't hold one key for each time. From 5.3 on it checks and writes
    /// nothing under an unknown m_keyLayout.
    [[nodiscard]] const unsigned char* ReadKeysData(const unsigned char* data, std::uint32_t version,
                                                    const unsigned char* end = nullptr);
    void WriteKeysData(std::FILE* stream, std::uint32_t version);

    /// ReadPivotTrack is unbounded if `end` is null: the counts in the data are then trusted.
    /// Pivot track: a flag byte and, if it is not 0, u32 version and a track block.
    /// ReadPivotTrack skips the section and keeps nothing of it.
    /// WritePivotTrack checks nothing and writes the flag 0: 1 byte.
    [[nodiscard]] static const unsigned char* ReadPivotTrack(const unsigned char* data,
                                                             const unsigned char* end = nullptr);
    static void WritePivotTrack(std::FILE* stream);

    /// ReadAsyncBaseInfo is unbounded if `end` is null.
    /// Base info, 1108 bytes in every version: two names of 32 bytes, u16 N, 255 name ids of 4 bytes, the attributes
    /// with m_compressFlags and m_keyLayout, float m_length, u32 m_keysOffset.
    /// ReadAsyncBaseInfo does not change m_boneNames.
    /// WriteAsyncBaseInfo refuses N above 255; names are not checked. It writes the members as they are: m_length has
    /// to be set by the caller who changes keys.
    [[nodiscard]] void* ReadAsyncBaseInfo(const void* data, std::uint32_t version,
                                          const unsigned char* end = nullptr);
    void WriteAsyncBaseInfo(std::FILE* stream) const;

    /// True if m_aclMark is not 0. Nothing here reads or writes such keys.
    bool IsACLCompressed() const noexcept { return m_aclMark > 0; }
};

}  // namespace vela::vlgim
