#include "Image.h"

#include "Check.h"

#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <string_view>

namespace vela::vlgim::fuzz {

namespace {

constexpr std::uint32_t kFloatTimesVersion = 0x50002;  // of clips; times were ticks before

class Builder {
public:
    template <class T>
    void Array(const char* name, const T* data, std::uint64_t count, bool isSetByWriting = false)
    {
        const std::size_t size = data ? static_cast<std::size_t>(count) * sizeof(T) : 0;
        if (!data && count != 0)
            Fail(std::string(name) + ": no array");
        // The hash is computed where the sanitizer does not look.
        if (size != 0 && __asan_region_is_poisoned(const_cast<T*>(data), size))
            Fail(std::string(name) + ": the array is gone, or shorter than its count");
        const std::string_view bytes(reinterpret_cast<const char*>(data), size);
        image.values.push_back({name, size, std::hash<std::string_view>()(bytes), isSetByWriting});
    }

    template <class T>
    void OptionalArray(const char* name, const T* data, std::uint64_t count)
    {
        Scalar(name, data != nullptr && count != 0);
        if (data)
            Array(name, data, count);
    }

    template <class T>
    void Scalar(const char* name, T value, bool isSetByWriting = false)
    {
        Array(name, &value, 1, isSetByWriting);
    }

    void Times(const vlKeyTimes& times)
    {
        Scalar("key count", times.m_count);
        Scalar("length", times.m_length);
        OptionalArray("key times", times.GetKeyTimes(), times.GetKeyTimes() ? times.m_count + 1U : 0U);
    }

    void Channel(const vlTransKeysData& keys, unsigned char compressFlags);
    void Track(const vlTrackData& track);
    void Clip(const vlClipData& clip, std::uint32_t version);
    void Vertices(const vlMeshVertexData& vertices);
    void Original(const vlOriginalData& data);
    void Mesh(const vlMeshData& mesh);

