#include "Input.h"
#include "Runtime.h"
#include "support/Bytes.h"

#include <anim/AnimFile.h>
#include <vlgim/Findings.h>
#include <vlgim/vlAnimData.h>
#include <vlgim/vlMeshData.h>
#include <vlgim/vlTrackData.h>

#include <algorithm>
#include <iterator>
#include <set>

// An input is the number of one of the other targets, as a byte, and an input of that target.
namespace vela::vlgim::fuzz {

namespace {

enum Kind : std::uint8_t { kMesh, kGis, kTrack, kGim };

const std::vector<std::vector<const char*>> kNames = {
    {"a.mesh"},
    {"a.gis", "a_gis/walk.gis", "a_gis/Run.gis", "a_gis/idle.gis", "a_gis/jump.gis"},
    {"a.track"},
    {"a.gim", "a.mesh", "a.mtg", "a_music.ags"}};

// Codes of files that a load refuses.
const std::set<std::string_view> kRefusals{"damaged", "bad-header", "bad-version", "submesh-count"};

const Folder& TheFolder()
{
    static const Folder folder;
    return folder;
}

bool Has(const CheckResult& result, const std::set<std::string_view>& codes)
{
    return std::any_of(result.findings.begin(), result.findings.end(),
                       [&](const Finding& finding) { return codes.contains(finding.code->name); });
}

// Runs a check within its memory bound, and looks at each finding.
template <class Run>
CheckResult Checked(std::size_t imageBytes, Run run)
{
    const auto bytes = static_cast<std::int64_t>(imageBytes);
    const std::int64_t before = g_live;
    g_peak = before;
    CheckResult result = run();
    const std::int64_t held = g_peak - before;
    Check(held <= 160 * bytes + (64 << 20),
          "a check of " + std::to_string(bytes) + " bytes held " + std::to_string(held));
    for (const Finding& finding : result.findings) {
        const std::string name = finding.code->name;
        Check(!finding.text.empty() && !finding.file.empty(), name + " without a text or a file");
        Check(finding.offset.value_or(0) <= (imageBytes | 1) || name == "damaged" || name == "submesh-count",
              name + " behind the end of the file");
        Check(finding.offset.has_value() || !kRefusals.contains(name), name + " without a place");
        Check((finding.line == 0) == (finding.column == 0), name + " has a line or a column alone");
        // The whole text: others quote names, and an input may have these words as one.
        Check(finding.text != "the saved file could not be read again", "a save can't be read again");
    }
    return result;
}

// A file is refused if and only if a load refuses it, and changed by a save if and only if a finding tells of it.
void ExpectTold(const CheckResult& result, bool isRead, const Bytes& file, const Bytes& saved)
{
    Check(isRead != Has(result, kRefusals),
          isRead ? "a file that can be read is refused" : "no finding tells that a file can't be read");
    if (!isRead)
        return;
    const bool isTold =
        std::any_of(result.findings.begin(), result.findings.end(), [](const Finding& finding) {
            return std::string_view(finding.code->name).starts_with("save-");
        });
    Check(isTold || saved == file, "no finding tells that a save changes the file");
    Check(!isTold || saved != file, "a finding tells of a save that changes nothing");
}

void CheckMeshBytes(const Bytes& input)
{
    CheckOptions options;
    std::uint32_t count = 0;
    std::copy_n(input.begin(), std::min(sizeof count, input.size()),
                reinterpret_cast<unsigned char*>(&count));
    options.submeshCount = count;
    const Bytes file(input.begin() + std::min<std::ptrdiff_t>(4, std::ssize(input)), input.end());
    const CheckResult result =
        Checked(file.size(), [&] { return CheckBytes(file.data(), file.size(), "a.mesh", options); });
    vlMeshData mesh;
    mesh.m_submeshCount = count;
    const bool isRead = mesh.ReadMeshFile(file.data(), file.size());
    ExpectTold(result, isRead, file, Written([&](std::FILE* stream) {
                   if (isRead)
                       mesh.WriteMeshFile(stream);
               }));
    options.submeshCount.reset();
    Checked(file.size(), [&] { return CheckBytes(file.data(), file.size(), "a.mesh", options); });
}

void CheckAnimationBytes(const Bytes& file)
{
    const CheckResult result =
        Checked(file.size(), [&] { return CheckBytes(file.data(), file.size(), "a.gis"); });
    vlAnimData anim;
    const bool isRead = anim.ReadAnimationFile(file.data(), static_cast<std::uint32_t>(file.size()),
                                               TheFolder().Path("a.gis"));
    // Of side files CheckBytes reads none.
    if ((isRead && anim.m_async != 0) || Has(result, {"save-refused"}))
        return;
    if (isRead || result.findings.empty() || anim.m_version < 0x60000)
        ExpectTold(result, isRead, file, test::Written([&](vlio::Sink& sink) {
                       if (isRead && !WhyUnwritable(anim))
                           anim::WriteFile(sink, anim);
                   }));
}

void CheckTrackBytes(const Bytes& file)
{
    const CheckResult result =
        Checked(file.size(), [&] { return CheckBytes(file.data(), file.size(), "a.track"); });
    const std::string path = TheFolder().Path("b.track");
    TheFolder().Put("b.track", file);
    vlTrackData track;
    const bool isRead = track.Load(path.c_str());
    if (isRead)
        track.Save(path.c_str());
    if (isRead || KindOfFile("a.track", file.data(), file.size()) == FileKind::Track)
        ExpectTold(result, isRead, file, TheFolder().Get("b.track"));
}

// With all the files that belong together.
void CheckFiles(const std::vector<const char*>& names, const std::vector<Bytes>& files)
{
    std::size_t size = 0;
    std::filesystem::create_directory(TheFolder().Path("a_gis"));
    for (std::size_t i = 0; i < names.size(); ++i) {
        TheFolder().Remove(names[i]);
        if (i >= files.size() || (i != 0 && files[i].empty()))
            continue;
        TheFolder().Put(names[i], files[i]);
        size += files[i].size();
    }
    CheckOptions options;
    options.base = TheFolder().Path("");
    Checked(size, [&] { return CheckFile(TheFolder().Path(names[0]).c_str(), options); });
    for (const char* name : names)
        TheFolder().Remove(name);
}

// A check that may take little says so, and takes no more.
void CheckLimit(const Bytes& file, const char* name)
{
    CheckOptions options;
    options.memoryLimit = 3 * file.size() + (64 << 10);
    const std::int64_t before = g_live;
    g_peak = before;
    static_cast<void>(CheckBytes(file.data(), file.size(), name, options));
    const std::int64_t held = g_peak - before, limit = static_cast<std::int64_t>(options.memoryLimit);
    // Beside what is counted lie the map of the blocks, a writer's piece, and the findings.
    Check(held <= limit + 64 * static_cast<std::int64_t>(file.size()) + (1 << 20),
          "a check that may hold " + std::to_string(limit) + " bytes held " + std::to_string(held));
}

}  // namespace

}  // namespace vela::vlgim::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vela::vlgim::fuzz;
    if (size == 0 || data[0] >= kNames.size())
        return 0;
    const std::vector<Bytes> files = SplitFiles(data + 1, size - 1);
    const Bytes whole(data + 1, data + size);
    switch (data[0]) {
    case kMesh:
        CheckMeshBytes(whole);
        break;
    case kGis:
        CheckAnimationBytes(files[0]);
        break;
    case kTrack:
        CheckTrackBytes(whole);
        break;
    default:
        break;
    }
    CheckFiles(kNames[data[0]], files);
    CheckLimit(files[0], kNames[data[0]][0]);
    return 0;
}
