#include <vlgim/vlAnimData.h>

#include "AnimVersions.h"
#include "ClipBlock.h"
#include "SidePaths.h"

#include <corecommon/Log.h>
#include <io/BlockWriter.h>
#include <vlio2/FileWriter.h>

#include <limits>
#include <set>

namespace vela::vlgim {

namespace {

using Obstacle = vlAnimData::Obstacle;

std::string Numbered(std::size_t clip)
{
    return "clip " + std::to_string(clip);
}

// What keeps the clips from being a list that reads back as long as it is.
Obstacle WhyUncountable(const vlAnimData& anim)
{
    if (anim.m_clips.size() > std::numeric_limits<std::uint16_t>::max())
        return {-1, std::to_string(anim.m_clips.size()) + " clips, and a file has room for 65535"};
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i)
        if (!anim.m_clips[i])
            return {-1, Numbered(i) + " is missing: its side file was not there"};
    return {};
}

Obstacle WhySkeletonUnwritable(const vlAnimData& anim)
{
    if (anim.m_version < kOldestReadVersion || anim.m_version > kNewestGisVersion)
        return {1, "its version is none from 5.0 to 6.1"};
    if (anim.m_version < kSkeleton && anim.m_boneCount != 0)
        return {1, "its version has no skeleton"};
    if (anim.m_version < kSkeleton && anim.m_async != 0)
        return {1, "its version has no side files"};
    if (anim.m_boneCount > vlAnimData::kMaxBones)
        return {1, std::to_string(anim.m_boneCount) + " bones, and there is room for 255"};
    if (anim.m_boneCount != 0 && (!anim.m_boneNames || !anim.m_boneTrans))
        return {1, "no array holds the names or transforms of the skeleton"};
    return {};
}

Obstacle WhyClipsUnwritable(const vlAnimData& anim)
{
    const bool hasNoPlace = anim.m_async != 0 && anim.m_version < kSideFiles;
    keys::UnsetCounts counts;
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i) {
        const vlClipData& clip = *anim.m_clips[i];
        if (hasNoPlace && clip.m_boneCount != 0)
            return {1, Numbered(i) + ": its version counts clips of side files, but has no place for them"};
        if (hasNoPlace)
            continue;
        if (const std::string reason = clips::WhyUnwritable(clip, anim.m_version, &counts); !reason.empty())
            return {1, Numbered(i) + ": " + reason};
    }
    return {};
}

std::string CantBeWritten(const vlAnimData& anim, const std::string& reason)
{
    return "skeletal animation " + anim.m_path + " can't be written: " + reason;
}

// Readers refuse a file below 40 bytes, and a skeleton or a record makes one longer.
Obstacle WhyTooShort(const vlAnimData& anim)
{
    const bool hasRecords = !anim.m_clips.empty() && (anim.m_async == 0 || anim.m_version >= kSideFiles);
    if (anim.m_boneCount == 0 && !hasRecords)
        return {1, "it has neither bones nor clips, and is too short to be read"};
    return {};
}

Obstacle WhySideFilesUnwritable(const vlAnimData& anim)
{
    const auto folder = anim::SideFolder(anim.m_path);
    if (!folder)
        return {-1, "Unable to open seperate animation file " + anim.m_path};
    std::set<std::string> names;
    for (std::size_t i = 0; i < anim.m_clips.size() && anim.m_version >= kSideFiles; ++i) {
        const std::string name = anim::ClipName(*anim.m_clips[i]);
        if (!names.insert(name).second)
            return {-1, CantBeWritten(anim, Numbered(i) + ": another has its name, " + name)};
        if (anim::LeavesFolder(name))
            return {1, "unable to open " + anim::SidePath(*folder, *anim.m_clips[i])};
    }
    return {};
}

bool Refused(const vlAnimData::Obstacle& obstacle)
{
    if (obstacle.result != 0)
        LogError("%s", obstacle.message.c_str());
    return obstacle.result != 0;
}

}  // namespace

vlAnimData::Obstacle vlAnimData::WriteObstacle() const
{
    for (const auto why : {WhyUncountable, WhySkeletonUnwritable, WhyClipsUnwritable, WhyTooShort})
        if (const Obstacle obstacle = why(*this); obstacle.result != 0)
            return {obstacle.result, CantBeWritten(*this, obstacle.message)};
    return m_async != 0 ? WhySideFilesUnwritable(*this) : Obstacle{};
}

int vlAnimData::WriteAnimationFile(const char* path)
{
    vlio::FileWriter set;
    const int result = WriteAnimationFile(path, set);
    if (result != 0)
        return result;
    return set.Commit() ? 0 : 1;
}

int vlAnimData::WriteAnimationFile(const char* path, vlio::FileWriter& set)
{
    const Obstacle obstacle = WriteObstacle();
    if (Refused(obstacle))
        return obstacle.result;
    std::FILE* stream = set.Open(path);
    if (!stream) {
        LogError("unable to open %s", path);
        return 1;
    }
    return WriteFile(stream, [&set](const char* clipPath) { return set.Open(clipPath); });
}

int vlAnimData::WriteAnimationFile(std::FILE* stream, const ClipOpener& openClip)
{
    const Obstacle obstacle = WriteObstacle();
    return Refused(obstacle) ? obstacle.result : WriteFile(stream, openClip);
}

int vlAnimData::WriteFile(std::FILE* stream, const ClipOpener& openClip)
{
    if (m_isDelta)
        LogWarning("skeletal animation %s is written with deltas, which no file tells", m_path.c_str());
    io::BlockWriter out(stream);
    WriteHead(out);
    if (m_async != 0)
        return m_version >= kSideFiles ? WriteSideFiles(out, openClip) : 0;
    for (const auto& clip : m_clips)
        clips::Write(out, m_version, *clip);
    return 0;
}

// Everything of the file that is no clip's own: the base info of clips in side files included.
void vlAnimData::WriteHead(io::BlockWriter& out) const
{
    WriteAnimationHeader(out);
    out.Value(static_cast<std::uint16_t>(m_clips.size()));
    if (m_version < kSkeleton)
        return;
    WriteBonesData(out);
    out.Value(m_async);
    if (m_async == 0 || m_version < kSideFiles)
        return;
    out.Value(clips::kBaseInfoSize);
    for (const auto& clip : m_clips)
        clips::WriteBaseInfo(out, *clip);
}

void vlAnimData::WriteAnimationHeader(io::BlockWriter& out) const
{
    out.Run("RGIS", 4);
    out.Value(m_version);
}

void vlAnimData::WriteBonesData(io::BlockWriter& out) const
{
    out.Value(m_boneCount);
    out.Run(m_boneNames.get(), m_boneCount);
    out.Run(m_boneTrans.get(), m_boneCount);
}

// The file itself is whole by now, and handed over: opening a side file ends the stream of a set's file before it.
int vlAnimData::WriteSideFiles(io::BlockWriter& out, const ClipOpener& openClip)
{
    out.Flush();
    const std::string folder = anim::SideFolder(m_path).value_or("");
    for (const auto& clip : m_clips) {
        const std::string path = anim::SidePath(folder, *clip);
        std::FILE* stream = openClip ? openClip(path.c_str()) : nullptr;
        if (!stream) {
            LogError("unable to open %s", path.c_str());
            return 1;
        }
        io::BlockWriter side(stream);
        clips::Write(side, m_version, *clip);
    }
    return 0;
}

}  // namespace vela::vlgim
