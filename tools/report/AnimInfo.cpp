#include "report/Info.h"
#include "report/Print.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace vela::vlgim::tools {

namespace {

constexpr std::uint32_t kFormVersion = 0x50002;    // key forms, and times as floats
constexpr std::uint32_t kLayoutVersion = 0x50003;  // the layout of key times
constexpr std::uint32_t kAttrVersion = 0x50004;    // m_attrWord

// Whether any component has a value for each key.
bool Moves(const vlTransKeysData& channel)
{
    return channel.m_posKeyed || channel.m_rotKeyed || channel.m_scaleKeyed;
}

// Identifiers of the bones that move in any clip.
std::set<std::int32_t> MovingBones(const vlAnimData& anim)
{
    std::set<std::int32_t> ids;
    for (const auto& clip : anim.m_clips)
        for (std::uint16_t bone = 0; clip && clip->m_keys && bone < clip->m_boneCount; ++bone)
            if (Moves(clip->m_keys[bone]))
                ids.insert(clip->m_boneNameIds[bone]);
    return ids;
}

// A form of quaternions in the file. Euler angles are halves or floats.
struct RotationForm {
    unsigned char flag;
    const char* name;
    unsigned bytes;
};

const RotationForm& FormOf(unsigned char flags)
{
    static constexpr RotationForm forms[] = {{KEY_PACKED_ROT32, "packed32", 4},
                                             {KEY_PACKED_ROT48, "packed48", 6},
                                             {KEY_HALF_ROT, "half", 8},
                                             {0, "float", 16}};
    return *std::find_if(std::begin(forms), std::end(forms),
                         [flags](const RotationForm& form) { return (flags & form.flag) == form.flag; });
}

// Of the keys of a channel in the form of these flags; 0: as they are in memory.
std::uint64_t KeyBytes(const vlTransKeysData& channel, unsigned char flags)
{
    const unsigned angles = flags & KEY_HALF_ROT ? 6 : 12;
    const auto records = [&](unsigned char keyed) { return keyed ? std::uint64_t{channel.m_keyCount} : 1; };
    return 12 * records(channel.m_posKeyed) +
           (channel.m_rotOrder ? angles : FormOf(flags).bytes) * records(channel.m_rotKeyed) +
           (flags & KEY_HALF_SCALE ? 6U : 12U) * records(channel.m_scaleKeyed);
}

// Of the whole record, without a pivot track.
std::uint64_t BytesOnDisk(const vlClipData& clip, std::uint32_t version, unsigned char flags)
{
    const bool isShared = clip.m_keyLayout == KEY_LAYOUT_SHARED;
    std::uint64_t size = 74 + 32 * std::uint64_t{clip.m_boneCount} + (version >= kAttrVersion ? 4 : 0) +
                         (version >= kFormVersion ? 1 : 0) + (version >= kLayoutVersion ? 1 : 0) + 1;
    if (clip.m_keyLayout > KEY_LAYOUT_PER_BONE)
        return size;  // no key data
    if (isShared && clip.m_keyTimes)
        size += 2 + 4 * std::uint64_t{clip.m_keyTimes->GetKeyCount()};
    for (std::uint16_t bone = 0; clip.m_keys && bone < clip.m_boneCount; ++bone)
        size += 4 + KeyBytes(clip.m_keys[bone], flags) +
                (isShared ? 0 : 2 + 4 * std::uint64_t{clip.m_boneKeyCounts[bone]});
    return size;
}

std::uint64_t ChannelBytes(const Array<vlTransKeysData>& channels)
{
    std::uint64_t size = BytesInMemory(channels);
    for (const vlTransKeysData& channel : channels)
        size += KeyBytes(channel, 0);
    return size;
}

std::uint64_t ClipBytes(const vlClipData& clip)
{
    std::uint64_t size = sizeof clip + BytesInMemory(clip.m_boneNames) + ChannelBytes(clip.m_keys);
    if (clip.m_keyTimes)
        size += sizeof(vlKeyTimes) + BytesInMemory(clip.m_keyTimes->m_times);
    for (const Array<float>& times : clip.m_boneKeyTimes)
        size += BytesInMemory(times);
    return size;
}

Json ChannelInfo(const vlTransKeysData& channel)
{
    return {{"position_keyed", channel.m_posKeyed != 0},
            {"rotation_keyed", channel.m_rotKeyed != 0},
            {"scale_keyed", channel.m_scaleKeyed != 0},
            {"rotation_order", channel.m_rotOrder}};
}

Json SkeletonBones(const vlAnimData& anim)
{
    const std::set<std::int32_t> moving = MovingBones(anim);
    Json list = Json::array();
    for (std::uint32_t bone = 0; bone < anim.m_boneCount; ++bone) {
        const vlTransInfo& place = anim.m_boneTrans[bone];
        const float rotation[] = {place.m_rot.x, place.m_rot.y, place.m_rot.z, place.m_rot.w};
        list.push_back({{"name", Shown(anim.m_boneNames[bone])},
                        {"position", Numbers(place.m_pos)},
                        {"rotation", Numbers(rotation)},
                        {"scale", Numbers(place.m_scale)},
                        {"moves", moving.contains(anim.m_boneNameIds[bone])}});
    }
    return list;
}

Json ClipBones(const vlClipData& clip)
{
    Json list = Json::array();
    for (std::uint16_t bone = 0; bone < clip.m_boneCount; ++bone)
        list.push_back(
            {{"name", Shown(clip.m_boneNames[bone])}, {"moves", clip.m_keys && Moves(clip.m_keys[bone])}});
    return list;
}

Json ClipInfo(const vlClipData& clip, std::uint32_t version)
{
    constexpr const char* layouts[] = {"shared", "per_bone"};
    const unsigned char flags =
        version >= kFormVersion ? clip.m_compressFlags : static_cast<unsigned char>(0);
    return {{"name", Shown(clip.m_name)},
            {"second_name", Shown(clip.m_name2)},
            {"length", Number(clip.m_length)},
            {"keys", clip.m_maxKeys},
            {"times", clip.m_keyLayout < std::size(layouts) ? Json(layouts[clip.m_keyLayout]) : Json()},
            {"rotations", FormOf(flags).name},
            {"scales", flags & KEY_HALF_SCALE ? "half" : "float"},
            {"bytes_on_disk", BytesOnDisk(clip, version, flags)},
            {"bytes_in_memory", ClipBytes(clip)},
            {"bones", ClipBones(clip)}};
}

}  // namespace

