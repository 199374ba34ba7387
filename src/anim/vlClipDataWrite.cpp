#include "AnimVersions.h"
#include "ClipBlock.h"
#include "Ticks.h"

#include <corecommon/Log.h>
#include <keys/KeyTimesBlock.h>
#include <keys/TransKeysBlock.h>

namespace vela::vlgim {

namespace {

constexpr std::uint32_t kVersionMask = 0xFFFFFF;
constexpr std::uint8_t kNoPivotTrack = 0;

std::string WhyBonesUnwritable(const vlClipData& clip)
{
    if (clip.m_boneCount > vlClipData::kMaxBones)
        return std::to_string(clip.m_boneCount) + " bones, and there is room for 255";
    return {};
}

std::string WhyInfoUnwritable(const vlClipData& clip)
{
    if (clip.m_boneCount != 0 && !clip.m_boneNames)
        return "no array holds the bone names";
    // A reader ends them at 31 bytes, and looks for a side file of that name.
    if (clip.m_name[31] != 0 || clip.m_name2[31] != 0)
        return "its name has no end";
    return WhyBonesUnwritable(clip);
}

unsigned short KeyCount(const vlClipData& clip, unsigned bone)
{
    return clip.m_keyLayout == KEY_LAYOUT_SHARED ? keys::WrittenKeyCount(*clip.m_keyTimes)
                                                 : clip.m_boneKeyCounts[bone];
}

std::string WhyBoneUnwritable(const vlClipData& clip, unsigned bone, keys::UnsetCounts* counts)
{
    if (clip.m_keyLayout == KEY_LAYOUT_PER_BONE && clip.m_boneKeyCounts[bone] != 0 &&
        !clip.m_boneKeyTimes[bone])
        return "no array holds the key times";
    return keys::WhyUnwritable(clip.m_keys[bone], KeyCount(clip, bone), counts);
}

std::string WhyKeysUnwritable(const vlClipData& clip, std::uint32_t version, keys::UnsetCounts* counts)
{
    if (version < kSharedKeyTimes && clip.m_keyLayout != KEY_LAYOUT_PER_BONE)
        return "its version has key times per bone only";
    if (clip.m_keyLayout != KEY_LAYOUT_SHARED && clip.m_keyLayout != KEY_LAYOUT_PER_BONE)
        return {};
    if (clip.m_keyLayout == KEY_LAYOUT_SHARED && !clip.m_keyTimes)
        return "no list holds the key times";
    if (clip.m_boneCount != 0 && !clip.m_keys)
        return "no array holds the keys";
    if (std::string reason = WhyBonesUnwritable(clip); !reason.empty())
        return reason;
    for (unsigned i = 0; i < clip.m_boneCount; ++i)
        if (const std::string reason = WhyBoneUnwritable(clip, i, counts); !reason.empty())
            return "bone " + std::to_string(i) + ": " + reason;
    return {};
}

bool Refused(const std::string& reason)
{
    if (!reason.empty())
        LogError("clip can't be written: %s", reason.c_str());
    return !reason.empty();
}

void WriteNames(io::BlockWriter& out, const vlClipData& clip)
{
    out.Run(clip.m_name, sizeof clip.m_name);
    out.Run(clip.m_name2, sizeof clip.m_name2);
    out.Value(clip.m_boneCount);
}

void WriteAttributes(io::BlockWriter& out, const vlClipData& clip, std::uint32_t version)
{
    if (version >= kAttrWord)
        out.Value(clip.m_attrWord);
    out.Value(clip.m_attrByte0);
    out.Value(clip.m_attrByte1);
    out.Value(clip.m_attrShort);
    out.Value(clip.m_attrLong);
    if (version >= kCompressedKeys)
        out.Value(clip.m_compressFlags);
    if (version >= kSharedKeyTimes)
        out.Value(clip.m_keyLayout);
}

void WriteInfo(io::BlockWriter& out, std::uint32_t version, const vlClipData& clip)
{
    WriteNames(out, clip);
    out.Run(clip.m_boneNames.get(), clip.m_boneCount);
    WriteAttributes(out, clip, version);
}

void WriteTimes(io::BlockWriter& out, const float* times, unsigned short count, std::uint32_t version)
{
    out.Value(count);
    if (version >= kCompressedKeys) {
        out.Run(times, count);
        return;
    }
    for (unsigned i = 0; i < count; ++i)
        out.Value(clips::TimeToTick(times[i]));
}

void WriteKeys(io::BlockWriter& out, std::uint32_t version, vlClipData& clip)
{
    const bool isShared = clip.m_keyLayout == KEY_LAYOUT_SHARED;
    if (!isShared && clip.m_keyLayout != KEY_LAYOUT_PER_BONE)
        return;
    if (isShared)
        WriteTimes(out, clip.m_keyTimes->GetKeyTimes(), KeyCount(clip, 0), version);
    for (unsigned i = 0; i < clip.m_boneCount; ++i) {
        if (!isShared)
            WriteTimes(out, clip.m_boneKeyTimes[i].get(), KeyCount(clip, i), version);
        vlTransKeysData& keys = clip.m_keys[i];
        keys.m_compressFlags = version < kCompressedKeys ? std::uint8_t{0} : clip.m_compressFlags;
        keys.m_keyCount = KeyCount(clip, i);  // where it was not set
        keys::Write(out, keys);
    }
}

}  // namespace

namespace clips {

std::string WhyUnwritable(const vlClipData& clip, std::uint32_t version, keys::UnsetCounts* counts)
{
    std::string reason = WhyInfoUnwritable(clip);
    return reason.empty() ? WhyKeysUnwritable(clip, version, counts) : reason;
}

void Write(io::BlockWriter& out, std::uint32_t version, vlClipData& clip)
{
    WriteInfo(out, version, clip);
    WriteKeys(out, version, clip);
    out.Value(kNoPivotTrack);
}

void WriteBaseInfo(io::BlockWriter& out, const vlClipData& clip)
{
    WriteNames(out, clip);
    out.Run(clip.m_boneNameIds, vlClipData::kMaxBones);
    WriteAttributes(out, clip, kNewestGisVersion);
    out.Value(clip.m_length);
    out.Value(clip.m_keysOffset);
}

}  // namespace clips

void vlClipData::WriteClipInfo(std::FILE* stream, std::uint32_t version) const
{
    if (Refused(WhyInfoUnwritable(*this)))
        return;
    io::BlockWriter out(stream);
    WriteInfo(out, version & kVersionMask, *this);
}

void vlClipData::WriteKeysData(std::FILE* stream, std::uint32_t version)
{
    if (Refused(WhyKeysUnwritable(*this, version, nullptr)))
        return;
    io::BlockWriter out(stream);
    WriteKeys(out, version, *this);
}

void vlClipData::WritePivotTrack(std::FILE* stream)
{
    io::BlockWriter(stream).Value(kNoPivotTrack);
}

void vlClipData::WriteAsyncBaseInfo(std::FILE* stream) const
{
    if (Refused(WhyBonesUnwritable(*this)))
        return;
    io::BlockWriter out(stream);
    clips::WriteBaseInfo(out, *this);
}

}  // namespace vela::vlgim
