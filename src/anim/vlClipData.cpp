#include "AnimVersions.h"
#include "ClipBlock.h"

#include <io/Errors.h>
#include <io/Name.h>
#include <io/SaveFile.h>
#include <keys/KeyTimesBlock.h>
#include <keys/TransKeysBlock.h>
#include <track/TrackBlock.h>

#include <algorithm>
#include <type_traits>
#include <utility>

namespace vela::vlgim {

namespace {

using io::Block;

constexpr std::uint8_t kNoPivotTrack = 0;
constexpr const char* kCantBeWritten = "clip can't be written";

// Visits the attributes that a version has, in file order. They stand together in clip info and in base info records.
template <class Clip, class Visit>
void ForEachAttribute(Clip& clip, std::uint32_t version, Visit visit)
{
    if (version >= kAttrWord)
        visit(clip.m_attrWord);
    visit(clip.m_attrByte0);
    visit(clip.m_attrByte1);
    visit(clip.m_attrShort);
    visit(clip.m_attrLong);
    if (version >= kCompressedKeys)
        visit(clip.m_compressFlags);
    if (version >= kSharedKeyTimes)
        visit(clip.m_keyLayout);
}

bool HasKeyData(const vlClipData& clip)
{
    return clip.m_keyLayout == KEY_LAYOUT_SHARED || clip.m_keyLayout == KEY_LAYOUT_PER_BONE;
}

void ReadNames(io::BlockReader& in, vlClipData& clip)
{
    if (const unsigned char* names = in.Take(2, Name32::kSize)) {
        io::CopyRun(&clip.m_name, names, 1);
        io::CopyRun(&clip.m_name2, names + Name32::kSize, 1);
    }
    // Bytes behind a NUL are kept; the last one is always a NUL.
    clip.m_name.bytes[Name32::kSize - 1] = clip.m_name2.bytes[Name32::kSize - 1] = 0;
    clip.m_boneCount = in.Count<std::uint16_t>(vlClipData::kMaxBones);
}

void ReadAttributes(io::BlockReader& in, std::uint32_t version, vlClipData& clip)
{
    clip.m_keyLayout = KEY_LAYOUT_PER_BONE;  // the only one before the version that tells it
    ForEachAttribute(clip, version,
                     [&in](auto& value) { value = in.Value<std::remove_reference_t<decltype(value)>>(); });
    if (version >= kSharedKeyTimes)
        in.Note(Block::Layout, in.Offset() - sizeof clip.m_keyLayout, in.Offset());
}

// Clip info. Both passes set its values; the second one makes the names of the bones.
void ReadInfo(const io::Pass& pass, std::uint32_t version, vlClipData& clip)
{
    const auto scope = pass.in.Enter(Block::ClipInfo);
    ReadNames(pass.in, clip);
    const bool isMade = pass.Take(Block::BoneNames, clip.m_boneNames, clip.m_boneCount);
    ReadAttributes(pass.in, version, clip);
    if (isMade)
        std::ranges::transform(clip.m_boneNames, clip.m_boneNameIds, io::Hash);
}

// Returns the key count of the bone.
std::uint16_t ReadBoneTimes(const io::Pass& pass, std::uint32_t version, unsigned bone, vlClipData& clip)
{
    const auto count = pass.in.Value<std::uint16_t>();
    Array<float>& times = clip.m_boneKeyTimes[bone];
    if (!pass.Take(Block::Times, times, count))
        return count;
    if (version < kCompressedKeys)
        for (float& time : times)
            time = clips::TickToTime(std::bit_cast<std::int32_t>(time));
    // std::max keeps its first operand where a NaN is compared.
    for (const float time : times)
        clip.m_length = std::max(clip.m_length, time);
    clip.m_maxKeys = std::max(clip.m_maxKeys, count);
    clip.m_boneKeyCounts[bone] = count;
    return count;
}

// Replaces the key data by new channels.
// sharedTimes  those of all bones, which own their array; null where each bone has its own
void StartKeyData(const unsigned char* sharedTimes, std::uint16_t keyCount, vlClipData& clip)
{
    auto keys = Array<vlTransKeysData>::ForOverwrite(clip.m_boneCount);
    clip.m_keyTimes =
        sharedTimes ? std::make_shared<vlKeyTimes>(keys::TimesFrom(sharedTimes, keyCount)) : nullptr;
    clip.m_keys = std::move(keys);
    clip.m_maxKeys = 0;
    if (!sharedTimes)
        return;
    clip.m_maxKeys = std::max(clip.m_maxKeys, keyCount);
    clip.m_length = static_cast<float>(clip.m_keyTimes->GetLength());
}

// The first pass leaves the clip as it is.
void ReadKeyData(const io::Pass& pass, std::uint32_t version, vlClipData& clip)
{
    io::BlockReader& in = pass.in;
    const unsigned char* sharedTimes = nullptr;
    std::uint16_t keyCount = 0;
    if (clip.m_keyLayout == KEY_LAYOUT_SHARED) {
        const auto scope = in.Enter(Block::KeyTimes);
        keyCount = in.Value<std::uint16_t>();
        sharedTimes = in.Take(Block::Times, keyCount, sizeof(float));
    }
    if (pass.arrays)
        StartKeyData(sharedTimes, keyCount, clip);
    const unsigned char flags = version < kCompressedKeys ? std::uint8_t{0} : clip.m_compressFlags;
    for (unsigned i = 0; HasKeyData(clip) && i < clip.m_boneCount && !in.Failed(); ++i) {
        const auto scope = in.Enter(Block::Bone, i);
        if (clip.m_keyLayout == KEY_LAYOUT_PER_BONE)
            keyCount = ReadBoneTimes(pass, version, i, clip);
        keys::Read(pass, keyCount, flags, pass.arrays ? &clip.m_keys[i] : nullptr);
    }
    if (pass.arrays)
        return;
    in.Spend(clip.m_boneCount * sizeof(vlTransKeysData));
    if (clip.m_keyLayout == KEY_LAYOUT_SHARED)
        in.Spend(sizeof(vlKeyTimes) + keys::TimesSize(keyCount));
}

void SkipPivotTrack(io::BlockReader& in)
{
    const auto scope = in.Enter(Block::PivotTrack);
    if (in.Value<std::uint8_t>() == 0)
        return;
    in.Take(1, sizeof(std::uint32_t));
    tracks::Skip(in);
}

Error WhyBonesUnwritable(const vlClipData& clip)
{
    if (clip.m_boneCount > vlClipData::kMaxBones)
        return io::Unwritable(std::to_string(clip.m_boneCount) + " bones exceed the limit of 255");
    return {};
}

Error WhyInfoUnwritable(const vlClipData& clip)
{
    if (Error why = WhyBonesUnwritable(clip))
        return why;
    return io::WhyShort(clip.m_boneNames, clip.m_boneCount, "bone names");
}

unsigned short KeyCount(const vlClipData& clip, std::size_t bone)
{
    return clip.m_keyLayout == KEY_LAYOUT_SHARED ? keys::WrittenKeyCount(*clip.m_keyTimes)
                                                 : clip.m_boneKeyCounts[bone];
}

Error WhyBoneUnwritable(const vlClipData& clip, std::size_t bone)
{
    if (clip.m_keyLayout == KEY_LAYOUT_PER_BONE)
        if (Error why = io::WhyShort(clip.m_boneKeyTimes[bone], clip.m_boneKeyCounts[bone], "key times"))
            return why;
    return keys::WhyUnwritable(clip.m_keys[bone], KeyCount(clip, bone));
}

Error WhyKeysUnwritable(const vlClipData& clip, std::uint32_t version)
{
    if (version < kSharedKeyTimes && clip.m_keyLayout != KEY_LAYOUT_PER_BONE)
        return io::Unwritable("its version has key times per bone only");
    if (!HasKeyData(clip))
        return {};
    if (clip.m_keyLayout == KEY_LAYOUT_SHARED && !clip.m_keyTimes)
        return io::Unwritable("the key times are missing");
    if (Error why = clip.m_keyTimes ? keys::WhyUnwritable(*clip.m_keyTimes) : Error())
        return why;
    if (Error why = WhyBonesUnwritable(clip))
        return why;
    if (Error why = io::WhyShort(clip.m_keys, clip.m_boneCount, "keys of the bones"))
        return why;
    return io::FirstInside(Block::Bone, clip.m_boneCount,
                           [&clip](std::size_t i) { return WhyBoneUnwritable(clip, i); });
}

void WriteNames(io::BlockWriter& out, const vlClipData& clip)
{
    out.Run(&clip.m_name, 1);
    out.Run(&clip.m_name2, 1);
    out.Value(clip.m_boneCount);
}

void WriteInfo(io::BlockWriter& out, std::uint32_t version, const vlClipData& clip)
{
    WriteNames(out, clip);
    out.Run(clip.m_boneNames.data(), clip.m_boneCount);
    ForEachAttribute(clip, version, [&out](auto value) { out.Value(value); });
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
    if (!HasKeyData(clip))
        return;
    const bool isShared = clip.m_keyLayout == KEY_LAYOUT_SHARED;
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

void Read(const io::Pass& pass, std::uint32_t version, std::uint64_t origin, vlClipData& clip)
{
    ReadInfo(pass, version, clip);
    clip.m_keysOffset = static_cast<std::uint32_t>(pass.in.Offset() - origin);
    ReadKeyData(pass, version, clip);
    SkipPivotTrack(pass.in);
}

void ReadSideFile(io::BlockReader& in, std::uint32_t version, vlClipData& clip, std::int64_t number)
{
    const auto scope = in.Enter(Block::Clip, number);
    io::ReadTwice(in, [&](const io::Pass& pass) { Read(pass, version, 0, clip); });
}

void ReadBaseInfo(io::BlockReader& in, vlClipData& clip)
{
    ReadNames(in, clip);
    const unsigned char* ids = in.Take(vlClipData::kMaxBones, sizeof clip.m_boneNameIds[0]);
    ReadAttributes(in, kNewestGisVersion, clip);
    clip.m_length = in.Value<float>();
    clip.m_keysOffset = in.Value<std::uint32_t>();
    if (ids)
        io::CopyRun(clip.m_boneNameIds, ids, vlClipData::kMaxBones);
}

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
    ForEachAttribute(clip, kNewestGisVersion, [&out](auto value) { out.Value(value); });
    out.Value(clip.m_length);
    out.Value(clip.m_keysOffset);
}

}  // namespace clips

// The sections on their own leave the clip as it was where they fail, so another one is read first.

const unsigned char* vlClipData::ReadClipInfo(const unsigned char* data, std::uint32_t version,
                                              const unsigned char* end)
{
    io::BlockReader in(data, end);
    vlClipData measured;
    io::ReadTwice(in, [&](const io::Pass& pass) {
        ReadInfo(pass, version & kVersionMask, pass.arrays ? *this : measured);
    });
    return in.Position();
}

void vlClipData::WriteClipInfo(std::FILE* stream, std::uint32_t version) const
{
    io::WriteStream(stream, kCantBeWritten, WhyInfoUnwritable(*this),
                    [&](io::BlockWriter& out) { WriteInfo(out, version & kVersionMask, *this); });
}

const unsigned char* vlClipData::ReadKeysData(const unsigned char* data, std::uint32_t version,
                                              const unsigned char* end)
{
    if (m_boneCount > kMaxBones)
        return nullptr;
    io::BlockReader in(data, end);
    io::ReadTwice(in, [&](const io::Pass& pass) { ReadKeyData(pass, version, *this); });
    // The bones that have no times of their own now may have had some.
    for (std::size_t i = m_keyLayout == KEY_LAYOUT_PER_BONE ? m_boneCount : 0; !in.Failed() && i < kMaxBones;
         ++i) {
        m_boneKeyTimes[i] = nullptr;
        m_boneKeyCounts[i] = 0;
    }
    return in.Position();
}

void vlClipData::WriteKeysData(std::FILE* stream, std::uint32_t version)
{
    io::WriteStream(stream, kCantBeWritten, WhyKeysUnwritable(*this, version),
                    [&](io::BlockWriter& out) { WriteKeys(out, version, *this); });
}

const unsigned char* vlClipData::ReadPivotTrack(const unsigned char* data, const unsigned char* end)
{
    io::BlockReader in(data, end);
    SkipPivotTrack(in);
    return in.Position();
}

void vlClipData::WritePivotTrack(std::FILE* stream)
{
    io::WriteStream(stream, kCantBeWritten, {}, [](io::BlockWriter& out) { out.Value(kNoPivotTrack); });
}

void* vlClipData::ReadAsyncBaseInfo(const void* data, std::uint32_t, const unsigned char* end)
{
    io::BlockReader in(static_cast<const unsigned char*>(data), end), again = in;
    const auto scope = in.Enter(Block::BaseInfo);
    vlClipData measured;
    clips::ReadBaseInfo(in, measured);
    if (!in.Failed())
        clips::ReadBaseInfo(again, *this);
    return const_cast<unsigned char*>(in.Position());
}

void vlClipData::WriteAsyncBaseInfo(std::FILE* stream) const
{
    io::WriteStream(stream, kCantBeWritten, WhyBonesUnwritable(*this),
                    [this](io::BlockWriter& out) { clips::WriteBaseInfo(out, *this); });
}

}  // namespace vela::vlgim
