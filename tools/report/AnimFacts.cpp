#include "report/AnimFacts.h"

#include <set>

namespace vela::vlgim::tools {

namespace {

constexpr std::uint32_t kFormVersion = 0x50002;    // key forms, and times as floats
constexpr std::uint32_t kLayoutVersion = 0x50003;  // the layout of key times
constexpr std::uint32_t kAttrVersion = 0x50004;    // m_attrWord

std::uint64_t Records(unsigned char keyed, unsigned short keyCount)
{
    return keyed ? keyCount : 1;
}

std::uint64_t BytesInMemory(const vlTransKeysData& channel)
{
    const std::uint64_t rotation = channel.m_rotOrder ? 12 : 16;
    return sizeof channel + 12 * Records(channel.m_posKeyed, channel.m_keyCount) +
           rotation * Records(channel.m_rotKeyed, channel.m_keyCount) +
           12 * Records(channel.m_scaleKeyed, channel.m_keyCount);
}

std::uint64_t RotationBytes(unsigned char rotOrder, unsigned char flags)
{
    if (rotOrder)
        return flags & KEY_HALF_ROT ? 6 : 12;
    if (flags & KEY_PACKED_ROT32)
        return 4;
    if (flags & KEY_PACKED_ROT48)
        return 6;
    return flags & KEY_HALF_ROT ? 8 : 16;
}

std::uint64_t BytesOnDisk(const vlTransKeysData& channel, unsigned char flags)
{
    return 4 + 12 * Records(channel.m_posKeyed, channel.m_keyCount) +
           RotationBytes(channel.m_rotOrder, flags) * Records(channel.m_rotKeyed, channel.m_keyCount) +
           (flags & KEY_HALF_SCALE ? 6U : 12U) * Records(channel.m_scaleKeyed, channel.m_keyCount);
}

bool IsShared(const vlClipData& clip)
{
    return clip.m_keyLayout == KEY_LAYOUT_SHARED;
}

// The flags that hold for the keys of a clip: older files have none.
unsigned char FlagsOf(const vlClipData& clip, std::uint32_t version)
{
    return version >= kFormVersion ? clip.m_compressFlags : static_cast<unsigned char>(0);
}

}  // namespace

bool Moves(const vlTransKeysData& channel)
{
    return channel.m_posKeyed || channel.m_rotKeyed || channel.m_scaleKeyed;
}

std::vector<bool> MovingBones(const vlAnimData& anim)
{
    std::set<std::int32_t> ids;
    for (const auto& clip : anim.m_clips)
        for (std::uint16_t bone = 0; clip && clip->m_keys && bone < clip->m_boneCount; ++bone)
            if (Moves(clip->m_keys[bone]))
                ids.insert(clip->m_boneNameIds[bone]);
    std::vector<bool> moving;
    for (std::uint32_t bone = 0; bone < anim.m_boneCount; ++bone)
        moving.push_back(ids.contains(anim.m_boneNameIds[bone]));
    return moving;
}

KeyForm FormOf(const vlClipData& clip, std::uint32_t version)
{
    const unsigned char flags = FlagsOf(clip, version);
    KeyForm form{RotationForm::Float, (flags & KEY_HALF_SCALE) != 0};
    if (flags & KEY_PACKED_ROT32)
        form.rotation = RotationForm::Packed32;
    else if (flags & KEY_PACKED_ROT48)
        form.rotation = RotationForm::Packed48;
    else if (flags & KEY_HALF_ROT)
        form.rotation = RotationForm::Half;
    return form;
}

std::uint64_t BytesOnDisk(const vlClipData& clip, std::uint32_t version)
{
    std::uint64_t size = 74 + 32 * std::uint64_t{clip.m_boneCount} + (version >= kAttrVersion ? 4 : 0) +
                         (version >= kFormVersion ? 1 : 0) + (version >= kLayoutVersion ? 1 : 0) + 1;
    if (clip.m_keyLayout > KEY_LAYOUT_PER_BONE)
        return size;  // no key data
    if (IsShared(clip) && clip.m_keyTimes)
        size += 2 + 4 * std::uint64_t{clip.m_keyTimes->GetKeyCount()};
    for (std::uint16_t bone = 0; clip.m_keys && bone < clip.m_boneCount; ++bone)
        size += BytesOnDisk(clip.m_keys[bone], FlagsOf(clip, version)) +
                (IsShared(clip) ? 0 : 2 + 4 * std::uint64_t{clip.m_boneKeyCounts[bone]});
    return size;
}

std::uint64_t BytesInMemory(const vlClipData& clip)
{
    std::uint64_t size = sizeof clip + 32 * std::uint64_t{clip.m_boneCount};
    if (clip.m_keyTimes)
        size += sizeof(vlKeyTimes) + 4 * (std::uint64_t{clip.m_keyTimes->GetKeyCount()} + 1);
    for (std::uint16_t bone = 0; clip.m_keys && bone < clip.m_boneCount; ++bone)
        size += BytesInMemory(clip.m_keys[bone]) + 4 * std::uint64_t{clip.m_boneKeyCounts[bone]};
    return size;
}

std::uint64_t BytesInMemory(const vlTrackData& track)
{
    std::uint64_t size = sizeof track + 4 * (std::uint64_t{track.GetKeyCount()} + 1);
    for (std::uint16_t i = 0; track.m_channels && i < track.m_channelCount; ++i)
        size += BytesInMemory(track.m_channels[i]);
    return size;
}

}  // namespace vela::vlgim::tools
