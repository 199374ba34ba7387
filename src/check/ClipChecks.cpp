#include "ClipChecks.h"

#include <anim/AnimVersions.h>
#include <basekit/StringAlgo.h>
#include <nameid/NameID.h>

#include <algorithm>

namespace vela::vlgim::check {

namespace {

// Bones of clips are found in a skeleton by the hash of their names, in their own case.
void CheckClipBones(const File& file, std::size_t info, const vlAnimData& skeleton, const vlClipData& clip)
{
    const std::int32_t* const ids = skeleton.m_boneNameIds;
    const std::int32_t* const end = ids + skeleton.m_boneCount;
    const std::size_t names = file.FindIn(info, Block::BoneNames);
    for (std::uint16_t i = 0; skeleton.m_boneCount != 0 && i < clip.m_boneCount; ++i) {
        if (std::find(ids, end, clip.m_boneNameIds[i]) != end)
            continue;
        const std::string name(clip.m_boneNames[i].View());
        std::string lower = name;
        kit::StringAlgo::ToLower(lower.data());
        const bool isCase = std::find(ids, end, NameIDMurmur3(lower)) != end;
        file.Add("clip-bone", names, sizeof(Name32) * i,
                 "bone " + name +
                     (isCase
                          ? " is in the skeleton as " + lower + ", because skeleton names are in lower case"
                          : " is not in the skeleton"));
    }
}

// Whether a record of base info differs in nothing but the ends of its names.
bool DiffersInNameEnds(ByteSpan old, ByteSpan now)
{
    std::vector<unsigned char> ended(old.begin(), old.end());
    ended[sizeof(Name32) - 1] = ended[2 * sizeof(Name32) - 1] = 0;
    return std::equal(ended.begin(), ended.end(), now.begin(), now.end());
}

}  // namespace

void CheckClip(const File& file, std::size_t block, const vlAnimData& skeleton, const vlClipData& clip)
{
    const std::size_t info = file.FindIn(block, Block::ClipInfo);
    CheckClipBones(file, info, skeleton, clip);
    if (clip.m_keyLayout != KEY_LAYOUT_SHARED && clip.m_keyLayout != KEY_LAYOUT_PER_BONE)
        return file.Add("clip-layout", file.FindIn(info, Block::Layout),
                        "the layout of the key times is " + std::to_string(clip.m_keyLayout) +
                            ", which is neither 0 (shared) nor 1 (per bone)");
    std::uint16_t bone = 0;
    file.ForEachIn(block, [&](std::size_t inner) {
        if (file.BlockAt(inner) == Block::KeyTimes)
            CheckTimes(file, inner, clip.m_keyTimes->GetKeyTimes(), clip.m_keyTimes->GetKeyCount());
        if (file.BlockAt(inner) != Block::Bone)
            return;
        if (clip.m_keyLayout == KEY_LAYOUT_PER_BONE)
            CheckTimes(file, inner, clip.m_boneKeyTimes[bone].data(), clip.m_boneKeyCounts[bone]);
        CheckChannel(file, inner, clip.m_keys[bone++]);
    });
}

void CheckPivotTracks(const File& file)
{
    for (std::size_t i = file.Find(Block::PivotTrack); i != Places::kNone;
         i = file.Find(Block::PivotTrack, i + 1))
        if (file.Size(i) > 1)
            file.Add("save-drops-pivot-track", i, "the pivot track is neither read nor kept");
}

void ReportChangedClip(const Change& change)
{
    const Block block = change.Of();
    if (block == Block::Bone)
        ReportChangedKeys(change);
    else if (block == Block::ClipInfo ||
             (block == Block::BaseInfo && DiffersInNameEnds(change.Old(), change.New())))
        change.Add("save-ends-names", "a save cuts a name of the clip to 31 bytes");
    else if (block == Block::BaseInfo)
        change.Add("save-base-info", "the clip's record differs from the clip in its side file");
    else if (block == Block::SideFiles)
        change.Add("save-header", "a save writes 1108 as the size of a record");
}

bool CheckClipName(anim::ClipNames& names, FileReport* report, const Where& where, const vlClipData& clip,
                   std::size_t number)
{
    const std::size_t first = names.Add(clip, number);
    if (first != number && report)
        report->Add("clip-name", where,
                    "clips " + std::to_string(first) + " and " + std::to_string(number) + " are both named " +
                        std::string(clip.m_name.View()));
    return first == number;
}

}  // namespace vela::vlgim::check
