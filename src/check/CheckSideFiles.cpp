#include "Check.h"
#include "ClipChecks.h"

#include <anim/ClipBlock.h>

#include <utility>

namespace vela::vlgim::check {

namespace {

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
    SideFileCheck(Session& session, FileReport& report, const vlio::Bytes& image, std::uint64_t held,
                  const vlAnimData& anim, vlClipData& clip)
        : ImageCheck(session, report, image, held), m_anim(anim), m_clip(clip), m_read(clip)
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
        ReportUnread(file, m_image.size());
    }

    Error Write(vlio::Sink& sink) override
    {
        io::BlockWriter out(sink);
        clips::Write(out, m_anim.m_version, m_read);
        return {};
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
bool CheckSideClip(Session& session, FileReport& report, const Where& where, const vlAnimData& anim,
                   const std::string& folder, std::uint64_t held, vlClipData& clip)
{
    const std::string name(clip.m_name.View());
    std::string path;
    if (anim::FindSideFile(folder, clip, ErrorKind::Unreadable, path)) {
        report.Add("damaged", where, "the clip's name leads out of its folder: " + name);
        return false;
    }
    vlio::Bytes image;
    FileReport* const side = ReadFile(session, path, image, &report, where);
    if (!side || !SideFileCheck(session, *side, image, held, anim, clip).Run())
        return false;
    if (clip.m_name != name)
        report.Add("clip-renamed", where,
                   "clip " + name + " is named " + std::string(clip.m_name.View()) +
                       " in its side file, and is saved under that name");
    return true;
}

}  // namespace

bool CheckSideClips(Session& session, const File& file, vlAnimData& anim, std::uint64_t held)
{
    std::string folder, savedPath;
    if (anim::FindSideFolder(anim.m_path, folder))
        return true;  // a finding of the save tells of it
    bool areRead = true;
    anim::ClipNames names, savedNames;
    std::size_t place = 0;
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i, ++place) {
        place = file.Find(Block::BaseInfo, place);
        const Where where = file.At(place);
        vlClipData& clip = *anim.m_clips[i];
        const bool isNew = CheckClipName(names, &file.report, where, clip, i);
        areRead &= isNew && CheckSideClip(session, file.report, where, anim, folder, held, clip);
        // One that is named like another was told of above.
        areRead &= CheckClipName(savedNames, isNew ? &file.report : nullptr, where, clip, i) &&
                   !anim::FindSideFile(folder, clip, ErrorKind::NotCreated, savedPath);
    }
    return areRead;
}

}  // namespace vela::vlgim::check
