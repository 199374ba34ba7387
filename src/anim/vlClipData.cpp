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

constexpr std::uint32_t kVersionMask = 0xFFFFFF;
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

// A run in the file image that becomes an array.
template <class T>
struct Run {
    const unsigned char* bytes = nullptr;
    std::uint16_t count = 0;
    io::ArrayBlock::Slot<T> slot;
};

// Clip info, but for the names of the bones, which are planned.
Run<Name32> ReadInfo(io::BlockReader& in, io::ArrayBlock& arrays, std::uint32_t version, vlClipData& clip)
{
    const auto scope = in.Enter(Block::ClipInfo);
    ReadNames(in, clip);
    const std::uint16_t count = clip.m_boneCount;
    const unsigned char* names = in.Take(Block::BoneNames, count, Name32::kSize);
    ReadAttributes(in, version, clip);
    return {names, count, arrays.Plan<Name32>(count)};
}

void FillInfo(io::BlockReader& in, io::ArrayBlock& plan, const io::ArrayBlock& arrays, std::uint32_t version,
              vlClipData& clip)
{
    const Run<Name32> names = ReadInfo(in, plan, version, clip);
    clip.m_boneNames = arrays.Array(names.slot);
    io::CopyRun(clip.m_boneNames.data(), names.bytes, names.count);
    for (unsigned i = 0; i < names.count; ++i)
        clip.m_boneNameIds[i] = io::Hash(clip.m_boneNames[i]);
}

Run<float> MeasureTimes(io::BlockReader& in)
{
    Run<float> times;
    times.count = in.Value<std::uint16_t>();
    times.bytes = in.Take(Block::Times, times.count, sizeof(float));
    return times;
}

// The times of all bones, where they have them together. They own their array, and nothing is planned for it.
Run<float> MeasureSharedTimes(io::BlockReader& in, const vlClipData& clip)
{
    if (clip.m_keyLayout != KEY_LAYOUT_SHARED)
        return {};
    const auto scope = in.Enter(Block::KeyTimes);
    return MeasureTimes(in);
}

// Goes through the bones of the key data, planning their arrays, and hands on the times and keys of each.
template <class Visit>
void WalkBones(io::BlockReader& in, io::ArrayBlock& arrays, std::uint32_t version, const vlClipData& clip,
               Run<float> times, Visit visit)
{
    const unsigned char flags = version < kCompressedKeys ? std::uint8_t{0} : clip.m_compressFlags;
    for (unsigned i = 0; HasKeyData(clip) && i < clip.m_boneCount && !in.Failed(); ++i) {
        const auto scope = in.Enter(Block::Bone, i);
        if (clip.m_keyLayout == KEY_LAYOUT_PER_BONE) {
            times = MeasureTimes(in);
            times.slot = arrays.Plan<float>(times.count);
        }
        visit(i, times, keys::MeasureKeys(in, arrays, times.count, flags));
    }
}

void MeasureKeyData(io::BlockReader& in, io::ArrayBlock& arrays, std::uint32_t version,
                    const vlClipData& clip)
{
    const Run<float> shared = MeasureSharedTimes(in, clip);
    WalkBones(in, arrays, version, clip, shared, [](unsigned, const auto&, const auto&) {});
    in.Spend(clip.m_boneCount * sizeof(vlTransKeysData));
    if (clip.m_keyLayout == KEY_LAYOUT_SHARED)
        in.Spend(sizeof(vlKeyTimes) + keys::TimesSize(shared.count));
}

void FillBoneTimes(const Run<float>& from, const io::ArrayBlock& arrays, bool ticks, unsigned bone,
                   vlClipData& clip)
{
    const auto times = arrays.Array(from.slot);
    if (!ticks)
        io::CopyRun(times.data(), from.bytes, from.count);
    for (unsigned i = 0; ticks && i < from.count; ++i) {
        std::int32_t tick = 0;
        io::CopyRun(&tick, from.bytes + std::size_t{i} * sizeof tick, 1);
        times[i] = clips::TickToTime(tick);
    }
    // std::max keeps its first operand where a NaN is compared.
    for (unsigned i = 0; i < from.count; ++i)
        clip.m_length = std::max(clip.m_length, times[i]);
    clip.m_maxKeys = std::max(clip.m_maxKeys, from.count);
    clip.m_boneKeyTimes[bone] = times;
    clip.m_boneKeyCounts[bone] = from.count;
}

