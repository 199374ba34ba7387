#include "AnimVersions.h"
#include "ClipBlock.h"
#include "Ticks.h"

#include <io/Errors.h>
#include <io/SaveFile.h>
#include <keys/KeyTimesBlock.h>
#include <keys/TransKeysBlock.h>

namespace vela::vlgim {

namespace {

constexpr std::uint32_t kVersionMask = 0xFFFFFF;
constexpr std::uint8_t kNoPivotTrack = 0;

Error WhyBonesUnwritable(const vlClipData& clip)
{
    if (clip.m_boneCount > vlClipData::kMaxBones)
        return io::Unwritable(std::to_string(clip.m_boneCount) + " bones, and there is room for 255");
    return {};
}

Error WhyInfoUnwritable(const vlClipData& clip)
{
    if (Error why = WhyBonesUnwritable(clip))
        return why;
    if (Error why = io::WhyShort(clip.m_boneNames, clip.m_boneCount, "bone names"))
        return why;
    // A reader ends them at 31 bytes, and looks for a side file of that name.
    if (clip.m_name.bytes[Name32::kSize - 1] != 0 || clip.m_name2.bytes[Name32::kSize - 1] != 0)
        return io::Unwritable("its name has no end");
    return {};
}

unsigned short KeyCount(const vlClipData& clip, unsigned bone)
{
    return clip.m_keyLayout == KEY_LAYOUT_SHARED ? keys::WrittenKeyCount(*clip.m_keyTimes)
                                                 : clip.m_boneKeyCounts[bone];
}

Error WhyBoneUnwritable(const vlClipData& clip, unsigned bone)
{
    if (clip.m_keyLayout == KEY_LAYOUT_PER_BONE &&
        !io::Holds(clip.m_boneKeyTimes[bone], clip.m_boneKeyCounts[bone]))
        return io::WhyShort(clip.m_boneKeyTimes[bone], clip.m_boneKeyCounts[bone], "key times");
    return keys::WhyUnwritable(clip.m_keys[bone], KeyCount(clip, bone));
}

Error WhyKeysUnwritable(const vlClipData& clip, std::uint32_t version)
{
    if (version < kSharedKeyTimes && clip.m_keyLayout != KEY_LAYOUT_PER_BONE)
        return io::Unwritable("its version has key times per bone only");
    if (clip.m_keyLayout != KEY_LAYOUT_SHARED && clip.m_keyLayout != KEY_LAYOUT_PER_BONE)
        return {};
    if (clip.m_keyLayout == KEY_LAYOUT_SHARED && !clip.m_keyTimes)
        return io::Unwritable("no list holds the key times");
    if (Error why = clip.m_keyTimes ? keys::WhyUnwritable(*clip.m_keyTimes) : Error())
        return why;
    if (Error why = WhyBonesUnwritable(clip))
        return why;
    if (Error why = io::WhyShort(clip.m_keys, clip.m_boneCount, "keys of the bones"))
        return why;
    for (unsigned i = 0; i < clip.m_boneCount; ++i)
        if (Error why = WhyBoneUnwritable(clip, i))
            return io::Inside("bone " + std::to_string(i), std::move(why));
    return {};
}

constexpr const char* kCantBeWritten = "clip can't be written";

void WriteNames(io::BlockWriter& out, const vlClipData& clip)
{
    out.Run(&clip.m_name, 1);
    out.Run(&clip.m_name2, 1);
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
    out.Run(clip.m_boneNames.data(), clip.m_boneCount);
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
            WriteTimes(out, clip.m_boneKeyTimes[i].data(), KeyCount(clip, i), version);
        vlTransKeysData& keys = clip.m_keys[i];
        keys.m_compressFlags = version < kCompressedKeys ? std::uint8_t{0} : clip.m_compressFlags;
        keys.m_keyCount = KeyCount(clip, i);  // where it was not set
        keys::Write(out, keys);
    }
}

}  // namespace

namespace clips {

Error WhyUnwritable(const vlClipData& clip, std::uint32_t version)
{
    Error why = WhyInfoUnwritable(clip);
    return why ? why : WhyKeysUnwritable(clip, version);
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
    io::WriteStream(stream, kCantBeWritten, WhyInfoUnwritable(*this),
                    [&](io::BlockWriter& out) { WriteInfo(out, version & kVersionMask, *this); });
}

void vlClipData::WriteKeysData(std::FILE* stream, std::uint32_t version)
{
    io::WriteStream(stream, kCantBeWritten, WhyKeysUnwritable(*this, version),
                    [&](io::BlockWriter& out) { WriteKeys(out, version, *this); });
}

void vlClipData::WritePivotTrack(std::FILE* stream)
{
    io::WriteStream(stream, kCantBeWritten, {}, [](io::BlockWriter& out) { out.Value(kNoPivotTrack); });
}

void vlClipData::WriteAsyncBaseInfo(std::FILE* stream) const
{
    io::WriteStream(stream, kCantBeWritten, WhyBonesUnwritable(*this),
                    [this](io::BlockWriter& out) { clips::WriteBaseInfo(out, *this); });
}

}  // namespace vela::vlgim
