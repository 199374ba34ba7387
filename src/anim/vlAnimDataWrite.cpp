#include <vlgim/vlAnimData.h>

#include "AnimFile.h"
#include "AnimVersions.h"
#include "ClipBlock.h"

#include <corecommon/Log.h>
#include <io/Errors.h>
#include <io/SaveFile.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace vela::vlgim {

namespace {

// What keeps the clips from being a list that reads back as long as it is.
Error WhyUncountable(const vlAnimData& anim)
{
    if (anim.m_clips.size() > std::numeric_limits<std::uint16_t>::max())
        return io::MakeError(ErrorKind::Limit,
                             std::to_string(anim.m_clips.size()) + " clips exceed the limit of 65535");
    return io::FirstInside(io::Block::Clip, anim.m_clips.size(), [&anim](std::size_t i) {
        return anim.m_clips[i] ? Error() : io::MakeError(ErrorKind::Reference, "its side file was missing");
    });
}

Error WhySkeletonUnwritable(const vlAnimData& anim)
{
    if (anim.m_version < kOldestReadVersion || anim.m_version > kNewestGisVersion)
        return io::Unwritable("its version is not one from 5.0 to 6.1");
    if (anim.m_version < kSkeleton && anim.m_boneCount != 0)
        return io::Unwritable("its version has no skeleton");
    if (anim.m_version < kSkeleton && anim.m_async != 0)
        return io::Unwritable("its version has no side files");
    if (anim.m_boneCount > vlAnimData::kMaxBones)
        return io::Unwritable(std::to_string(anim.m_boneCount) + " bones exceed the limit of 255");
    if (Error why = io::WhyShort(anim.m_boneNames, anim.m_boneCount, "bone names"))
        return why;
    return io::WhyShort(anim.m_boneTrans, anim.m_boneCount, "reference transforms");
}

Error WhyClipsUnwritable(const vlAnimData& anim)
{
    const bool hasNoPlace = anim.m_async != 0 && !anim::HasSideFiles(anim);
    return io::FirstInside(io::Block::Clip, anim.m_clips.size(), [&](std::size_t i) {
        const vlClipData& clip = *anim.m_clips[i];
        if (anim::HasSideFiles(anim) && clip.m_name.View().size() == Name32::kSize)
            return io::Unwritable(
                "its name has 32 bytes, and a reader would look for a side file named by 31");
        if (!hasNoPlace)
            return clips::WhyUnwritable(clip, anim.m_version);
        if (clip.m_boneCount != 0)
            return io::Unwritable("its version can't store clips in side files");
        return Error();
    });
}

// Readers refuse a file below 40 bytes, and a skeleton or a record makes one longer.
Error WhyTooShort(const vlAnimData& anim)
{
    const bool hasRecords = !anim.m_clips.empty() && (anim.m_async == 0 || anim::HasSideFiles(anim));
    if (anim.m_boneCount == 0 && !hasRecords)
        return io::Unwritable("it has neither bones nor clips, so the file would be too short to be read");
    return {};
}

// Of the animation as the file `path`, where no other file is to blame. Gives the paths of its side files.
Error WhyUnwritableAs(const vlAnimData& anim, const std::string& path, std::vector<std::string>& sidePaths)
{
    for (const auto ask : {WhyUncountable, WhySkeletonUnwritable, WhyClipsUnwritable, WhyTooShort})
        if (Error why = ask(anim))
            return io::InFile(std::move(why), path);
    return io::InFile(anim::FindSideFiles(anim, sidePaths), path);
}

}  // namespace

Error WhyUnwritable(const vlAnimData& anim)
{
    std::vector<std::string> sidePaths;
    return WhyUnwritableAs(anim, anim.m_path, sidePaths);
}

namespace anim {

void WriteFile(vlio::Sink& sink, vlAnimData& anim)
{
    SeparateChannels(anim);
    io::BlockWriter out(sink);
    out.Run(kGisMagic, sizeof kGisMagic);
    out.Value(anim.m_version);
    out.Value(static_cast<std::uint16_t>(anim.m_clips.size()));
    if (anim.m_version >= kSkeleton) {
        out.Value(anim.m_boneCount);
        out.Run(anim.m_boneNames.data(), anim.m_boneCount);
        out.Run(anim.m_boneTrans.data(), anim.m_boneCount);
        out.Value(anim.m_async);
    }
    if (HasSideFiles(anim))
        out.Value(clips::kBaseInfoSize);
    for (const auto& clip : anim.m_clips)
        if (anim.m_async == 0)
            clips::Write(out, anim.m_version, *clip);
        else if (HasSideFiles(anim))
            clips::WriteBaseInfo(out, *clip);
}

Error AddTo(vlio::FileWriter& set, vlAnimData& anim, const char* path, std::vector<Error>* warnings)
{
    std::vector<std::string> sidePaths;
    if (Error why = WhyUnwritableAs(anim, path, sidePaths))
        return why;
    vlio::Sink* sink = nullptr;
    if (Error error = set.Open(path, sink))
        return error;
    const auto warn = [&](std::string text) {
        io::Append(warnings, {io::MakeError(ErrorKind::Warning, std::move(text), path)});
    };
    if (anim.m_isDelta)
        warn("is saved with delta keys, but a file can't record that they are deltas");
    for (const auto& clip : anim.m_clips)
        if (std::max(clip->m_name.View().size(), clip->m_name2.View().size()) == Name32::kSize)
            warn("has a clip with a name of 32 bytes, of which a reader keeps 31: " +
                 std::string(clip->m_name.View()));
    WriteFile(*sink, anim);
    for (std::size_t i = 0; i < sidePaths.size(); ++i) {
        if (Error error = set.Open(sidePaths[i].c_str(), sink))
            return error;
        io::BlockWriter out(*sink);
        clips::Write(out, anim.m_version, *anim.m_clips[i]);
    }
    return {};
}

int LogSave(const Error& error)
{
    const bool isCounting = error.kind == ErrorKind::Limit || error.kind == ErrorKind::Reference;
    if (error.kind == ErrorKind::Reference && error.block.empty())
        LogError("Unable to open seperate animation file %s", error.file.c_str());
    else if (!vlio::LogFailure(error, "skeletal animation"))
        return 0;
    return isCounting ? -1 : 1;
}

}  // namespace anim

Error Save(vlAnimData& anim, const char* path, std::vector<Error>* warnings)
{
    return io::SaveSet(warnings,
                       [&](vlio::FileWriter& set) { return anim::AddTo(set, anim, path, warnings); });
}

int vlAnimData::WriteAnimationFile(const char* path)
{
    std::vector<Error> warnings;
    const Error error = Save(*this, path, &warnings);
    vlio::LogWarnings(warnings, "skeletal animation");
    return anim::LogSave(error);
}

}  // namespace vela::vlgim