    Image image;
};

Component ComponentOf(unsigned char keyed, unsigned short keyCount, std::uint32_t width, const float* keys)
{
    Component component;
    component.keyed = keyed != 0;
    component.width = width;
    if (keys)
        component.floats.assign(keys, keys + std::size_t{keyed ? keyCount : 1U} * width);
    return component;
}

// One step of the grid, and what the steps of the three stored components add up to in the fourth.
constexpr Step PackedStep(float largestCode)
{
    return {1.6F * 1.41421356F / largestCode, 0};
}

void SetRotationForm(Component& rotation, unsigned char compressFlags)
{
    if (compressFlags & KEY_PACKED_ROT32)
        rotation.step = PackedStep(1023);
    else if (compressFlags & KEY_PACKED_ROT48)
        rotation.step = PackedStep(32767);
    else if (compressFlags & KEY_HALF_ROT)
        rotation.step = {0x1p-23F, 0x1p-9F};  // cut, and normalised when it is read
    rotation.isQuaternion = (compressFlags & (KEY_PACKED_ROT32 | KEY_PACKED_ROT48)) != 0;
}

void Builder::Channel(const vlTransKeysData& keys, unsigned char compressFlags)
{
    Scalar("rotation order", keys.m_rotOrder);
    Scalar("keys of a channel", keys.m_keyCount);
    const unsigned short count = keys.m_keyCount;
    std::array<Component, 3> parts = {
        ComponentOf(keys.m_posKeyed, count, 3, keys.m_pos.get()),
        ComponentOf(keys.m_rotKeyed, count, keys.m_rotOrder ? 3 : 4, keys.m_rot.get()),
        ComponentOf(keys.m_scaleKeyed, count, 3, keys.m_scale.get())};
    if (keys.m_rotOrder == 0)
        SetRotationForm(parts[1], compressFlags);
    image.channels.push_back(std::move(parts));
}

void Builder::Track(const vlTrackData& track)
{
    Array("track name", track.m_name.bytes, Name32::kSize);
    Array("track options", track.m_options, sizeof track.m_options);
    Scalar("track flags", track.m_flags);
    Scalar("channels", track.m_channelCount);
    Times(track.m_times);
    for (unsigned i = 0; i < track.m_channelCount; ++i)
        Channel(track.m_channels[i], 0);
}

void Builder::Clip(const vlClipData& clip, std::uint32_t version)
{
    Array("clip name", clip.m_name.bytes, Name32::kSize);
    Array("second clip name", clip.m_name2.bytes, Name32::kSize);
    OptionalArray("bone names", clip.m_boneNames.get(), clip.m_boneNames ? clip.m_boneCount : 0);
    Array("bone name ids", clip.m_boneNameIds, std::size(clip.m_boneNameIds));
    Scalar("attribute word", clip.m_attrWord);
    Scalar("attribute bytes", clip.m_attrByte0 << 8 | clip.m_attrByte1);
    Scalar("attribute short", clip.m_attrShort);
    Scalar("attribute long", clip.m_attrLong);
    Scalar("compress flags", clip.m_compressFlags);
    Scalar("key layout", clip.m_keyLayout);
    Scalar("bones of a clip", clip.m_boneCount);
    Scalar("most keys", clip.m_maxKeys);
    // m_keysOffset moves where a component in front of it collapses.
    const bool hasTicks = version < kFloatTimesVersion;
    if (hasTicks)
        image.tickTimes.push_back(clip.m_length);
    else
        Scalar("length", clip.m_length);
    if (clip.m_keyTimes)
        Times(*clip.m_keyTimes);
    for (unsigned i = 0; clip.m_keys && i < clip.m_boneCount; ++i) {
        const float* times = clip.m_boneKeyTimes[i].get();
        Scalar("keys of a bone", clip.m_boneKeyCounts[i]);
        if (hasTicks)
            image.tickTimes.insert(image.tickTimes.end(), times, times + clip.m_boneKeyCounts[i]);
        else
            Array("times of a bone", times, clip.m_boneKeyCounts[i]);
        Channel(clip.m_keys[i], hasTicks ? 0 : clip.m_compressFlags);
    }
}

void Builder::Vertices(const vlMeshVertexData& vertices)
{
    const std::uint64_t count = vertices.m_vertexCount;
    const std::uint64_t allFrames = count * vertices.m_frameCount;
    Scalar("frames", vertices.m_frameCount);
    Scalar("vertices", vertices.m_vertexCount);
    Scalar("triangles", vertices.m_triangleCount);
    Scalar("uv sets", vertices.m_uvSetCount);
    Scalar("colour sets", vertices.m_colorSetCount);
    Scalar("tangents flag", vertices.m_hasTangents);
    Scalar("bone slots", vertices.m_maxBoneRefCount);
    for (std::uint32_t i = 0; i < vertices.m_subCount; ++i) {
        const SubmeshRecord& record = vertices.m_subRecords[i];
        Array("submesh ranges", &record.firstVertex, 4);
        Scalar("submesh uv sets", record.uvSetCount);
        Scalar("submesh colours", record.hasColors);
    }
    Array("positions", vertices.m_positions.get(), allFrames);
    Array("normals", vertices.m_normals.get(), allFrames);
    OptionalArray("tangents", vertices.m_tangents.get(), vertices.m_tangents ? allFrames : 0);
    Array("indices", vertices.m_indices.get(), 3 * std::uint64_t{vertices.m_triangleCount});
    for (unsigned set = 0; set < vertices.m_uvSetCount; ++set)
        Array("uvs", vertices.m_uvSets[set].get(), count);
    Array("colours", vertices.m_colors.get(), count);
    if (const auto* skin = dynamic_cast<const vlMeshSkelVertexData*>(&vertices)) {
        Array("bone references", skin->m_boneIndices.get(), count * skin->m_maxBoneRefCount);
        Array("bone weights", skin->m_boneWeights.get(), count * skin->m_maxBoneRefCount);
        Scalar("mask bits", skin->m_usedBoneBits);
        const std::size_t mask = std::hash<std::vector<bool>>()(skin->m_usedBones);
        Scalar("used bones", mask, true);
    }
}

void Builder::Original(const vlOriginalData& data)
{
    Scalar("original type", data.m_type);
    Array("original positions", data.m_origPositions.get(), data.m_origVertexCount);
    Array("original indices", data.m_origIndices.get(), data.m_origIndexCount);
    Array("original extra", data.m_origExtra.get(), data.m_origExtraCount);
    Scalar("original skin flag", data.m_hasSkin, true);
    OptionalArray("original bones", data.m_origBones.get(), 4 * std::uint64_t{data.m_origVertexCount});
    OptionalArray("original weights", data.m_origWeights.get(), 4 * std::uint64_t{data.m_origVertexCount});
}

void Builder::Mesh(const vlMeshData& mesh)
{
    Scalar("submeshes", mesh.m_submeshCount);
    Scalar("skeleton flag", mesh.m_skeletonFlag);
    Scalar("morph flag", mesh.m_hasMorph);
    Scalar("track flag", mesh.m_hasTracks);
    Scalar("bones", mesh.m_boneCount);
    Scalar("root bone", mesh.m_rootBone);
    const std::size_t bones = mesh.m_boneParents.size();
    Array("bone parents", mesh.m_boneParents.data(), bones);
    Array("bone name ids", mesh.m_boneNameIds.data(), mesh.m_boneNameIds.size());
    Array("bone names", mesh.m_boneNames.get(), bones);
    OptionalArray("bone bounds", mesh.m_boneBounds.get(), bones);
    Array("bone matrices", mesh.m_boneMatrices.get(), bones);
    if (mesh.m_hasMorph) {
        Scalar("morph mode", mesh.m_morph->m_morphMode);
        Times(mesh.m_morph->m_times);
    }
    for (std::uint32_t i = 0; mesh.m_hasTracks && i < mesh.m_submeshCount; ++i)
        Track(mesh.m_tracks[i]);
    Vertices(*mesh.m_vertexData);
    Scalar("blocks of original data", mesh.m_originalData.size());
    for (const auto& data : mesh.m_originalData)
        Original(*data);
}

bool SameBits(float a, float b)
{
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

bool Within(float before, float after, Step step)
{
    return std::fabs(before - after) <= step.absolute + step.relative * std::fabs(before);
}

// What is no rotation can't be packed: its codes are as good as any.
bool SameKey(const float* before, const float* after, const Component& form)
{
    const bool isFinite = std::all_of(before, before + form.width, [](float v) { return std::isfinite(v); });
    if (form.step.IsExact())
        return std::equal(before, before + form.width, after, SameBits);
    for (std::uint32_t i = 0; isFinite && i < form.width; ++i)
        if (!Within(before[i], after[i], form.step))
            return false;
    return true;
}

bool Same(const Component& before, const Component& after)
{
    if (before.keyed != after.keyed || before.floats.size() != after.floats.size())
        return false;
    for (std::size_t at = 0; at < before.floats.size(); at += before.width)
        if (!SameKey(&before.floats[at], &after.floats[at], before))
            return false;
    return true;
}

bool KeptKey(const float* before, const float* after, const Component& form, bool collapsed)
{
    bool same = true, negated = form.isQuaternion, near = collapsed;
    for (std::uint32_t i = 0; i < form.width; ++i) {
        const float opposite = -before[i];
        same = same && SameBits(before[i], after[i]);
        negated = negated && SameBits(opposite, after[i]);
        // A NaN is near everything.
        const float apart = std::min(std::fabs(before[i] - after[i]),
                                     form.isQuaternion ? std::fabs(before[i] + after[i]) : INFINITY);
        near = near && !(apart > 1.0001e-6F);
    }
    return same || negated || near;
}

bool Kept(const Component& before, const Component& after)
{
    const bool collapsed = before.keyed && !after.keyed;
    if ((before.keyed != after.keyed && !collapsed) || before.floats.empty() != after.floats.empty())
        return false;
    for (std::size_t at = 0; at < before.floats.size(); at += before.width)
        if (!KeptKey(&before.floats[at], &after.floats[collapsed ? 0 : at], before, collapsed))
            return false;
    return true;
}

// Calls compare(before, after) for each component.
template <class Compare>
void ForEachComponent(const Image& before, const Image& after, const std::string& what, Compare compare)
{
    static const char* const kNames[] = {"positions", "rotations", "scales"};
    Check(before.channels.size() == after.channels.size(), what + ": the number of channels differs");
    for (std::size_t i = 0; i < before.channels.size(); ++i)
        for (std::size_t part = 0; part < 3; ++part)
            if (!compare(before.channels[i][part], after.channels[i][part]))
                Fail(what + ": the " + kNames[part] + " of channel " + std::to_string(i) + " differ");
}

void CompareValues(const Image& before, const Image& after, const std::string& what, bool isWriting)
{
    for (std::size_t i = 0; i < std::min(before.values.size(), after.values.size()); ++i) {
        const Image::Value &a = before.values[i], &b = after.values[i];
        const bool same = a.size == b.size && a.hash == b.hash;
        if (!same && !(isWriting && a.isSetByWriting))
            Fail(what + ": " + a.name + " (value " + std::to_string(i) + ", " + std::to_string(a.size) +
                 " bytes) differ");
    }
    Check(before.values.size() == after.values.size(), what + ": the number of values differs");
}

constexpr float kTick = 1 / 4.8F;

// Beyond them a float stands for several ticks, and negative ones do not round to the nearest.
bool IsLooseTick(float time)
{
    return time < 0 || time > 6291458 * kTick;
}

// A time that passes 32 bits, as the largest do once they are rounded, becomes the lowest one.
bool SameTick(float before, float after)
{
    if (!IsLooseTick(before))
        return SameBits(before, after);
    return Within(before, after, {1.01F * kTick, 0x1p-21F}) || before > 0x1.FFFFE0p30F * kTick;
}

}  // namespace

bool Image::HasLooseTicks() const
{
    return std::any_of(tickTimes.begin(), tickTimes.end(), IsLooseTick);
}

bool Image::IsStable() const
{
    return !HasLooseTicks() && std::all_of(channels.begin(), channels.end(),
                                           [](const auto& parts) { return parts[1].step.IsExact(); });
}

Image ImageOf(const vlMeshData& mesh)
{
    Builder builder;
    builder.Mesh(mesh);
    return std::move(builder.image);
}

Image ImageOf(const vlTrackData& track)
{
    Builder builder;
    builder.Track(track);
    return std::move(builder.image);
}

Image ImageOf(const vlAnimData& anim)
{
    Builder builder;
    builder.Scalar("version", anim.m_version);
    builder.Scalar("side files", anim.m_async);
    builder.Scalar("bones", anim.m_boneCount);
    builder.Array("bone names", anim.m_boneNames.get(), anim.m_boneCount);
    builder.Array("bone name ids", anim.m_boneNameIds, anim.m_boneCount);
    builder.Array("bone transforms", anim.m_boneTrans.get(), anim.m_boneCount);
    builder.Scalar("clips", anim.m_clips.size());
    for (const auto& clip : anim.m_clips)
        if (clip)
            builder.Clip(*clip, anim.m_version);
    return std::move(builder.image);
}

void ExpectSame(const Image& before, const Image& after, const char* what)
{
    CompareValues(before, after, what, false);
    ForEachComponent(before, after, what, Same);
    Check(std::equal(before.tickTimes.begin(), before.tickTimes.end(), after.tickTimes.begin(),
                     after.tickTimes.end(), SameTick),
          std::string(what) + ": key times differ");
}

void ExpectKept(const Image& before, const Image& after)
{
    CompareValues(before, after, "a write", true);
    ForEachComponent(before, after, "a write", Kept);
    Check(before.tickTimes == after.tickTimes, "a write: key times differ");
}

}  // namespace vela::vlgim::fuzz
