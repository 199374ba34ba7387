#include "Check.h"
#include "ClipChecks.h"

#include <anim/AnimFile.h>
#include <anim/SidePaths.h>
#include <io/Errors.h>
#include <vlio2/Path.h>

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

class AnimationCheck final : public ImageCheck {
public:
    AnimationCheck(Session& session, FileReport& report, const vlio::Bytes& image, bool withSideFiles)
        : ImageCheck(session, report, image), m_withSideFiles(withSideFiles)
    {
    }

private:
    Error Read(io::BlockReader& in, const vlio::Bytes& image) override
    {
        return anim::ReadFile(in, image, m_anim, false);
    }
    void CheckValues(const File& file) override;
    void ReportRefusal(const File& file, const Error& error) override;
    bool IsWritable() override;
    Error Write(vlio::Sink& sink) override
    {
        anim::WriteFile(sink, m_anim);
        return {};
    }
    void Drop() override { m_anim = {}; }
    void ReportChange(const Change& change) override { ReportChangedClip(change); }

    void CheckClips(const File& file);
    void CheckSideFiles(const File& file);
    bool HasRecords() const { return anim::HasSideFiles(m_anim) && !m_anim.m_clips.empty(); }

    bool m_withSideFiles;
    bool m_areClipsRead = true;
    vlAnimData m_anim;
};

void AnimationCheck::ReportRefusal(const File& file, const Error& error)
{
    CheckBranch(file);
    file.report.Add(error);
}

void AnimationCheck::CheckValues(const File& file)
{
    m_anim.m_path = m_report.Path();
    CheckBranch(file);
    CheckSkeleton(file, m_anim);
    ReportUnread(file, m_image.size());
    if (m_anim.m_async == 0)
        CheckClips(file);
    else
        CheckSideFiles(file);
}

void AnimationCheck::CheckClips(const File& file)
{
    anim::ClipNames names;
    std::size_t place = 0;
    for (std::size_t i = 0; i < m_anim.m_clips.size(); ++i) {
        place = file.Find(Block::Clip, place);
        const vlClipData& clip = *m_anim.m_clips[i];
        CheckClipName(names, &m_report, file.At(place), clip, i);
        CheckClip(file, place, m_anim, clip);
        place = file[place].behind;
    }
    CheckPivotTracks(file);
}

void AnimationCheck::CheckSideFiles(const File& file)
{
    if (!HasRecords() && !m_anim.m_clips.empty())
        file.Add("clips-without-place", file.Find(Block::SideFiles),
                 Counted(m_anim.m_clips.size(), "clip is", "clips are") +
                     " counted, but this version has no records for them");
    if (HasRecords() && m_withSideFiles)
        m_areClipsRead = CheckSideClips(m_session, file, m_anim, m_held + m_spent);
}

bool AnimationCheck::IsWritable()
{
    std::string folder;
    if (m_anim.m_async != 0 && anim::FindSideFolder(m_anim.m_path, folder)) {
        m_report.Add("missing-file", {}, "the path has no dot, so there is no folder of side files for it");
        return false;
    }
    if (!m_areClipsRead)
        return Allows(io::Unwritable(
            "some clips have no readable side file of their own, and all clips are saved together"));
    // Records have been looked at, with their side files or without.
    return HasRecords() || Allows(WhyUnwritable(m_anim));
}

}  // namespace

void CheckAnimation(Session& session, FileReport& report, const vlio::Bytes& image, bool withFiles)
{
    vlio::Bytes agsImage;
    vlio::XmlData ags;
    const std::string agsPath = vlio::ReplaceFileExtension(report.Path().c_str(), ".ags");
    if (FileReport* document = withFiles ? ReadFile(session, agsPath, agsImage) : nullptr)
        CheckDocument(session, *document, agsImage, ags);
    AnimationCheck(session, report, image, withFiles).Run();
}

}  // namespace vela::vlgim::check
