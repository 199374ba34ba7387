#include "Channels.h"
#include "Pairs.h"

namespace vela::vlgim {

namespace diff {

namespace {

// Under an unknown layout a clip has neither times nor keys.
bool HasKeys(const vlClipData& clip)
{
    return clip.m_keys.size() >= clip.m_boneCount && clip.m_boneCount <= vlClipData::kMaxBones &&
           (clip.m_keyLayout == KEY_LAYOUT_SHARED || clip.m_keyLayout == KEY_LAYOUT_PER_BONE);
}

bool AreShared(const vlClipData& clip)
{
    return clip.m_keyLayout == KEY_LAYOUT_SHARED;
}

Times BoneTimes(const vlClipData& clip, std::size_t bone)
{
    if (AreShared(clip))
        return clip.m_keyTimes ? TimesOf(*clip.m_keyTimes) : Times{};
    const unsigned count = clip.m_boneKeyCounts[bone];
    return count <= clip.m_boneKeyTimes[bone].size() ? Times{clip.m_boneKeyTimes[bone].data(), count}
                                                     : Times{};
}

Names NamesOf(const Array<Name32>& fields, std::size_t count)
{
    Names names;
    for (std::size_t i = 0; i < std::min(count, fields.size()); ++i)
        names.push_back(fields[i].View());
    return names;
}

// Returns whether all times are the same.
bool CompareBones(Comparer& out, const vlClipData& a, const vlClipData& b)
{
    const Names namesA = NamesOf(a.m_boneNames, a.m_boneCount),
                namesB = NamesOf(b.m_boneNames, b.m_boneCount);
    const bool haveKeys = HasKeys(a) && HasKeys(b), areShared = AreShared(a) && AreShared(b);
    bool areSame = true;
    if (haveKeys && areShared)
        areSame = CompareTimes(out, BoneTimes(a, 0), BoneTimes(b, 0));
    Pairs bones(namesA, namesB);
    CompareLists(out, "bone", namesA, namesB, bones, [&](std::size_t i, std::size_t j) {
        if (!haveKeys)
            return;
        const Times timesA = BoneTimes(a, i), timesB = BoneTimes(b, j);
        if (!areShared && !CompareTimes(out, timesA, timesB))
            areSame = false;
        CompareChannels(out, a.m_keys[i], b.m_keys[j], timesA, timesB);
    });
    return areSame;
}

void CompareClips(Comparer& out, const vlClipData& a, const vlClipData& b)
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
        out.Float("length", a.m_length, b.m_length);
}

void CompareSkeletons(Comparer& out, const vlAnimData& a, const vlAnimData& b)
{
    const Names namesA = NamesOf(a.m_boneNames, a.m_boneCount),
                namesB = NamesOf(b.m_boneNames, b.m_boneCount);
    Pairs bones(namesA, namesB);
    CompareLists(out, "bone", namesA, namesB, bones, [&](std::size_t i, std::size_t j) {
        if (!out.Both("reference transform", i < a.m_boneTrans.size(), j < b.m_boneTrans.size()))
            return;
        const vlTransInfo &transA = a.m_boneTrans[i], &transB = b.m_boneTrans[j];
        const auto compare = [&out](const char* field, const float* x, const float* y, unsigned width,
                                    auto apart) {
            out.Runs(
                field, Run<float>{x, 1, width}, Run<float>{y, 1, width},
                [](std::uint64_t) { return std::string(); }, apart);
        };
        compare("reference position", &transA.m_pos.x, &transB.m_pos.x, 3, ByComponent<float>);
        compare("reference rotation", &transA.m_rot.x, &transB.m_rot.x, 4, ByRotation);
        compare("reference scale", &transA.m_scale.x, &transB.m_scale.x, 3, ByComponent<float>);
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

void CompareAnimations(Comparer& out, const vlAnimData& a, const vlAnimData& b)
{
    out.Code("version", a.m_version, b.m_version);
    out.Number("side files", a.m_async, b.m_async);
    CompareSkeletons(out, a, b);
    const Names namesA = ClipNames(a), namesB = ClipNames(b);
    Pairs clips(namesA, namesB);
    CompareLists(out, "clip", namesA, namesB, clips, [&](std::size_t i, std::size_t j) {
        const auto &clipA = a.m_clips[i], &clipB = b.m_clips[j];
        if (out.Both("side file", clipA != nullptr, clipB != nullptr))
            CompareClips(out, *clipA, *clipB);
    });
}

}  // namespace

}  // namespace diff

std::vector<Difference> Compare(const vlAnimData& a, const vlAnimData& b, const CompareOptions& options)
{
    diff::Comparer out(options);
    diff::CompareAnimations(out, a, b);
    return out.Take();
}

std::vector<Difference> Compare(const GisData& a, const GisData& b, const CompareOptions& options)
{
    std::vector<Difference> found = Compare(a.m_anim, b.m_anim, options);
    for (Difference& difference : Compare(a.m_agsXml, b.m_agsXml, options))
        found.push_back(std::move(difference));
    return found;
}

}  // namespace vela::vlgim
