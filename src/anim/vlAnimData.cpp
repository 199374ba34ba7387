#include <vlgim/vlAnimData.h>

#include "AnimFile.h"
#include "AnimVersions.h"
#include "ClipBlock.h"

#include <corecommon/Log.h>
#include <io/ArrayBlock.h>
#include <io/Errors.h>
#include <io/Name.h>
#include <platform/Files.h>
#include <vlio2/Failures.h>
#include <vlio2/FileStream.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
#include <utility>

namespace vela::vlgim {

namespace anim {

namespace {

using io::Block;

constexpr std::uint32_t kHeaderSize = 8;

// No file is shorter, whatever it holds; readers have always asked for as much.
constexpr std::size_t kLeastLength = 40;

constexpr unsigned kBranches = 5;  // in the top byte of the version

static_assert(sizeof(vlTransInfo) == 40);  // as in the file: position, rotation, scale

void ReadSkeleton(io::BlockReader& in, vlAnimData& anim)
{
    const auto scope = in.Enter(Block::Skeleton);
    io::ReadTwice(in, [&anim](const io::Pass& pass) {
        const auto boneCount = pass.in.Count<std::uint32_t>(vlAnimData::kMaxBones);
        pass.Take(Block::Names, anim.m_boneNames, boneCount);
        if (pass.Take(Block::Transforms, anim.m_boneTrans, boneCount))
            anim.m_boneCount = boneCount;
    });
    std::ranges::transform(anim.m_boneNames, anim.m_boneNameIds, io::LowerAndHash);
}

// Sets m_version, and gives an error where it is not read here. From then on m_version has no branch number.
Error ReadHeader(io::BlockReader& in, std::size_t fileSize, vlAnimData& anim)
{
    const auto scope = in.Enter(Block::Header);
    const unsigned char* const magic = in.Take(1, sizeof kGisMagic);
    anim.m_version = in.Value<std::uint32_t>(Block::VersionWord);
    // A length is a signed number of 32 bits to those who load it.
    if (fileSize < kLeastLength || fileSize > std::numeric_limits<std::int32_t>::max())
        return io::BadHeader(ErrorKind::Magic, 0,
                             "an animation has 40 bytes to 2 GiB, but this file has " +
                                 std::to_string(fileSize) + " bytes");
    if (std::memcmp(magic, kGisMagic, sizeof kGisMagic) != 0)
        return io::BadHeader(ErrorKind::Magic, 0, "an animation begins with RGIS");
    const unsigned branch = anim.m_version >> 24;
    if (branch >= kBranches)
        return io::BadHeader(ErrorKind::Version, 4,
                             "branch " + std::to_string(branch) + " is not supported; branches 0 to 4 are");
    const std::uint32_t version = anim.m_version & kVersionMask;
    if (version >= kOldestGisVersion && version <= kNewestGisVersion)
        anim.m_version = version;
    if (version < kOldestReadVersion || version > kNewestGisVersion)
        return io::BadVersion("animations of version 0x50000 to 0x60001", version);
    return {};
}

// Everything between the header and the clips, of which there are as many as they are counted, all null.
void ReadHead(io::BlockReader& in, vlAnimData& anim)
{
    std::uint16_t clipCount = 0;
    {
        const auto scope = in.Enter(Block::ClipCount);
        clipCount = in.Value<std::uint16_t>();
        in.Spend(clipCount * sizeof anim.m_clips[0]);
    }
    if (anim.m_version >= kSkeleton) {
        ReadSkeleton(in, anim);
        const auto scope = in.Enter(Block::SideFiles);
        anim.m_async = in.Value<std::uint32_t>();
        // The size of a base info record, which has only ever been one.
        if (anim.m_async != 0 && anim.m_version >= kSideFiles)
            in.Take(1, sizeof(std::uint32_t));
    }
    if (!in.Failed())
        anim.m_clips.resize(clipCount);
}

// Makes the clips one after the other, and calls read(number) for each until one says that the read ends.
template <class Read>
void ForEachNewClip(io::BlockReader& in, vlAnimData& anim, Block block, Read read)
{
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i) {
        const auto scope = in.Enter(block, static_cast<std::int64_t>(i));
        // An object with a record in the file is paid for by that.
        if (anim.m_async != 0 && !HasSideFiles(anim) && !in.Spend(sizeof(vlClipData)))
            return;
        anim.m_clips[i] = std::make_shared_for_overwrite<vlClipData>();
        if (!read(i))
            return;
    }
}

// The clips of a file that has them itself. All are measured ahead of the first that is filled, so that their arrays
// lie in one block: the C library keeps that for the next file, where many small ones went back to the system and were
// faulted in anew.
void ReadClips(io::BlockReader& in, vlAnimData& anim)
{
    const std::uint64_t start = in.Offset();
    io::ArrayBlock arrays, plan;
    ForEachNewClip(in, anim, Block::Clip, [&](std::size_t i) {
        clips::Read({in, arrays}, anim.m_version, kHeaderSize, *anim.m_clips[i]);
        return arrays.IsAffordable(in);
    });
    if (!arrays.Allocate(in))
        return;
    const auto repeat = in.From(start);
    for (const auto& clip : anim.m_clips)
        clips::Read({in, plan, &arrays}, anim.m_version, kHeaderSize, *clip);
}

// A side file, and the clips that name it.
struct SideFile {
    std::string path;
    std::vector<std::size_t> clips;
};

// The files in the order of the first clip that names each. A file is known by what it is: its path can be spelled in
// many ways. A clip whose file is missing becomes null.
Error FindFiles(io::BlockReader& in, vlAnimData& anim, const std::string& folder,
                std::vector<SideFile>& files)
{
    std::map<platform::FileId, std::size_t> known;
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i) {
        std::string path;
        platform::FileStatus status;
        constexpr std::size_t kNode = 64;
        if (!in.Spend(sizeof(SideFile) + folder.size() + 2 * Name32::kSize + kNode))
            return in.WhyRefused().AsError(anim.m_path);
        if (Error error = FindSideFile(folder, *anim.m_clips[i], ErrorKind::Unreadable, path))
            return error;
        if (const int reason = platform::GetStatus(path.c_str(), status)) {
            if (!platform::IsMissing(reason))
                return vlio::Failure(ErrorKind::Unreadable, reason, path.c_str());
            anim.m_clips[i].reset();
            continue;
        }
        const auto [file, isNew] = known.try_emplace(status.id, files.size());
        if (isNew)
            files.push_back({path, {}});
        files[file->second].clips.push_back(i);
    }
    return {};
}

// Reads a file once, and each of its clips from that. However many they are, its bytes allow for their memory once.
Error ReadSideFile(io::BlockReader& load, vlAnimData& anim, const SideFile& file)
{
    vlio::Bytes bytes;
    if (Error error = vlio::ReadFile(file.path.c_str(), bytes))
        return error;
    for (const std::size_t clip : file.clips) {
        io::BlockReader in(bytes);
        in.JoinBudget(load, clip == file.clips.front() ? bytes.size() : 0);
        clips::ReadSideFile(in, anim.m_version, *anim.m_clips[clip], static_cast<std::int64_t>(clip));
        load.JoinBudget(in, 0);
        if (in.Failed())
            return in.WhyRefused().AsError(file.path);
    }
    return {};
}

// The base info of all clips, and their side files where these are asked for.
Error ReadRecords(io::BlockReader& in, vlAnimData& anim, bool withSideFiles)
{
    std::string folder;
    if (Error error = withSideFiles ? FindSideFolder(anim.m_path, folder) : Error())
        return error;
    ForEachNewClip(in, anim, Block::BaseInfo, [&](std::size_t i) {
        if (HasSideFiles(anim))
            clips::ReadBaseInfo(in, *anim.m_clips[i]);
        return !in.Failed();
    });
    std::vector<SideFile> files;
    Error error = in.WhyRefused().AsError(anim.m_path);
    if (!error && withSideFiles && HasSideFiles(anim))
        error = FindFiles(in, anim, folder, files);
    for (std::size_t i = 0; !error && i < files.size(); ++i)
        error = ReadSideFile(in, anim, files[i]);
    return error;
}

// Names that have no NUL in their field.
void WarnOfNames(const vlAnimData& anim, std::vector<Error>* warnings)
{
    for (unsigned i = 0; warnings && i < anim.m_boneCount; ++i)
        if (anim.m_boneNames[i].bytes[Name32::kSize - 1] != 0)
            warnings->push_back(io::Inside(
                {Block::Skeleton, io::Step::kOnly},
                io::MakeError(ErrorKind::Warning,
                              "the name of bone " + std::to_string(i) + " fills its 32 bytes", anim.m_path)));
}

}  // namespace

