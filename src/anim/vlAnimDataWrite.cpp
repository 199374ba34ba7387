#include <vlgim/vlAnimData.h>

#include "AnimFile.h"
#include "AnimVersions.h"
#include "ClipBlock.h"
#include "SidePaths.h"

#include <corecommon/Log.h>
#include <io/Errors.h>
#include <io/SaveFile.h>

#include <limits>
#include <set>

namespace vela::vlgim {

namespace {

std::string Numbered(std::size_t clip)
{
    return "clip " + std::to_string(clip);
}

Error Refuse(ErrorKind kind, std::string block, std::string text)
{
    Error error = io::Inside(std::move(block), io::Unwritable(std::move(text)));
    error.kind = kind;
    return error;
}

// What keeps the clips from being a list that reads back as long as it is.
Error WhyUncountable(const vlAnimData& anim)
{
    if (anim.m_clips.size() > std::numeric_limits<std::uint16_t>::max())
        return Refuse(ErrorKind::Limit, "",
                      std::to_string(anim.m_clips.size()) + " clips, and a file has room for 65535");
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i)
        if (!anim.m_clips[i])
            return Refuse(ErrorKind::Reference, Numbered(i), "its side file was missing");
    return {};
}

Error WhySkeletonUnwritable(const vlAnimData& anim)
{
    if (anim.m_version < kOldestReadVersion || anim.m_version > kNewestGisVersion)
        return io::Unwritable("its version is none from 5.0 to 6.1");
    if (anim.m_version < kSkeleton && anim.m_boneCount != 0)
        return io::Unwritable("its version has no skeleton");
    if (anim.m_version < kSkeleton && anim.m_async != 0)
        return io::Unwritable("its version has no side files");
    if (anim.m_boneCount > vlAnimData::kMaxBones)
        return io::Unwritable(std::to_string(anim.m_boneCount) + " bones, and there is room for 255");
    if (Error why = io::WhyShort(anim.m_boneNames, anim.m_boneCount, "bone names"))
        return why;
    return io::WhyShort(anim.m_boneTrans, anim.m_boneCount, "reference transforms");
}

Error WhyClipsUnwritable(const vlAnimData& anim)
{
    const bool hasNoPlace = anim.m_async != 0 && anim.m_version < kSideFiles;
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i) {
        const vlClipData& clip = *anim.m_clips[i];
        Error why;
        if (!hasNoPlace)
            why = clips::WhyUnwritable(clip, anim.m_version);
        else if (clip.m_boneCount != 0)
            why = io::Unwritable("its version counts clips of side files, but has no place for them");
        if (why)
            return io::Inside(Numbered(i), std::move(why));
    }
    return {};
}

// Readers refuse a file below 40 bytes, and a skeleton or a record makes one longer.
Error WhyTooShort(const vlAnimData& anim)
{
    const bool hasRecords = !anim.m_clips.empty() && (anim.m_async == 0 || anim.m_version >= kSideFiles);
    if (anim.m_boneCount == 0 && !hasRecords)
        return io::Unwritable("it has neither bones nor clips, and is too short to be read");
    return {};
}

Error WhySideFilesUnwritable(const vlAnimData& anim)
{
    if (anim.m_async == 0)
        return {};
    const auto folder = anim::SideFolder(anim.m_path);
    if (!folder)
        return Refuse(ErrorKind::Reference, "",
                      "the path has no dot, so that no folder of side files belongs to it");
    std::set<std::string> names;
    for (std::size_t i = 0; i < anim.m_clips.size() && anim.m_version >= kSideFiles; ++i) {
        const std::string name(anim.m_clips[i]->m_name.View());
        if (!names.insert(name).second)
            return Refuse(ErrorKind::Reference, Numbered(i), "another has its name, " + name);
        if (anim::LeavesFolder(name))
            return {ErrorKind::NotCreated,
                    0,
                    anim::SidePath(*folder, *anim.m_clips[i]),
                    Numbered(i),
                    std::nullopt,
                    "its name leads out of its folder"};
    }
    return {};
}

void WriteSkeleton(io::BlockWriter& out, const vlAnimData& anim)
{
    out.Value(anim.m_boneCount);
    out.Run(anim.m_boneNames.data(), anim.m_boneCount);
    out.Run(anim.m_boneTrans.data(), anim.m_boneCount);
}

}  // namespace

Error WhyUnwritable(const vlAnimData& anim)
{
    for (const auto ask :
         {WhyUncountable, WhySkeletonUnwritable, WhyClipsUnwritable, WhyTooShort, WhySideFilesUnwritable})
        if (Error why = ask(anim)) {
            if (why.file.empty())
                why.file = anim.m_path;
            return why;
        }
    return {};
}

namespace anim {

void WriteHead(io::BlockWriter& out, const vlAnimData& anim)
{
    out.Run(kGisMagic, sizeof kGisMagic);
    out.Value(anim.m_version);
    out.Value(static_cast<std::uint16_t>(anim.m_clips.size()));
    if (anim.m_version < kSkeleton)
        return;
    WriteSkeleton(out, anim);
    out.Value(anim.m_async);
    if (anim.m_async == 0 || anim.m_version < kSideFiles)
        return;
    out.Value(clips::kBaseInfoSize);
    for (const auto& clip : anim.m_clips)
        clips::WriteBaseInfo(out, *clip);
}

Error WriteFile(vlio::Sink& sink, vlAnimData& anim, const ClipOpener& openClip)
{
    {
        // Whole and handed over before the first side file: opening one may end the sink of the file before it.
        io::BlockWriter out(sink);
        WriteHead(out, anim);
        for (const auto& clip : anim.m_clips)
            if (anim.m_async == 0)
                clips::Write(out, anim.m_version, *clip);
    }
    if (anim.m_async == 0 || anim.m_version < kSideFiles)
        return {};
    const std::string folder = SideFolder(anim.m_path).value_or("");
    for (const auto& clip : anim.m_clips) {
        vlio::Sink* side = nullptr;
        if (Error error = openClip(SidePath(folder, *clip), side))
            return error;
        io::BlockWriter out(*side);
        clips::Write(out, anim.m_version, *clip);
    }
    return {};
}

Error AddTo(vlio::FileWriter& set, vlAnimData& anim, const char* path, std::vector<Error>* warnings)
{
    if (Error why = WhyUnwritable(anim))
        return why;
    vlio::Sink* sink = nullptr;
    if (Error error = set.Open(path, sink))
        return error;
    if (anim.m_isDelta)
        io::Append(warnings, {{ErrorKind::Limit, 0, anim.m_path, "", std::nullopt,
                               "is written with deltas, which no file tells"}});
    return WriteFile(*sink, anim, [&set](const std::string& side, vlio::Sink*& opened) {
        return set.Open(side.c_str(), opened);
    });
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
    vlio::FileWriter set;
    Error error = anim::AddTo(set, anim, path, warnings);
    if (!error)
        error = set.Commit();
    io::Append(warnings, set.Warnings());
    return error;
}

int vlAnimData::WriteAnimationFile(const char* path)
{
    std::vector<Error> warnings;
    const Error error = Save(*this, path, &warnings);
    vlio::LogWarnings(warnings, "skeletal animation");
    return anim::LogSave(error);
}

}  // namespace vela::vlgim
