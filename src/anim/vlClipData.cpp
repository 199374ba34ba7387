#include "AnimVersions.h"
#include "ClipBlock.h"
#include "Ticks.h"

#include <io/ArrayBlock.h>
#include <io/Name.h>
#include <keys/KeyTimesBlock.h>
#include <keys/TransKeysBlock.h>
#include <track/TrackBlock.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace vela::vlgim {

namespace {

using io::Block;

constexpr std::uint32_t kVersionMask = 0xFFFFFF;

// Bytes behind a NUL are kept; the last one is always a NUL.
void SetNames(vlClipData& clip, const unsigned char* names)
{
    io::CopyRun(&clip.m_name, names, 1);
    io::CopyRun(&clip.m_name2, names + Name32::kSize, 1);
    clip.m_name.bytes[Name32::kSize - 1] = clip.m_name2.bytes[Name32::kSize - 1] = 0;
}

// Attributes that stand together in clip info and in base info records.
struct Attributes {
    std::uint32_t attrWord;
    std::uint8_t attrByte0, attrByte1;
    std::uint16_t attrShort;
    std::uint32_t attrLong;
    std::uint8_t compressFlags, keyLayout;
};

Attributes ReadAttributes(io::BlockReader& in, std::uint32_t version, const vlClipData& clip)
{
    Attributes read{};
    read.attrWord = version >= kAttrWord ? in.Value<std::uint32_t>() : clip.m_attrWord;
    read.attrByte0 = in.Value<std::uint8_t>();
    read.attrByte1 = in.Value<std::uint8_t>();
    read.attrShort = in.Value<std::uint16_t>();
    read.attrLong = in.Value<std::uint32_t>();
    read.compressFlags = version >= kCompressedKeys ? in.Value<std::uint8_t>() : clip.m_compressFlags;
    read.keyLayout = version >= kSharedKeyTimes ? in.Value<std::uint8_t>(Block::Layout) : KEY_LAYOUT_PER_BONE;
    return read;
}

void SetAttributes(vlClipData& clip, const Attributes& attributes)
{
    clip.m_attrWord = attributes.attrWord;
    clip.m_attrByte0 = attributes.attrByte0;
    clip.m_attrByte1 = attributes.attrByte1;
    clip.m_attrShort = attributes.attrShort;
    clip.m_attrLong = attributes.attrLong;
    clip.m_compressFlags = attributes.compressFlags;
    clip.m_keyLayout = attributes.keyLayout;
}

// Clip info that has been measured.
struct MeasuredInfo {
    const unsigned char* names;      // both
    const unsigned char* boneNames;  // 32 bytes each
    std::uint16_t boneCount;
    Attributes attributes;
    io::ArrayBlock::Slot<Name32> slot;
};

MeasuredInfo MeasureInfo(io::BlockReader& in, io::ArrayBlock& arrays, std::uint32_t version,
                         const vlClipData& clip)
{
    const auto scope = in.Enter(Block::ClipInfo);
    MeasuredInfo info{};
    info.names = in.Take(2, Name32::kSize);
    info.boneCount = in.Count<std::uint16_t>(vlClipData::kMaxBones);
    info.boneNames = in.Take(Block::BoneNames, info.boneCount, Name32::kSize);
    info.attributes = ReadAttributes(in, version & kVersionMask, clip);
    info.slot = arrays.Plan<Name32>(info.boneCount);
    return info;
}

void FillInfo(const MeasuredInfo& info, const io::ArrayBlock& arrays, vlClipData& clip)
{
    clip.m_boneNames = arrays.Array(info.slot);
    SetNames(clip, info.names);
    SetAttributes(clip, info.attributes);
    clip.m_boneCount = info.boneCount;
    io::CopyRun(clip.m_boneNames.data(), info.boneNames, info.boneCount);
    for (unsigned i = 0; i < info.boneCount; ++i)
        clip.m_boneNameIds[i] = io::Hash(clip.m_boneNames[i]);
}

// What tells how key data lie in a file.
struct KeyDataForm {
    std::uint32_t version;
    std::uint16_t boneCount;
    std::uint8_t keyLayout, compressFlags;