Error ReadFile(io::BlockReader& in, std::size_t fileSize, vlAnimData& anim, bool withSideFiles)
{
    if (Error error = ReadHeader(in, fileSize, anim))
        return error;
    ReadHead(in, anim);
    if (!in.Failed() && anim.m_async != 0)
        return ReadRecords(in, anim, withSideFiles);
    ReadClips(in, anim);
    return in.WhyRefused().AsError(anim.m_path);
}

bool LogRead(const Error& error, const vlAnimData& anim, const std::vector<Error>& warnings)
{
    for (const Error& warning : warnings)
        if (warning.kind == ErrorKind::Warning)
            LogError("incorrect gis file!");
    if (!error)
        return true;
    const bool isKnown = anim.m_version >= kOldestGisVersion && anim.m_version <= kNewestGisVersion;
    if (error.kind == ErrorKind::Unreadable)
        LogError("Failed to read file : %s\n", error.file.c_str());
    else if (error.kind == ErrorKind::Reference)
        LogError("Unable to open seperate animation file %s", error.file.c_str());
    else if (error.kind == ErrorKind::Version && anim.m_version >> 24 >= kBranches)
        LogError("Skeletal animation file version is not suitable for current branch!");
    else if (error.kind == ErrorKind::Version && !isKnown)
        LogError("Skeletal animation file version too %s!",
                 (anim.m_version & kVersionMask) < kOldestGisVersion ? "old" : "new");
    else if (error.kind != ErrorKind::Version && error.kind != ErrorKind::Magic)
        LogError("gis file is damaged: %s",
                 error.file == anim.m_path ? vlio::WithoutFile(error).c_str() : error.Message().c_str());
    if (isKnown && error.kind != ErrorKind::Magic)
        LogError("Bad format in skeletal animation, version %u.x!", std::min(anim.m_version >> 16, 5U));
    else
        LogError("Bad format in skeletal animation file!");
    return false;
}

}  // namespace anim

