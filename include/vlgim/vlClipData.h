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

/// How the key times of a clip are stored, m_keyLayout. Under any other value a clip has no key data.
inline constexpr unsigned char KEY_LAYOUT_SHARED = 0;    ///< one list for all bones
inline constexpr unsigned char KEY_LAYOUT_PER_BONE = 1;  ///< an array for each bone

/// One clip of an animation file: names, the bones that it animates, attributes that are carried along, and
/// one channel of transform keys per bone. N stands for m_boneCount, K for a key count.
///
/// A clip record has three sections, each with a reader and a writer here: clip info, key data, pivot track.
/// A clip that lies in a side file has a base info record of 1108 bytes in the animation file as well.
/// `version` is the animation file's, 0x50000 to 0x60001, without its branch number.
///
/// A copy shows the same arrays as its source; they live as long as the last of them. An object belongs to
/// one thread at a time, together with its copies.
///
/// Readers take the first byte of their section, at any alignment (null gives null), and with `end` one past
/// the last readable byte; a null `end` says that the caller vouches for the section. They return the byte
/// behind it; null where it does not fit or where N is above 255, and the object is as it was.
///
/// Writers take a stream open for binary writing, whose results they do not look at. What could not be read
/// back is refused with a LogError, and nothing is written: N above 255, an array shorter than its count, a channel
/// whose m_keyCount is neither 0 nor the count of its times, and below version 5.3 any m_keyLayout but
/// KEY_LAYOUT_PER_BONE.
class VLGIM_API vlClipData {
public:
    static constexpr unsigned kMaxBones = 255;

    Name32 m_name;                            ///< names the side file; ends with a NUL when read
    Name32 m_name2;                           ///< carried; ends with a NUL when read
    std::uint16_t m_boneCount = 0;            ///< of this clip, whatever the skeleton has; at most 255
    Array<Name32> m_boneNames;                ///< N names in the file's case, NUL-terminated or full
    std::uint32_t m_attrWord = 0;             ///< carried; from version 5.4 on
    std::uint8_t m_attrByte0 = 0;             ///< carried
    std::uint8_t m_attrByte1 = 0;             ///< carried
    std::uint16_t m_attrShort = 65535;        ///< carried
    std::uint32_t m_attrLong = 0xFFFFFFFF;    ///< carried
    std::uint8_t m_compressFlags = 255;       ///< form of all keys, KEY_HALF_ROT and so on; from 5.2 on
    std::uint8_t m_keyLayout = 255;           ///< KEY_LAYOUT_SHARED and so on; below 5.3 always per bone
    Array<vlTransKeysData> m_keys;            ///< N channels, in the order of m_boneNames
    Array<float> m_boneKeyTimes[255];         ///< KEY_LAYOUT_PER_BONE: K times, and no trailing one
    std::uint16_t m_boneKeyCounts[255] = {};  ///< KEY_LAYOUT_PER_BONE: K of each bone
    std::shared_ptr<vlKeyTimes> m_keyTimes;   ///< KEY_LAYOUT_SHARED: the times of all bones
    std::int32_t m_boneNameIds[255] = {};     ///< NameIDMurmur3 of each name, in the file's case
    std::uint32_t m_keysOffset = 0;  ///< of the key data; from byte 8 of the .gis, or in the side file
    std::shared_ptr<vlTrackData> m_pivotTrack;  ///< the caller's own; no reader fills it, none is written
    float m_length = 0;                         ///< the latest key time
    std::uint16_t m_maxKeys = 0;                ///< the largest key count of any bone
    std::uint32_t m_aclMark = 0;                ///< the caller's own; for IsACLCompressed

    /// Clip info: 2 names, u16 N, N names, u32 m_attrWord from 5.4, u8, u8, u16, u32 attributes, u8
    /// m_compressFlags from 5.2, u8 m_keyLayout from 5.3; 74 to 80 bytes and 32 N. Bone names are kept in
    /// their case, so that only lower-case ones match a skeleton's. What a version does not have keeps its
    /// value, but for m_keyLayout, which becomes KEY_LAYOUT_PER_BONE, and is not written.
    const unsigned char* ReadClipInfo(const unsigned char* data, std::uint32_t version,
                                      const unsigned char* end = nullptr);
    void WriteClipInfo(std::FILE* stream, std::uint32_t version) const;

    /// Key data: u16 K and K times, once for the clip or ahead of each bone's channel, and the N channels;
    /// nothing at all under an unknown m_keyLayout, but m_keys has N channels without arrays then. Times are
    /// floats, or below version 5.2 i32 ticks, 4.8 to a unit of time; there the channels are full floats.
    /// Reading needs what ReadClipInfo gave. m_maxKeys grows to the largest K; m_length becomes the length of
    /// the shared times, or grows to the latest of the bones' times. All arrays but the shared times lie in
    /// one allocation.
    /// Writing sets the key count and form of each channel, and changes it as vlTransKeysData::WriteData
    /// says. Times become the nearest tick, half a tick rounded up; negative ones come out up to a tick too
    /// high, and those that pass 32 bits, like NaN, become -2^31.
    const unsigned char* ReadKeysData(const unsigned char* data, std::uint32_t version,
                                      const unsigned char* end = nullptr);
    void WriteKeysData(std::FILE* stream, std::uint32_t version);

    /// Pivot track: a flag byte and, where it is not 0, a u32 version and a track block. Reading passes over
    /// it and keeps nothing; what is written is always a 0.
    static const unsigned char* ReadPivotTrack(const unsigned char* data, const unsigned char* end = nullptr);
    static void WritePivotTrack(std::FILE* stream);

    /// Base info, 1108 bytes: the names, N, all 255 name ids, the attributes, m_compressFlags, m_keyLayout,
    /// m_length and m_keysOffset, the same in every version. m_boneNames is not touched by reading, and
    /// nothing is worked out anew for writing: whoever changes the keys sets m_length.
    void* ReadAsyncBaseInfo(const void* data, std::uint32_t version, const unsigned char* end = nullptr);
    void WriteAsyncBaseInfo(std::FILE* stream) const;

    /// Whether m_aclMark is set. Nothing here reads or writes such keys.
    bool IsACLCompressed() const noexcept { return m_aclMark > 0; }
};

}  // namespace vela::vlgim