    bool HasTicks() const { return version < kCompressedKeys; }
};

KeyDataForm FormOf(const MeasuredInfo& info, std::uint32_t version)
{
    return {version, info.boneCount, info.attributes.keyLayout, info.attributes.compressFlags};
}

struct MeasuredTimes {
    const unsigned char* run = nullptr;  // in the file image, 4 bytes each
    unsigned short count = 0;
    io::ArrayBlock::Slot<float> slot;  // of a bone; shared times own their array
};

MeasuredTimes MeasureTimes(io::BlockReader& in)
{
    MeasuredTimes times;
    times.count = in.Value<unsigned short>();
    times.run = in.Take(Block::Times, times.count, sizeof(float));
    return times;
}

// The times of all bones, where they have them together.
MeasuredTimes MeasureSharedTimes(io::BlockReader& in, const KeyDataForm& form)
{
    if (form.keyLayout != KEY_LAYOUT_SHARED)
        return {};
    const auto scope = in.Enter(Block::KeyTimes);
    return MeasureTimes(in);
}

// Goes through the bones of the key data, planning their arrays, and hands on the times and keys of each.
template <class Visit>
void WalkBones(io::BlockReader& in, io::ArrayBlock& arrays, const KeyDataForm& form, MeasuredTimes times,
               Visit visit)
{
    if (form.keyLayout != KEY_LAYOUT_SHARED && form.keyLayout != KEY_LAYOUT_PER_BONE)
        return;
    for (unsigned i = 0; i < form.boneCount && !in.Failed(); ++i) {
        const auto scope = in.Enter(Block::Bone, i);
        if (form.keyLayout == KEY_LAYOUT_PER_BONE) {
            times = MeasureTimes(in);
            times.slot = arrays.Plan<float>(times.count);
        }
        const unsigned char flags = form.HasTicks() ? 0 : form.compressFlags;
        visit(i, times, keys::MeasureKeys(in, arrays, times.count, flags));
    }
}

void MeasureKeyData(io::BlockReader& in, io::ArrayBlock& arrays, const KeyDataForm& form)
{
    const MeasuredTimes shared = MeasureSharedTimes(in, form);
    WalkBones(in, arrays, form, shared, [](unsigned, const MeasuredTimes&, const keys::MeasuredKeys&) {});
    in.Spend(form.boneCount * sizeof(vlTransKeysData));
    if (form.keyLayout == KEY_LAYOUT_SHARED)
        in.Spend(sizeof(vlKeyTimes) + keys::TimesSize(shared.count));
}

void FillTimes(const MeasuredTimes& from, bool ticks, float* times)
{
    if (!ticks) {
        io::CopyRun(times, from.run, from.count);
        return;
    }
    for (unsigned i = 0; i < from.count; ++i) {
        std::int32_t tick = 0;
        io::CopyRun(&tick, from.run + std::size_t{i} * sizeof tick, 1);
        times[i] = clips::TickToTime(tick);
    }
}

void FillBoneTimes(const MeasuredTimes& from, const io::ArrayBlock& arrays, bool ticks, unsigned bone,
                   vlClipData& clip)
{
    const auto times = arrays.Array(from.slot);
    FillTimes(from, ticks, times.data());
    // std::max keeps its first operand where a NaN is compared.
    for (unsigned i = 0; i < from.count; ++i)
        clip.m_length = std::max(clip.m_length, times[i]);
    clip.m_maxKeys = std::max(clip.m_maxKeys, from.count);
    clip.m_boneKeyTimes[bone] = times;
    clip.m_boneKeyCounts[bone] = from.count;
}

// Walks the key data, which has been measured, once more: the plan comes out the same, so that nothing has to
// be kept of the first walk. `plan` holds what was planned ahead of the key data.
void FillKeyData(io::BlockReader& in, io::ArrayBlock& plan, const KeyDataForm& form,
                 const io::ArrayBlock& arrays, vlClipData& clip)
{
    const bool isShared = form.keyLayout == KEY_LAYOUT_SHARED;
    const MeasuredTimes shared = MeasureSharedTimes(in, form);
    auto keys = Array<vlTransKeysData>::ForOverwrite(form.boneCount);
    clip.m_keyTimes =
        isShared ? std::make_shared<vlKeyTimes>(keys::TimesFrom(shared.run, shared.count)) : nullptr;
    clip.m_keys = std::move(keys);
    for (auto& times : clip.m_boneKeyTimes)
        if (times)  // a new clip has none, and 255 stores are a thirtieth of its time
            times = nullptr;
    std::fill(std::begin(clip.m_boneKeyCounts), std::end(clip.m_boneKeyCounts), std::uint16_t{0});
    WalkBones(in, plan, form, shared,
              [&](unsigned bone, const MeasuredTimes& times, const keys::MeasuredKeys& block) {
                  if (!isShared)
                      FillBoneTimes(times, arrays, form.HasTicks(), bone, clip);
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

}  // namespace

namespace clips {

void Measure(io::BlockReader& in, io::ArrayBlock& arrays, std::uint32_t version, const vlClipData& clip)
{
    const MeasuredInfo info = MeasureInfo(in, arrays, version, clip);
    MeasureKeyData(in, arrays, FormOf(info, version));
    SkipPivotTrack(in);
}

void Fill(io::BlockReader& in, io::ArrayBlock& plan, const io::ArrayBlock& arrays, std::uint32_t version,
          std::uint64_t origin, vlClipData& clip)
{
    const MeasuredInfo info = MeasureInfo(in, plan, version, clip);
    FillInfo(info, arrays, clip);
    clip.m_keysOffset = static_cast<std::uint32_t>(in.Offset() - origin);
    FillKeyData(in, plan, FormOf(info, version), arrays, clip);
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
    const unsigned char* names = in.Take(2, Name32::kSize);
    const auto boneCount = in.Count<std::uint16_t>(vlClipData::kMaxBones);
    const unsigned char* ids = in.Take(vlClipData::kMaxBones, sizeof(std::int32_t));
    const Attributes attributes = ReadAttributes(in, kNewestGisVersion, clip);
    const auto length = in.Value<float>();
    const auto keysOffset = in.Value<std::uint32_t>();
    if (in.Failed())
        return;
    SetNames(clip, names);
    SetAttributes(clip, attributes);
    clip.m_boneCount = boneCount;
    io::CopyRun(clip.m_boneNameIds, ids, vlClipData::kMaxBones);
    clip.m_length = length;
    clip.m_keysOffset = keysOffset;
}

}  // namespace clips

const unsigned char* vlClipData::ReadClipInfo(const unsigned char* data, std::uint32_t version,
                                              const unsigned char* end)
{
    io::BlockReader in(data, end);
    io::ArrayBlock arrays;
    const MeasuredInfo info = MeasureInfo(in, arrays, version, *this);
    if (!arrays.Allocate(in))
        return nullptr;
    FillInfo(info, arrays, *this);
    return in.Position();
}

const unsigned char* vlClipData::ReadKeysData(const unsigned char* data, std::uint32_t version,
                                              const unsigned char* end)
{
    if (m_boneCount > kMaxBones)
        return nullptr;
    io::BlockReader in(data, end);
    const KeyDataForm form{version, m_boneCount, m_keyLayout, m_compressFlags};
    io::BlockReader again = in;
    io::ArrayBlock arrays, plan;
    MeasureKeyData(in, arrays, form);
    if (!arrays.Allocate(in))
        return nullptr;
    FillKeyData(again, plan, form, arrays, *this);
    return in.Position();
}

const unsigned char* vlClipData::ReadPivotTrack(const unsigned char* data, const unsigned char* end)
{
    io::BlockReader in(data, end);
    SkipPivotTrack(in);
    return in.Position();
}

void* vlClipData::ReadAsyncBaseInfo(const void* data, std::uint32_t, const unsigned char* end)
{
    io::BlockReader in(static_cast<const unsigned char*>(data), end);
    const auto scope = in.Enter(Block::BaseInfo);
    clips::ReadBaseInfo(in, *this);
    return const_cast<unsigned char*>(in.Position());
}

}  // namespace vela::vlgim