Error Load(vlAnimData& anim, std::span<const unsigned char> file, const std::string& path,
           const LoadOptions& options, std::vector<Error>* warnings)
{
    vlAnimData read;
    read.m_path = path;
    io::BlockReader in(file);
    in.LimitMemory(options.memoryLimit);
    Error error = io::InFile(anim::ReadFile(in, file.size(), read, true), path);
    anim::WarnOfNames(read, warnings);
    if (error) {
        vlAnimData refused;
        refused.m_path = std::move(read.m_path);
        refused.m_version = read.m_version;
        read = std::move(refused);
    }
    anim = std::move(read);
    return error;
}

Error Load(vlAnimData& anim, const char* path, const LoadOptions& options, std::vector<Error>* warnings)
{
    const std::string place = path;  // may lie in what is replaced here
    vlio::Bytes bytes;
    if (Error error = vlio::ReadFile(path, bytes)) {
        anim = {};
        return error;
    }
    return Load(anim, bytes, place, options, warnings);
}

bool vlAnimData::ReadAnimationFile(const unsigned char* data, std::uint32_t length, const std::string& path)
{
    std::vector<Error> warnings;
    const Error error = Load(*this, {data, data ? length : 0}, path, {}, &warnings);
    return anim::LogRead(error, *this, warnings);
}

}  // namespace vela::vlgim