// Walks the key data, which has been measured, once more: the plan comes out the same, so that nothing has to
// be kept of the first walk. `plan` holds what was planned ahead of the key data.
void FillKeyData(io::BlockReader& in, io::ArrayBlock& plan, const io::ArrayBlock& arrays,
                 std::uint32_t version, vlClipData& clip)
{
    const bool isShared = clip.m_keyLayout == KEY_LAYOUT_SHARED;
    const Run<float> shared = MeasureSharedTimes(in, clip);
    auto keys = Array<vlTransKeysData>::ForOverwrite(clip.m_boneCount);
    clip.m_keyTimes =
        isShared ? std::make_shared<vlKeyTimes>(keys::TimesFrom(shared.bytes, shared.count)) : nullptr;
    clip.m_keys = std::move(keys);
    for (auto& times : clip.m_boneKeyTimes)
        if (times)  // a new clip has none, and 255 stores are a thirtieth of its time
            times = nullptr;
    std::fill(std::begin(clip.m_boneKeyCounts), std::end(clip.m_boneKeyCounts), std::uint16_t{0});
    WalkBones(in, plan, version, clip, shared, [&](unsigned bone, const auto& times, const auto& block) {
        if (!isShared)
            FillBoneTimes(times, arrays, version < kCompressedKeys, bone, clip);
        keys::FillKeys(block, arrays, clip.m_keys[bone]);
    });
    if (isShared) {
        clip.m_maxKeys = std::max(clip.m_maxKeys, shared.count);
        clip.m_length = static_cast<float>(clip.m_keyTimes->GetLength());
    }
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
        return io::Unwritable("no list holds the key times");
    if (Error why = clip.m_keyTimes ? keys::WhyUnwritable(*clip.m_keyTimes) : Error())
        return why;
    if (Error why = WhyBonesUnwritable(clip))
        return why;
    if (Error why = io::WhyShort(clip.m_keys, clip.m_boneCount, "keys of the bones"))
        return why;
    return io::FirstInside("bone", clip.m_boneCount,
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

void Measure(io::BlockReader& in, io::ArrayBlock& arrays, std::uint32_t version, vlClipData& clip)
{
    ReadInfo(in, arrays, version, clip);
    MeasureKeyData(in, arrays, version, clip);
    SkipPivotTrack(in);
}

void Fill(io::BlockReader& in, io::ArrayBlock& plan, const io::ArrayBlock& arrays, std::uint32_t version,
          std::uint64_t origin, vlClipData& clip)
{
    FillInfo(in, plan, arrays, version, clip);
    clip.m_keysOffset = static_cast<std::uint32_t>(in.Offset() - origin);
    FillKeyData(in, plan, arrays, version, clip);
    SkipPivotTrack(in);
}

void ReadSideFile(io::BlockReader& in, std::uint32_t version, vlClipData& clip, std::int64_t number)
{
    const auto scope = in.Enter(Block::Clip, number);
    io::BlockReader again = in;
    io::ArrayBlock arrays, plan;
    Measure(in, arrays, version, clip);
    if (arrays.Allocate(in))
        Fill(again, plan, arrays, version, 0, clip);
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
    io::BlockReader in(data, end), again = in;
    io::ArrayBlock arrays, plan;
    vlClipData measured;
    ReadInfo(in, arrays, version & kVersionMask, measured);
    if (!arrays.Allocate(in))
        return nullptr;
    FillInfo(again, plan, arrays, version & kVersionMask, *this);
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
    io::BlockReader in(data, end), again = in;
    io::ArrayBlock arrays, plan;
    MeasureKeyData(in, arrays, version, *this);
    if (!arrays.Allocate(in))
        return nullptr;
    FillKeyData(again, plan, arrays, version, *this);
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
