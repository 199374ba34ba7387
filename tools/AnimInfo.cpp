#include "AnimInfo.h"

#include "Print.h"

#include <cstdio>
#include <set>
#include <vector>

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
unsigned char FormOf(const vlClipData& clip, std::uint32_t version)
{
    return version >= kFormVersion ? clip.m_compressFlags : static_cast<unsigned char>(0);
}

// Of the whole record, without a pivot track.
std::uint64_t BytesOnDisk(const vlClipData& clip, std::uint32_t version)
{
    std::uint64_t size = 74 + 32 * std::uint64_t{clip.m_boneCount} + (version >= kAttrVersion ? 4 : 0) +
                         (version >= kFormVersion ? 1 : 0) + (version >= kLayoutVersion ? 1 : 0) + 1;
    if (IsShared(clip) && clip.m_keyTimes)
        size += 2 + 4 * std::uint64_t{clip.m_keyTimes->GetKeyCount()};
    for (std::uint16_t bone = 0; clip.m_keys && bone < clip.m_boneCount; ++bone)
        size += BytesOnDisk(clip.m_keys[bone], FormOf(clip, version)) +
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

std::string FormText(unsigned char flags)
{
    std::string text = "floats";
    if (flags & KEY_PACKED_ROT32)
        text = "32 bits";
    else if (flags & KEY_PACKED_ROT48)
        text = "48 bits";
    else if (flags & KEY_HALF_ROT)
        text = "halves";
    return flags & KEY_HALF_SCALE ? text + ", scales halves" : text;
}

void PrintClips(const vlAnimData& anim)
{
    std::printf("\n  %4s  %-16s  %8s  %5s  %5s  %-8s  %-24s  %10s  %10s\n", "#", "clip", "length", "keys",
                "bones", "times", "rotations", "on disk", "in memory");
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i) {
        if (!anim.m_clips[i]) {
            std::printf("  %4zu  (its side file is missing)\n", i);
            continue;
        }
        const vlClipData& clip = *anim.m_clips[i];
        std::printf("  %4zu  %-16s  %8g  %5u  %5u  %-8s  %-24s  %10s  %10s\n", i, Shown(clip.m_name).c_str(),
                    static_cast<double>(clip.m_length), clip.m_maxKeys, clip.m_boneCount,
                    IsShared(clip) ? "shared" : "per bone", FormText(FormOf(clip, anim.m_version)).c_str(),
                    Grouped(BytesOnDisk(clip, anim.m_version)).c_str(), Grouped(BytesInMemory(clip)).c_str());
    }
}

std::set<std::int32_t> MovingBones(const vlAnimData& anim)
{
    std::set<std::int32_t> moving;
    for (const auto& clip : anim.m_clips)
        for (std::uint16_t bone = 0; clip && clip->m_keys && bone < clip->m_boneCount; ++bone)
            if (Moves(clip->m_keys[bone]))
                moving.insert(clip->m_boneNameIds[bone]);
    return moving;
}

}  // namespace

bool Moves(const vlTransKeysData& channel)
{
    return channel.m_posKeyed || channel.m_rotKeyed || channel.m_scaleKeyed;
}

std::uint64_t TrackBytesInMemory(const vlTrackData& track)
{
    std::uint64_t size = sizeof track + 4 * (std::uint64_t{track.GetKeyCount()} + 1);
    for (std::uint16_t i = 0; track.m_channels && i < track.m_channelCount; ++i)
        size += BytesInMemory(track.m_channels[i]);
    return size;
}

void PrintAnimation(const std::string& path, const GisData& skeleton)
{
    const vlAnimData& anim = skeleton.m_anim;
    std::printf("%s\n", path.c_str());
    Row("version", "%u.%u", anim.m_version >> 16, anim.m_version & 0xFFFF);
    Row("clips", "%zu, %s", anim.m_clips.size(), anim.m_async ? "in side files" : "in the file");
    Row("document", "%s", skeleton.m_agsXml.IsEmpty() ? "none" : "yes");
    Row("bones", "%u", anim.m_boneCount);

    const std::set<std::int32_t> moving = MovingBones(anim);
    for (std::uint32_t bone = 0; bone < anim.m_boneCount; ++bone) {
        const auto& position = anim.m_boneTrans[bone].m_pos;
        std::printf("      %3u  %-20s  (%g, %g, %g)%s\n", bone, Shown(anim.m_boneNames[bone]).c_str(),
                    position.x, position.y, position.z,
                    moving.contains(anim.m_boneNameIds[bone]) ? "" : "  never moves");
    }
    PrintClips(anim);
}

void PrintTrack(const std::string& path, const vlTrackData& track)
{
    std::printf("%s\n", path.c_str());
    Row("version", "0x%X", track.m_version);
    Row("name", "%s", Shown(track.m_name).c_str());
    Row("keys", "%u, length %g", track.GetKeyCount(), track.m_times.GetLength());
    Row("channels", "%u", track.m_channelCount);
    for (std::uint16_t i = 0; i < track.m_channelCount; ++i)
        std::printf("      %3u  %s\n", i, Moves(track.m_channels[i]) ? "moves" : "never moves");
    Row("in memory", "%s bytes", Grouped(TrackBytesInMemory(track)).c_str());
}

}  // namespace vela::vlgim::tools
