#include "Check.h"
#include "Values.h"

#include <anim/AnimFile.h>
#include <anim/AnimVersions.h>
#include <anim/ClipBlock.h>
#include <basekit/StringAlgo.h>
#include <io/Errors.h>
#include <nameid/NameID.h>
#include <platform/Files.h>
#include <vlgim/vlAnimData.h>

#include <algorithm>
#include <map>
#include <utility>

// Animations, with clips of their own or in side files.
namespace vela::vlgim::check {

namespace {

void CheckSkeleton(const File& file, const vlAnimData& anim)
{
    const std::size_t block = file.Find(Block::Skeleton);
    if (block == Places::kNone)
        return;
    const std::size_t names = file.FindIn(block, Block::Names),
                      transforms = file.FindIn(block, Block::Transforms);
    CheckBoneNames(file, names, anim.m_boneNames, anim.m_boneCount);
    for (std::uint32_t i = 0; i < anim.m_boneCount; ++i) {
        const Name32& bone = anim.m_boneNames[i];
        const std::string name(bone.View());
        const vlTransInfo& info = anim.m_boneTrans[i];
        const std::uint64_t behind = sizeof info * i;
        if (bone.bytes[Name32::kSize - 1] != 0)
            file.Add("skeleton-name", names, sizeof bone * i,
                     "the name of bone " + std::to_string(i) + " fills its 32 bytes: " + name);
        CheckFinite(file, transforms,
                    {"reference transform of bone " + name, "number", &info.m_pos.x,
                     sizeof info / sizeof(float), 1, sizeof(float), behind});
        CheckQuaternions(file, transforms, "reference rotation of bone " + name,
                         {"", "", &info.m_rot.x, 1, 4, sizeof info.m_rot, behind + sizeof info.m_pos});
    }
}

// The version's last byte.
void CheckBranch(const File& file)
{
    const std::size_t version = file.Find(Block::VersionWord);
    if (version == Places::kNone || file.Bytes(version).back() == 0)
        return;
    file.Add("save-header", version, file.Size(version) - 1,
             "a save writes branch 0 in place of " + std::to_string(file.Bytes(version).back()));
}

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

// What a save drops of all clips of a file.
void CheckPivotTracks(const File& file)
{
    for (std::size_t i = file.Find(Block::PivotTrack); i != Places::kNone;
         i = file.Find(Block::PivotTrack, i + 1))
        if (file.Size(i) > 1)
            file.Add("save-drops-pivot-track", i, "the pivot track is neither read nor kept");
}

// Whether no other clip is named so; else a finding at `where` of a report that is not null says which.
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

// Whether a record of base info differs in nothing but the ends of its names.
bool DiffersInNameEnds(ByteSpan old, ByteSpan now)
{
    std::vector<unsigned char> ended(old.begin(), old.end());
    ended[sizeof(Name32) - 1] = ended[2 * sizeof(Name32) - 1] = 0;
    return std::equal(ended.begin(), ended.end(), now.begin(), now.end());
}

// What becomes of a clip, of its base info, or of their count.
void ReportChangedClip(const Change& change)
{
    const Block block = change.Of();
    if (block == Block::ClipInfo ||
        (block == Block::BaseInfo && DiffersInNameEnds(change.Old(), change.New())))
        change.Add("save-ends-names", "a save cuts a name of the clip to 31 bytes");
    else if (block == Block::BaseInfo)
        change.Add("save-base-info", "the clip's record differs from the clip in its side file");
    else if (block == Block::SideFiles)
        change.Add("save-header", "a save writes 1108 as the size of a record");
    else
        ReportChangedKeys(change);
}

// The clips of the file itself.
void CheckClips(const File& file, const vlAnimData& anim)
{
    anim::ClipNames names;
    std::size_t place = 0;
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i) {
        place = file.Find(Block::Clip, place);
        const vlClipData& clip = *anim.m_clips[i];
        CheckClipName(names, &file.report, file.At(place), clip, i);
        CheckClip(file, place, anim, clip);
        place = file[place].behind;
    }
    CheckPivotTracks(file);
}

// Of a clip that has been looked at its base info is enough.
void DropKeys(vlClipData& clip)
{
    clip.m_keys = nullptr;
    clip.m_keyTimes.reset();
    clip.m_boneNames = nullptr;
    for (auto& times : clip.m_boneKeyTimes)
        times = nullptr;
}

// A side file on its own; its clip gets what a save of the animation needs of it.
class SideFileCheck final : public ImageCheck {
public:
    SideFileCheck(const Input& input, std::uint64_t held, const vlAnimData& anim, vlClipData& clip)
        : ImageCheck(input, held), m_anim(anim), m_clip(clip), m_read(clip)
    {
    }

private:
    Error Read(io::BlockReader& in, const vlio::Bytes&) override
    {
        clips::ReadSideFile(in, m_anim.m_version, m_read);
        return in.WhyRefused().AsError();
    }

    void CheckValues(const File& file) override
    {
        CheckClip(file, file.Find(Block::Clip), m_anim, m_read);
        CheckPivotTracks(file);
        ReportUnread(file, m_input.image.size());
    }

    void Write(vlio::Sink& sink) override
    {
        io::BlockWriter out(sink);
        clips::Write(out, m_anim.m_version, m_read);
    }

    void Drop() override
    {
        DropKeys(m_read);
        m_clip = std::exchange(m_read, {});
    }