Json TrackInfo(const vlTrackData& track)
{
    return {
        {"format_version", Hex(track.m_version)},
        {"name", Shown(track.m_name)},
        {"options", track.m_options},
        {"flags", track.m_flags},
        {"keys", track.GetKeyCount()},
        {"length", Number(static_cast<float>(track.m_times.GetLength()))},  // a float wherever it was read
        {"channels", List(track.m_channels, ChannelInfo)},
        {"bytes_in_memory",
         sizeof track + BytesInMemory(track.m_times.m_times) + ChannelBytes(track.m_channels)}};
}

Json InfoOf(const std::string& path, const GisData& skeleton)
{
    const vlAnimData& anim = skeleton.m_anim;
    const auto clipInfo = [&anim](const std::shared_ptr<vlClipData>& clip) {
        return clip ? ClipInfo(*clip, anim.m_version) : Json();
    };
    return Line("animation", {{"file", Shown(path)},
                              {"format_version", std::to_string(anim.m_version >> 16) + "." +
                                                     std::to_string(anim.m_version & 0xFFFF)},
                              {"side_files", anim.m_async != 0},
                              {"document", !skeleton.m_agsXml.IsEmpty()},
                              {"bones", SkeletonBones(anim)},
                              {"clips", List(anim.m_clips, clipInfo)}});
}

Json InfoOf(const std::string& path, const vlTrackData& track)
{
    Json line = Line("track", {{"file", Shown(path)}});
    line.update(TrackInfo(track));
    return line;
}

}  // namespace vela::vlgim::tools
