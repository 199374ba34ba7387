#include "Input.h"
#include "RoundTrip.h"
#include "Runtime.h"
#include "support/Bytes.h"

#include <anim/AnimFile.h>
#include <anim/ClipBlock.h>

#include <algorithm>
#include <map>

// An input is a .gis file and the side files of clips of a few names; one that is empty is missing.
namespace vela::vlgim::fuzz {

namespace {

const char* const kClips[] = {"walk", "Run", "idle", "jump"};

const Folder& TheFolder()
{
    static const Folder folder;
    return folder;
}

// An animation file, under the name "", and its side files under the names of their clips.
using Files = std::map<std::string, Bytes>;

std::string SideName(const std::string& clip)
{
    return "a_gis/" + clip + ".gis";
}

Files FilesOf(const std::uint8_t* data, std::size_t size)
{
    std::vector<Bytes> parts = SplitFiles(data, size);
    Files files{{"", std::move(parts[0])}};
    for (std::size_t i = 1; i < parts.size() && i <= std::size(kClips); ++i)
        if (!parts[i].empty())
            files[kClips[i - 1]] = std::move(parts[i]);
    return files;
}

std::unique_ptr<vlAnimData> Read(const Files& files)
{
    std::filesystem::create_directory(TheFolder().Path("a_gis"));
    std::size_t size = 0;
    for (const auto& [clip, content] : files) {
        if (!clip.empty())
            TheFolder().Put(SideName(clip), content);
        size += content.size();
    }
    const Bytes& gis = files.at("");
    auto anim = std::make_unique<vlAnimData>();
    // The caller holds the image of the .gis file, so it counts neither way.
    constexpr std::size_t kLeastRecord = 74;
    const auto read = [&] {
        return anim->ReadAnimationFile(gis.data(), static_cast<std::uint32_t>(gis.size()),
                                       TheFolder().Path("a.gis"));
    };
    const bool whole = WithinBudget(size, read, gis.size() / kLeastRecord + 1);
    for (const auto& [clip, content] : files)
        TheFolder().Remove(SideName(clip));
    if (whole)
        return anim;
    Check(anim->m_clips.empty() && !anim->m_boneNames && anim->m_boneCount == 0,
          "a failed read leaves clips");
    return nullptr;
}

// The name that a path of a side file stands for; none for one that would lie in a folder of its own.
std::string ClipOf(const std::string& path)
{
    const std::string folder = TheFolder().Path("a_gis/");
    Check(path.compare(0, folder.size(), folder) == 0, "a side file outside of its folder: " + path);
    const std::string clip = path.substr(folder.size(), path.size() - folder.size() - 4);
    return clip.find('/') == std::string::npos ? clip : std::string();
}

// Empty where the side files can't be made.
Files Write(vlAnimData& anim)
{
    std::map<std::string, test::MemorySink> sinks;
    anim::WriteFile(sinks[""], anim);
    std::vector<std::string> paths;
    Check(!anim::FindSideFiles(anim, paths), "what can be written has no side files");
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const std::string clip = ClipOf(paths[i]);
        if (clip.empty())
            return {};
        io::BlockWriter out(sinks[clip]);
        clips::Write(out, anim.m_version, *anim.m_clips[i]);
    }
    Files files;
    for (auto& [clip, file] : sinks)
        files[clip] = std::move(file.content);
    return files;
}

// Whether the names of the clips make files of this folder, each one of its own.
bool HasPlainNames(const vlAnimData& anim)
{
    return anim.m_async == 0 || std::all_of(anim.m_clips.begin(), anim.m_clips.end(), [](const auto& clip) {
               const std::string_view name = clip->m_name;
               return !name.empty() && name.find('/') == std::string_view::npos;
           });
}

void CheckWriting(vlAnimData& anim)
{
    const Error why = WhyUnwritable(anim);
    const bool isEmpty = anim.m_clips.empty() && anim.m_boneCount == 0;
    Check(!why || anim.m_async || isEmpty, "what was read can't be written: " + why.Message());
    if (why || !HasPlainNames(anim))
        return;
    const auto read = [](const Files& files) {
        auto again = Read(files);
        Check(again != nullptr, "an animation that was written can't be read");
        return again;
    };
    CheckRoundTrip(anim, Write, read);
}

}  // namespace

}  // namespace vela::vlgim::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vela::vlgim;
    fuzz::Files files = fuzz::FilesOf(data, size);
    auto anim = fuzz::Read(files);
    if (!anim)
        return 0;
    const auto again = fuzz::Read(files);
    files[""] = fuzz::Changed(files[""]);
    fuzz::CheckDifferences(*anim, *again, fuzz::Read(files).get());
    fuzz::CheckWriting(*anim);
    vlAnimData deltas = *anim;  // of which the clips are the same ones
    deltas.ConvertToDelta();
    deltas.ConvertFromDelta();
    fuzz::CheckCopies(std::move(anim));
    return 0;
}