    void ReportChange(const Change& change) override { ReportChangedClip(change); }

    const vlAnimData& m_anim;
    vlClipData& m_clip;
    vlClipData m_read;
};

// Whether a clip could be read from its side file.
bool CheckSideClip(const Input& input, const Where& where, const vlAnimData& anim, const std::string& folder,
                   std::uint64_t held, vlClipData& clip)
{
    const std::string name(clip.m_name.View());
    std::string path;
    if (anim::FindSideFile(folder, clip, ErrorKind::Unreadable, path)) {
        input.report.Add("damaged", where, "the clip's name leads out of its folder: " + name);
        return false;
    }
    const std::optional<Input> side = ReadFile(input.session, path, &input.report, where);
    if (!side || !SideFileCheck(*side, held, anim, clip).Run())
        return false;
    if (clip.m_name != name)
        input.report.Add("clip-renamed", where,
                         "clip " + name + " is named " + std::string(clip.m_name.View()) +
                             " in its side file, and is saved under that name");
    return true;
}

// Whether no other clip has the same side file; else a finding says which.
bool IsSoleOfFile(std::map<platform::FileId, std::size_t>& files, FileReport& report, const Where& where,
                  const vlAnimData& anim, const std::string& folder, std::size_t number)
{
    std::string path;
    platform::FileStatus status;
    if (anim::FindSideFile(folder, *anim.m_clips[number], ErrorKind::Unreadable, path) ||
        platform::GetStatus(path.c_str(), status) != 0)
        return true;  // which the check of the file tells
    const std::size_t first = files.emplace(status.id, number).first->second;
    if (first != number)
        report.Add("clip-name", where,
                   "clips " + std::to_string(first) + " and " + std::to_string(number) +
                       " have the same side file, " + path);
    return first == number;
}

// Reads all side files of an animation into the base info of its clips and checks them. Whether all were read, and a
// save would give each clip a side file of its own.
// held  bytes in memory
bool CheckSideClips(const Input& input, const File& file, vlAnimData& anim, std::uint64_t held)
{
    std::string folder, savedPath;
    if (anim::FindSideFolder(anim.m_path, folder))
        return true;  // a finding of the save tells of it
    bool areRead = true;
    anim::ClipNames names, savedNames;
    std::map<platform::FileId, std::size_t> files;  // a path can be spelled in many ways
    std::size_t place = 0;
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i, ++place) {
        place = file.Find(Block::BaseInfo, place);
        const Where where = file.At(place);
        vlClipData& clip = *anim.m_clips[i];
        const bool isNew = CheckClipName(names, &file.report, where, clip, i);
        areRead &= isNew && IsSoleOfFile(files, input.report, where, anim, folder, i) &&
                   CheckSideClip(input, where, anim, folder, held, clip);
        // One that is named like another was told of above.
        areRead &= CheckClipName(savedNames, isNew ? &file.report : nullptr, where, clip, i) &&
                   !anim::FindSideFile(folder, clip, ErrorKind::NotCreated, savedPath);
    }
    return areRead;
}

class AnimationCheck final : public ImageCheck {
public:
    AnimationCheck(const Input& input, bool withFiles) : ImageCheck(input), m_withFiles(withFiles) {}

private:
    Error Read(io::BlockReader& in, const vlio::Bytes& image) override
    {
        return anim::ReadFile(in, image.size(), m_anim, false);
    }

    void CheckValues(const File& file) override
    {
        m_anim.m_path = file.report.Path();
        CheckBranch(file);
        CheckSkeleton(file, m_anim);
        ReportUnread(file, m_input.image.size());
        if (m_anim.m_async == 0)
            CheckClips(file, m_anim);
        else if (HasRecords() && m_withFiles)
            m_areClipsRead = CheckSideClips(m_input, file, m_anim, m_held + m_spent);
        else if (!HasRecords() && !m_anim.m_clips.empty())
            file.Add("clips-without-place", file.Find(Block::SideFiles),
                     Counted(m_anim.m_clips.size(), "clip is", "clips are") +
                         " counted, but this version has no records for them");
    }

    bool IsWritable() override
    {
        std::string folder;
        if (const Error why = m_anim.m_async != 0 ? anim::FindSideFolder(m_anim.m_path, folder) : Error()) {
            m_input.report.Add("missing-file", {}, why.text);
            return false;
        }
        if (!m_areClipsRead)
            return Allows(io::Unwritable(
                "some clips have no readable side file of their own, and all clips are saved together"));
        // Records have been looked at, with their side files or without.
        return HasRecords() || Allows(WhyUnwritable(m_anim));
    }

    void Write(vlio::Sink& sink) override { anim::WriteFile(sink, m_anim); }
    void Drop() override { m_anim = {}; }
    void ReportChange(const Change& change) override { ReportChangedClip(change); }

    bool HasRecords() const { return anim::HasSideFiles(m_anim) && !m_anim.m_clips.empty(); }

    bool m_withFiles;
    bool m_areClipsRead = true;
    vlAnimData m_anim;
};

}  // namespace

void CheckAnimation(const Input& input, bool withFiles)
{
    vlio::XmlData ags;
    const std::string agsPath = anim::AgsPath(input.report.Path().c_str());
    if (const auto document = withFiles ? ReadFile(input.session, agsPath) : std::nullopt)
        CheckDocument(*document, ags);
    AnimationCheck(input, withFiles).Run();
}

}  // namespace vela::vlgim::check
