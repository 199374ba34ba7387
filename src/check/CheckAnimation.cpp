#include "Check.h"
#include "Inside.h"

#include <anim/AnimVersions.h>
#include <anim/ClipBlock.h>
#include <anim/SidePaths.h>
#include <basekit/StringAlgo.h>
#include <nameid/NameID.h>
#include <vlgim/vlAnimData.h>
#include <vlio2/Path.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>

namespace vela::vlgim::check {

namespace {

constexpr std::uint64_t kHeaderSize = 8;
constexpr std::uint64_t kNameSize = 32;

// An animation file that is read.
struct AnimationFile {
    Session& session;
    FileReport& report;
    const vlio::Bytes& image;
    vlAnimData anim;
    std::uint64_t held = image.size();  // by the image and what was read of it

    void Add(Code code, const char* block, std::uint64_t offset, const std::string& text) const
    {
        report.Add(code, {block, offset}, text);
    }
};

// What has to hold ahead of the first block, as a load asks for it.
bool IsSuitable(AnimationFile& file)
{
    constexpr std::size_t kLeastSize = 40;
    constexpr unsigned kBranches = 5;
    const vlio::Bytes& image = file.image;
    // A length is a signed number of 32 bits to those who load it.
    if (image.size() < kLeastSize || image.size() > std::numeric_limits<std::int32_t>::max()) {
        file.Add(Code::BadHeader, "header", 0,
                 "an animation has from 40 bytes to 2 GiB, and this file has " +
                     std::to_string(image.size()));
        return false;
    }
    if (std::memcmp(image.data(), "RGIS", 4) != 0) {
        file.Add(Code::BadHeader, "header", 0, "an animation begins with RGIS");
        return false;
    }
    std::uint32_t word = 0;
    std::memcpy(&word, image.data() + 4, sizeof word);
    file.anim.m_version = word & 0xFFFFFF;
    const unsigned branch = word >> 24;
    if (branch >= kBranches || file.anim.m_version < kOldestReadVersion ||
        file.anim.m_version > kNewestGisVersion) {
        file.Add(Code::BadVersion, "header", 4,
                 branch >= kBranches
                     ? "the animation belongs to branch " + std::to_string(branch) + ", and 0 to 4 are read"
                     : "animations of version 0x50000 to 0x60001 are read, and this is " +
                           Hex(file.anim.m_version));
        return false;
    }
    if (branch != 0)
        file.Add(Code::SaveHeader, "header", 7,
                 "a save writes branch 0 in place of " + std::to_string(branch));
    return true;
}

void CheckSkeleton(const AnimationFile& file, const Places& places)
{
    const vlAnimData& anim = file.anim;
    const std::uint64_t names = places.Offset("bones") + 4, transforms = names + kNameSize * anim.m_boneCount;
    CheckBoneNames(file.report, "bones", file.image, names, anim.m_boneNames.get(), anim.m_boneCount);
    for (std::uint32_t i = 0; i < anim.m_boneCount; ++i) {
        const std::string name = NameOf(anim.m_boneNames[i]);
        if (anim.m_boneNames[i][kNameSize - 1] != 0)
            file.Add(Code::SkeletonName, "bones", names + kNameSize * i,
                     "the name of bone " + std::to_string(i) + " fills its 32 bytes: " + name);
        const std::uint64_t transform = transforms + sizeof(vlTransInfo) * i;
        CheckFinite(file.report, "bones",
                    {"reference transform of bone " + name, "number", &anim.m_boneTrans[i].m_pos.x,
                     sizeof(vlTransInfo) / sizeof(float), 1, transform, sizeof(float)});
        CheckQuaternions(file.report, "bones", "reference rotation of bone " + name,
                         &anim.m_boneTrans[i].m_rot.x, 1, transform + sizeof anim.m_boneTrans[i].m_pos, 0);
    }
}

// Bones of clips are found in a skeleton by the hash of their names, in their own case.
void CheckClipBones(FileReport& report, const vlAnimData& skeleton, const vlClipData& clip,
                    const std::string& block, std::uint64_t names)
{
    const std::int32_t* const ids = skeleton.m_boneNameIds;
    const std::int32_t* const end = ids + skeleton.m_boneCount;
    for (std::uint16_t i = 0; skeleton.m_boneCount != 0 && i < clip.m_boneCount; ++i) {
        if (std::find(ids, end, clip.m_boneNameIds[i]) != end)
            continue;
        const std::string name = NameOf(clip.m_boneNames[i]);
        std::string lower = name;
        kit::StringAlgo::ToLower(lower.data());
        const bool isCase = std::find(ids, end, NameIDMurmur3(lower)) != end;
        report.Add(
            Code::ClipBone, {block, names + kNameSize * i},
            "bone " + name +
                (isCase ? " is in the skeleton as " + lower + ", and names of a skeleton are in lower case"
                        : " is not in the skeleton"));
    }
}

// Keys as they lie in a file of this version.
unsigned char FormOf(const vlClipData& clip, std::uint32_t version)
{
    return version < kCompressedKeys ? static_cast<unsigned char>(0) : clip.m_compressFlags;
}

// A clip whose record starts at places[index].
void CheckClip(FileReport& report, const vlAnimData& skeleton, const Places& places, std::size_t index,
               const vlClipData& clip)
{
    constexpr std::uint64_t kBoneNamesAt = 66;  // behind two names and the bone count
    constexpr std::uint64_t kCountSize = 2;
    const std::string block = places.Path(index);
    CheckClipBones(report, skeleton, clip, block, places[index].offset + kBoneNamesAt);
    if (clip.m_keyLayout != KEY_LAYOUT_SHARED && clip.m_keyLayout != KEY_LAYOUT_PER_BONE)
        return report.Add(Code::ClipLayout, {block, places[index].end - 1},
                          "the layout of the key times is " + std::to_string(clip.m_keyLayout) +
                              ", and 0 (shared) and 1 (per bone) are known");
    const std::size_t times = index + 1;
    const bool isShared = clip.m_keyLayout == KEY_LAYOUT_SHARED;
    if (isShared)
        CheckTimes(report, places.Path(times), clip.m_keyTimes->GetKeyTimes(), clip.m_keyTimes->GetKeyCount(),
                   places[times].offset + kCountSize);
    for (std::uint16_t i = 0; i < clip.m_boneCount; ++i) {
        const std::size_t bone = times + 1 + i;
        const std::string path = places.Path(bone);
        std::uint64_t offset = places[bone].offset;
        if (!isShared) {
            const std::uint64_t count = clip.m_boneKeyCounts[i];
            CheckTimes(report, path, clip.m_boneKeyTimes[i].get(), count, offset + kCountSize);
            offset += kCountSize + count * sizeof(float);
        }
        CheckChannel(report, path, clip.m_keys[i], FormOf(clip, skeleton.m_version), offset);
    }
}

// The place of the next record at or behind place `from`: a clip is announced once more ahead of it, by an empty place.
std::size_t FindRecord(const Places& places, std::string_view block, std::size_t from)
{
    std::size_t index = places.Find(block, from);
    while (places[index].end == places[index].offset)
        index = places.Find(block, index + 1);
    return index;
}

void ReportSameName(FileReport& report, const Where& where, std::size_t first, std::size_t second,
                    const std::string& name)
{
    report.Add(Code::ClipName, where,
               "clips " + std::to_string(first) + " and " + std::to_string(second) + " are both named " +
                   name);
}

void CheckPivotTracks(FileReport& report, const Places& places)
{
    for (std::size_t i = places.Find("pivot track"); i != Places::kNone;
         i = places.Find("pivot track", i + 1))
        if (places[i].end - places[i].offset > 1)
            report.Add(Code::SaveDropsPivotTrack, {places.Path(i), places[i].offset},
                       "the pivot track is neither read nor kept");
}

// How a bone's record is written anew: its times, if it has its own, and its channel.
void ReportChangedBone(FileReport& report, const Where& where, bool hasTimes, ByteSpan old, ByteSpan now)
{
    if (hasTimes) {
        std::uint16_t count = 0;
        std::memcpy(&count, old.data(), sizeof count);
        const std::size_t size = sizeof count + count * sizeof(float);
        if (std::memcmp(old.data(), now.data(), size) != 0)
            report.Add(Code::SaveMovesTimes, where,
                       "a save moves key times, which are whole ticks in this version");
        old = old.subspan(size);
        now = now.subspan(size);
    }
    if (!std::equal(old.begin(), old.end(), now.begin(), now.end()))
        ReportChangedKeys(report, where, old.data(), now.data());
}

// Whether a record of base info differs in nothing but the ends of its names.
bool DiffersInNameEnds(ByteSpan old, ByteSpan now)
{
    std::vector<unsigned char> ended(old.begin(), old.end());
    ended[kNameSize - 1] = ended[2 * kNameSize - 1] = 0;
    return std::equal(ended.begin(), ended.end(), now.begin(), now.end());
}

// hasTimes[clip]  whether its bones have key times of their own
void ReportChange(FileReport& report, const Places& places, std::size_t index,
                  const std::vector<bool>& hasTimes, ByteSpan old, ByteSpan now)
{
    const std::string_view block = places[index].block;
    const Where where{places.Path(index), places[index].offset};
    if (block == "bone")
        ReportChangedBone(report, where, hasTimes[places.Clip(index)], old, now);
    else if (block == "clip info" || (block == "base info" && DiffersInNameEnds(old, now)))
        report.Add(Code::SaveEndsNames, where, "a save cuts a name of the clip at 31 bytes");
    else if (block == "base info")
        report.Add(Code::SaveBaseInfo, where,
                   "the record of the clip differs from the clip in its side file");
    else if (block == "side files")
        report.Add(Code::SaveHeader, where, "a save writes 1108 as the size of a record");
}

std::vector<bool> BonesHaveTimes(const vlAnimData& anim)
{
    std::vector<bool> hasTimes;
    for (const auto& clip : anim.m_clips)
        hasTimes.push_back(clip && clip->m_keyLayout == KEY_LAYOUT_PER_BONE);
    return hasTimes;
}

// The visitor of changed blocks; see ReportChange.
auto Reporter(FileReport& report, const Places& places, const std::vector<bool>& hasTimes)
{
    return [&](std::size_t place, ByteSpan old, ByteSpan now) {
        ReportChange(report, places, place, hasTimes, old, now);
    };
}

// What stands of an animation ahead of its clips' records, and in their place where they lie in side files.
void ReadHead(vlAnimData& anim, io::BlockReader& in)
{
    in.Take(1, kHeaderSize);
    Inside::ReadHead(anim, in);
}

// The clips of side files, as far as the animation tells of them; before version 6.1 it counts them alone.
void ReadBaseInfo(vlAnimData& anim, io::BlockReader& in)
{
    for (auto& clip : anim.m_clips) {
        in.Enter("base info");
        if (!in.Spend(sizeof(vlClipData)))
            return;
        clip = std::make_shared<vlClipData>();
        if (anim.m_version >= kSideFiles)
            clips::ReadBaseInfo(in, *clip);
    }
}

void ReadSideClip(io::BlockReader& in, std::uint32_t version, vlClipData& clip)
{
    io::BlockReader again = in;
    io::ArrayBlock arrays, plan;
    clips::Measure(in, arrays, version, clip);
    if (arrays.Allocate(in))
        clips::Fill(again, plan, arrays, version, 0, clip);
}

// Of a clip that has been looked at its base info is enough.
void DropKeys(vlClipData& clip)
{
    clip.m_keys.reset();
    clip.m_keyTimes.reset();
    clip.m_boneNames.reset();
    std::fill(std::begin(clip.m_boneKeyTimes), std::end(clip.m_boneKeyTimes), nullptr);
}

// Reads the clip of a side file into what its base info has given, and checks the file on its own. False: it could not
// be read, and a finding says why.
bool CheckSideFile(const AnimationFile& file, FileReport& report, const vlio::Bytes& image, vlClipData& clip)
{
    const std::uint32_t version = file.anim.m_version;
    const std::uint64_t limit = file.session.Left(file.held + image.size());
    io::BlockReader in(image.data(), image.data() + image.size(), "clip info");
    io::BlockMap map;
    in.Trace(map);
    in.LimitMemory(limit);
    ReadSideClip(in, version, clip);
    map.End(in.Offset());
    const Places places(map);
    if (in.Failed()) {
        ReportRefusal(report, in, places, image.size());
        return false;
    }
    file.session.Step(report);
    CheckClip(report, file.anim, places, FindRecord(places, "clip info", 0), clip);
    CheckPivotTracks(report, places);
    ReportUnread(report, places, image.size());

    const std::vector<bool> hasTimes{clip.m_keyLayout == KEY_LAYOUT_PER_BONE};
    SavedImage saved(image.data(), image.size(), image.size(), Left(limit, in.Spent()));
    {
        io::BlockWriter out(saved.Stream());
        clips::Write(out, version, clip);
    }
    DropKeys(clip);
    const auto read = [version](io::BlockReader& back) {
        vlClipData again;
        ReadSideClip(back, version, again);
    };
    CheckSaved(file.session, report, image, places, saved, file.held + image.size(), read,
               Reporter(report, places, hasTimes));
    return true;
}

// Whether a clip could be read from its side file; it has what a save of the animation needs of it then.
bool CheckSideClip(const AnimationFile& file, const Where& where, const std::string& folder, vlClipData& clip)
{
    const std::string name = anim::ClipName(clip);
    if (anim::LeavesFolder(name)) {
        file.report.Add(Code::Damaged, where, "the name of the clip leads out of its folder: " + name);
        return false;
    }
    vlio::Bytes image;
    FileReport* const report =
        ReadFile(file.session, anim::SidePath(folder, clip), image, &file.report, where);
    if (!report || !CheckSideFile(file, *report, image, clip))
        return false;
    if (anim::ClipName(clip) != name)
        file.report.Add(Code::ClipRenamed, where,
                        "clip " + name + " is named " + anim::ClipName(clip) +
                            " in its side file, and is saved as that");
    return true;
}

// Whether all clips were read from side files, and a save would give each of them one of its own.
bool CheckSideClips(const AnimationFile& file, const Places& places, const std::string& folder)
{
    bool areRead = true;
    std::map<std::string, std::size_t> first, firstSaved;
    std::size_t place = 0;
    for (std::size_t i = 0; i < file.anim.m_clips.size(); ++i) {
        place = FindRecord(places, "base info", place);
        const Where where{places.Path(place), places[place].offset};
        ++place;
        vlClipData& clip = *file.anim.m_clips[i];
        const auto [other, isNew] = first.emplace(anim::ClipName(clip), i);
        if (!isNew)
            ReportSameName(file.report, where, other->second, i, other->first);
        areRead &= isNew && CheckSideClip(file, where, folder, clip);
        const auto [saved, isAlone] = firstSaved.emplace(anim::ClipName(clip), i);
        if (isNew && !isAlone)
            ReportSameName(file.report, where, saved->second, i, saved->first);
        areRead &= isAlone && !anim::LeavesFolder(saved->first);
    }
    return areRead;
}

// The animation file itself, whose clips lie elsewhere.
void CheckSavedHead(const AnimationFile& file, const Places& places)
{
    SavedImage saved(file.image.data(), file.image.size(), file.image.size(), file.session.Left(file.held));
    {
        io::BlockWriter out(saved.Stream());
        Inside::WriteHead(file.anim, out);
    }
    const std::vector<bool> none;
    const auto read = [&file](io::BlockReader& in) {
        vlAnimData again;
        again.m_version = file.anim.m_version;
        ReadHead(again, in);
        if (again.m_version >= kSideFiles)
            ReadBaseInfo(again, in);
    };
    CheckSaved(file.session, file.report, file.image, places, saved, file.held, read,
               Reporter(file.report, places, none));
}

void CheckSideFiles(AnimationFile& file, const Places& places, bool withSideFiles)
{
    const bool hasRecords = file.anim.m_version >= kSideFiles && !file.anim.m_clips.empty();
    if (!hasRecords && !file.anim.m_clips.empty())
        file.Add(Code::ClipsWithoutPlace, "side files", places.Offset("side files"),
                 Counted(file.anim.m_clips.size(), "clip is", "clips are") +
                     " counted, and this version tells nothing of them");
    const auto folder = anim::SideFolder(file.anim.m_path);
    if (!folder)
        return file.report.Add(Code::MissingFile, {},
                               "the path has no dot, so that no folder of side files belongs to it");
    if (hasRecords && withSideFiles && !CheckSideClips(file, places, *folder))
        return file.report.Add(
            Code::SaveRefused, {},
            "not every clip has a side file of its own that can be read, and all are saved together");
    const auto obstacle = hasRecords ? vlAnimData::Obstacle{} : file.anim.WriteObstacle();
    if (obstacle.result != 0)
        return file.report.Add(Code::SaveRefused, {}, obstacle.message);
    CheckSavedHead(file, places);
}

void CheckClips(AnimationFile& file, const Places& places)
{
    vlAnimData& anim = file.anim;
    std::map<std::string, std::size_t> first;
    std::size_t place = 0;
    for (std::size_t i = 0; i < anim.m_clips.size(); ++i) {
        place = FindRecord(places, "clip info", place);
        const auto [other, isNew] = first.emplace(anim::ClipName(*anim.m_clips[i]), i);
        if (!isNew)
            ReportSameName(file.report, {places.Path(place), places[place].offset}, other->second, i,
                           other->first);
        CheckClip(file.report, anim, places, place, *anim.m_clips[i]);
        ++place;
    }
    CheckPivotTracks(file.report, places);
    file.session.Step(file.report);
    if (const auto obstacle = anim.WriteObstacle(); obstacle.result != 0)
        return file.report.Add(Code::SaveRefused, {}, obstacle.message);
    const std::vector<bool> hasTimes = BonesHaveTimes(anim);
    SavedImage saved(file.image.data(), file.image.size(), file.image.size(), file.session.Left(file.held));
    anim.WriteAnimationFile(saved.Stream(), nullptr);
    anim.m_clips.clear();
    const auto read = [&file](io::BlockReader& in) {
        vlAnimData again;
        again.m_version = file.anim.m_version;
        ReadHead(again, in);
        if (!in.Failed())
            Inside::ReadClips(again, in);
    };
    CheckSaved(file.session, file.report, file.image, places, saved, file.image.size(), read,
               Reporter(file.report, places, hasTimes));
}

}  // namespace

void CheckAnimation(Session& session, FileReport& report, const vlio::Bytes& image, bool withFiles)
{
    AnimationFile file{session, report, image, {}};
    vlio::Bytes agsImage;
    vlio::XmlData ags;
    const std::string agsPath = vlio::ReplaceFileExtension(report.Path().c_str(), ".ags");
    if (FileReport* document = withFiles ? ReadFile(session, agsPath, agsImage) : nullptr)
        CheckDocument(session, *document, agsImage, ags);
    if (!IsSuitable(file))
        return;
    vlAnimData& anim = file.anim;
    anim.m_path = report.Path();
    io::BlockReader in(image.data(), image.data() + image.size(), "header");
    io::BlockMap map;
    in.Trace(map);
    in.LimitMemory(session.Left(image.size()));
    ReadHead(anim, in);
    if (!in.Failed() && anim.m_async == 0)
        Inside::ReadClips(anim, in);
    else if (!in.Failed())
        ReadBaseInfo(anim, in);
    map.End(in.Offset());
    const Places places(map);
    if (in.Failed())
        return ReportRefusal(report, in, places, image.size());
    session.Step(report);
    file.held += in.Spent();

    CheckSkeleton(file, places);
    ReportUnread(report, places, image.size());
    if (anim.m_async == 0)
        CheckClips(file, places);
    else
        CheckSideFiles(file, places, withFiles);
}

}  // namespace vela::vlgim::check
