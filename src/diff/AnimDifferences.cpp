#include "Parts.h"

namespace vela::vlgim::diff {

namespace {

// Under an unknown layout a clip has neither times nor keys.
bool HasKeys(const vlClipData& clip)
{
    return clip.m_keys.size() >= clip.m_boneCount && clip.m_boneCount <= vlClipData::kMaxBones &&
           (clip.m_keyLayout == KEY_LAYOUT_SHARED || clip.m_keyLayout == KEY_LAYOUT_PER_BONE);
}

Run<float> BoneTimes(const vlClipData& clip, std::size_t bone)
{
    if (clip.m_keyLayout == KEY_LAYOUT_SHARED)
        return clip.m_keyTimes ? TimesOf(*clip.m_keyTimes) : Run<float>{};
    const Run<float> times = RunOf(clip.m_boneKeyTimes[bone], clip.m_boneKeyCounts[bone]);
    return times.data ? times : Run<float>{};
}

// Returns whether all times are the same.
bool CompareBones(const Comparer& out, const vlClipData& a, const vlClipData& b)
{
    const bool haveKeys = HasKeys(a) && HasKeys(b);
    const bool areShared = a.m_keyLayout == KEY_LAYOUT_SHARED && b.m_keyLayout == KEY_LAYOUT_SHARED;
    bool areSame = true;
    if (haveKeys && areShared)
        areSame = CompareTimes(out, BoneTimes(a, 0), BoneTimes(b, 0));
    Pairs bones(NamesOf(a.m_boneNames, a.m_boneCount), NamesOf(b.m_boneNames, b.m_boneCount));
    CompareLists(out, "bone", bones, [&](const Comparer& bone, std::size_t i, std::size_t j) {
        if (!haveKeys)
            return;
        const Run<float> timesA = BoneTimes(a, i), timesB = BoneTimes(b, j);
        if (!areShared && !CompareTimes(bone, timesA, timesB))
            areSame = false;
        CompareChannels(bone, a.m_keys[i], b.m_keys[j], timesA, timesB);
    });
    return areSame;
}

void CompareClips(const Comparer& out, const vlClipData& a, const vlClipData& b)
{
    out.Text("second name", a.m_name2, b.m_name2);
    out.Code("attribute word", a.m_attrWord, b.m_attrWord);
    out.Number("attribute byte 0", a.m_attrByte0, b.m_attrByte0);
    out.Number("attribute byte 1", a.m_attrByte1, b.m_attrByte1);
    out.Number("attribute short", a.m_attrShort, b.m_attrShort);
    out.Code("attribute long", a.m_attrLong, b.m_attrLong);
    out.Code("compress flags", a.m_compressFlags, b.m_compressFlags);
    out.Number("key layout", a.m_keyLayout, b.m_keyLayout);
    // The length follows from the times, but for a longer one that a base info record has.
    if (CompareBones(out, a, b) && HasKeys(a) == HasKeys(b))
        out.Number("length", a.m_length, b.m_length);
}

void CompareSkeletons(const Comparer& out, const vlAnimData& a, const vlAnimData& b)
{
    Pairs bones(NamesOf(a.m_boneNames, a.m_boneCount), NamesOf(b.m_boneNames, b.m_boneCount));
    CompareLists(out, "bone", bones, [&](const Comparer& bone, std::size_t i, std::size_t j) {
        if (!bone.Both("reference transform", i < a.m_boneTrans.size(), j < b.m_boneTrans.size()))
            return;
        const vlTransInfo &transA = a.m_boneTrans[i], &transB = b.m_boneTrans[j];
        bone.Number("reference position", transA.m_pos, transB.m_pos);
        bone.Number("reference rotation", transA.m_rot, transB.m_rot, ByRotation());
        bone.Number("reference scale", transA.m_scale, transB.m_scale);
    });
}

// Of a clip whose side file is missing nothing is known, not even the name.
Names ClipNames(const vlAnimData& anim)
{
    Names names;
    for (const auto& clip : anim.m_clips)
        names.push_back(clip ? clip->m_name.View() : std::string_view());
    return names;
}

}  // namespace

void CompareAnimations(const Comparer& out, const vlAnimData& a, const vlAnimData& b)
{
    out.Code("version", a.m_version, b.m_version);
    out.Number("side files", a.m_async, b.m_async);
    CompareSkeletons(out, a, b);
    Pairs clips(ClipNames(a), ClipNames(b));
    CompareLists(out, "clip", clips, [&](const Comparer& clip, std::size_t i, std::size_t j) {
        const auto &clipA = a.m_clips[i], &clipB = b.m_clips[j];
        if (clip.Both("side file", clipA != nullptr, clipB != nullptr))
            CompareClips(clip, *clipA, *clipB);
    });
}

}  // namespace vela::vlgim::diff
