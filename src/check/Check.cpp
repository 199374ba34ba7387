#include "Check.h"

#include <basekit/StringAlgo.h>
#include <corecommon/Log.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <system_error>

namespace vela::vlgim {

namespace check {

namespace {

bool EqualsIgnoringCase(std::string a, std::string b)
{
    kit::StringAlgo::ToLower(a.data());
    kit::StringAlgo::ToLower(b.data());
    return a == b;
}

// The name in a folder that is spelled as `name` but for upper and lower case; empty where there is none, or not among the
// first so many: each of the models in a large folder may miss a file.
std::string InFolderIgnoringCase(const std::filesystem::path& folder, const std::string& name)
{
    constexpr int kMostEntries = 4096;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (int i = 0; !error && i < kMostEntries && entry != std::filesystem::directory_iterator(); ++i) {
        std::string found = entry->path().filename().string();
        if (EqualsIgnoringCase(found, name))
            return found;
        entry.increment(error);
    }
    return {};
}

// The path of an existing file that is spelled as `path` but for upper and lower case; empty where there is none.
std::string FindIgnoringCase(const std::filesystem::path& path)
{
    std::filesystem::path found;
    std::error_code error;
    for (const std::filesystem::path& component : path) {
        if (std::filesystem::exists(found / component, error)) {
            found /= component;
            continue;
        }
        const std::string name = InFolderIgnoringCase(found.empty() ? "." : found, component.string());
        if (name.empty())
            return {};
        found /= name;
    }
    return found.string();
}

// Why a file can't be read, as far as the system tells.
std::string WhyUnreadable(const std::string& path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (error)
        return error.message();
    if (std::filesystem::is_directory(status))
        return "it is a folder";
    if (!std::filesystem::is_regular_file(status))
        return "it is a pipe or a device";
    return "the system does not let it be read, or it changed meanwhile";
}

std::uint64_t SizeOf(const std::string& path)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    return error ? 0 : size;
}

bool StartsWith(const unsigned char* data, std::size_t size, std::string_view magic)
{
    return size >= magic.size() && std::memcmp(data, magic.data(), magic.size()) == 0;
}

void CheckImage(Session& session, FileReport& report, const vlio::Bytes& image, bool withFiles)
{
    vlio::XmlData document;
    switch (KindOfFile(report.Path(), image.data(), image.size())) {
    case FileKind::Model:
        return CheckManifest(session, report, image, withFiles);
    case FileKind::Mesh:
        return CheckMeshAlone(session, report, image, withFiles);
    case FileKind::Animation:
        return CheckAnimation(session, report, image, withFiles);
    case FileKind::Track:
        return CheckTrack(session, report, image);
    case FileKind::Document:
        CheckDocument(session, report, image, document);
        return;
    case FileKind::Unknown:
        report.Add(Code::UnknownKind, {}, "neither its name nor its first bytes are those of a model's file");
    }
}

// Runs a check on this thread, whose messages are findings here and nobody's log.
template <class Run>
CheckResult RunCheck(const CheckOptions& options, Run run)
{
    const ThreadLogSink noLog(nullptr, nullptr);
    Session session(options);
    try {
        run(session);
    } catch (const Cancelled&) {
        return session.Finish(true);
    }
    return session.Finish(false);
}

}  // namespace

void ReportMissing(FileReport& by, const Where& where, const std::string& path)
{
    if (!by.Keeps(Code::MissingFile))
        return by.Add(Code::MissingFile, where, "");
    const std::string other = FindIgnoringCase(path);
    by.Add(Code::MissingFile, where,
           path + " is not there" +
               (other.empty() ? "" : "; there is " + other + ", which differs in upper and lower case"));
}

FileReport* ReadFile(Session& session, const std::string& path, vlio::Bytes& image, FileReport* by,
                     const Where& where)
{
    const bool exists = vlio::FileStream::Exists(path.c_str(), vlio::FILE_SYSTEM_ANY);
    if (!exists && by)
        ReportMissing(*by, where, path);
    if (!exists)
        return nullptr;
    if (SizeOf(path) > session.Options().memoryLimit) {
        session.BeginUnread(path).Add(Code::MemoryLimit, {},
                                      "the file is larger than a check may take memory");
        return nullptr;
    }
    if (!vlio::FileStream::ReadAllBinary(path.c_str(), image, vlio::FILE_SYSTEM_ANY)) {
        session.BeginUnread(path).Add(Code::Unreadable, {}, "the file can't be read: " + WhyUnreadable(path));
        return nullptr;
    }
    return &session.Begin(path, image.size());
}

void ReportRefusal(FileReport& report, const io::BlockReader& in, const Places& places, std::uint64_t size)
{
    const io::Refusal& why = in.WhyRefused();
    const std::string needed = std::to_string(why.needed), left = std::to_string(why.left);
    std::string text = "a count of " + needed + " stands here, and " + left + " is the most";
    if (why.offset > size)
        text = "an offset leads here, and the file has " + std::to_string(size) + " bytes";
    else if (why.kind == io::Refusal::kBytes)
        text = needed + " bytes should follow, and " + left + (why.left == 1 ? " is" : " are") +
               " left of the file";
    else if (why.kind == io::Refusal::kMemory)
        text = "its counts ask for " + needed + " bytes of memory, and " + left + " are allowed";
    report.Add(in.HitLimit() ? Code::MemoryLimit : Code::Damaged,
               {places.Path(places.Count() - 1), why.offset}, text);
}

std::string NameOf(const char (&name)[32])
{
    return {name, strnlen(name, sizeof name)};
}

Tally ChangedNames(const vlio::Bytes& image, std::uint64_t offset, const char (*names)[32],
                   std::uint32_t count)
{
    Tally changed;
    for (std::uint32_t i = 0; i < count; ++i)
        if (std::memcmp(image.data() + offset + sizeof names[i] * i, names[i], sizeof names[i]) != 0)
            changed.Add(i);
    return changed;
}

void CheckBoneNames(FileReport& report, const std::string& block, const vlio::Bytes& image,
                    std::uint64_t offset, const char (*names)[32], std::uint32_t count)
{
    std::map<std::string, std::uint32_t> first;
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto [other, isNew] = first.emplace(NameOf(names[i]), i);
        if (!isNew)
            report.Add(Code::BoneName, {block, offset + sizeof names[i] * i},
                       "bones " + std::to_string(other->second) + " and " + std::to_string(i) +
                           " are both named " + other->first);
    }
    const Tally changed = ChangedNames(image, offset, names, count);
    if (changed.count == 0)
        return;
    const std::uint64_t at = offset + sizeof names[0] * changed.first;
    const auto* stored = reinterpret_cast<const char*>(image.data() + at);
    report.Add(Code::SaveLowerCase, {block, at},
               Counted(changed.count, "bone has", "bones have") +
                   " upper case letters in the name, the first is " +
                   std::string(stored, strnlen(stored, sizeof names[0])));
}

bool CheckSaved(Session& session, FileReport& report, const vlio::Bytes& image, const Places& places,
                SavedImage& saved, std::uint64_t held, const std::function<void(io::BlockReader&)>& read,
                const std::function<void(std::size_t, ByteSpan, ByteSpan)>& visit)
{
    session.Step(report);
    if (saved.IsSame())
        return true;
    if (saved.IsCut()) {
        report.Add(Code::MemoryLimit, {}, "what a save would write takes too much memory");
        return false;
    }
    const vlio::Bytes& written = saved.Whole();
    io::BlockReader in(written.data(), written.data() + written.size(), places[0].block);
    io::BlockMap map;
    in.Trace(map);
    in.LimitMemory(session.Left(held + written.size()));
    read(in);
    map.End(in.Offset());
    session.Step(report);
    if (in.Failed()) {
        report.Add(in.HitLimit() ? Code::MemoryLimit : Code::SaveRefused, {},
                   in.HitLimit() ? "reading what a save would write takes too much memory"
                                 : "what a save would write could not be read again");
        return false;
    }
    const auto bytes = [](const vlio::Bytes& file, const io::BlockMap::Place& place) {
        return ByteSpan(file).subspan(place.offset, place.end - place.offset);
    };
    const Places now(map);
    ForEachChange(image.data(), places, written.data(), now, [&](std::size_t old, std::size_t place) {
        if (place != Places::kNone)
            visit(old, bytes(image, places[old]), bytes(written, now[place]));
    });
    return true;
}

void ReportChangedTrack(FileReport& report, const Where& where, const unsigned char* old,
                        const unsigned char* now)
{
    if (std::memcmp(old, now, sizeof(vlTrackData::m_name)) != 0)
        report.Add(Code::SaveEndsNames, where,
                   "a save sets the bytes behind the end of the track's name to 0");
    else
        report.Add(Code::SaveChanges, where,
                   "a save writes the flags that the old ones of the track stand for");
}

void ReportChangedKeys(FileReport& report, const Where& where, const unsigned char* old,
                       const unsigned char* now)
{
    constexpr std::size_t kKeyedBytes = 3;
    if (std::memcmp(old, now, kKeyedBytes) != 0)
        report.Add(Code::SaveCollapsesKeys, where, "a save writes keys once that are all alike");
    else
        report.Add(Code::SaveRecodesKeys, where, "a save works the codes of keys out anew");
}

void ReportUnread(FileReport& report, const Places& places, std::uint64_t size,
                  const std::vector<std::uint32_t>& known)
{
    std::vector<io::BlockMap::Place> blocks;
    for (std::size_t i = 0; i < places.Count(); ++i)
        blocks.push_back(places[i]);
    std::sort(blocks.begin(), blocks.end(), [](const auto& a, const auto& b) { return a.offset < b.offset; });
    blocks.push_back({"", -1, size, size});
    std::uint64_t covered = 0;
    for (const io::BlockMap::Place& block : blocks) {
        if (block.offset < covered && block.end > block.offset)
            report.Add(Code::BlocksOverlap, {block.block, block.offset},
                       std::string("the block ") + block.block +
                           " begins inside of another, which ends at byte " + std::to_string(covered));
        if (block.offset > covered && std::find(known.begin(), known.end(), covered) == known.end())
            report.Add(Code::SaveDropsBytes, {"", covered},
                       std::to_string(block.offset - covered) + " bytes from here on belong to no block" +
                           (block.offset == size ? ", up to the end of the file" : ""));
        covered = std::max(covered, block.end);
    }
}

}  // namespace check

FileKind KindOfFile(std::string_view path, const unsigned char* data, std::size_t size)
{
    std::string lower(path);
    kit::StringAlgo::ToLower(lower.data());
    if (lower.ends_with(".gim"))
        return FileKind::Model;
    if (lower.ends_with(".mesh"))
        return FileKind::Mesh;
    if (lower.ends_with(".mtg") || lower.ends_with(".ags"))
        return FileKind::Document;
    // A clip's side file has the extension of an animation, and lies in a folder of its own.
    if (lower.ends_with(".gis") &&
        (check::StartsWith(data, size, "RGIS") ||
         !std::filesystem::path(lower).parent_path().filename().string().ends_with("_gis")))
        return FileKind::Animation;
    if (check::StartsWith(data, size, "VTRK"))
        return FileKind::Track;
    if (check::StartsWith(data, size, "RGIS"))
        return FileKind::Animation;
    if (check::StartsWith(data, size, "\x34\x80\xC8\xBB"))
        return FileKind::Mesh;
    const bool isDocument = check::StartsWith(data, size, "<?xml") || check::StartsWith(data, size, "<Vela");
    return isDocument ? FileKind::Document : FileKind::Unknown;
}

CheckResult CheckFile(const char* path, const CheckOptions& options)
{
    return check::RunCheck(options, [&](check::Session& session) {
        std::string place = path;
        vlio::Bytes image;
        if (!vlio::FileStream::Exists(path, vlio::FILE_SYSTEM_ANY))
            return session.BeginUnread(path).Add(check::Code::Unreadable, {}, "the file is not there");
        if (check::FileReport* report = check::ReadFile(session, place, image))
            check::CheckImage(session, *report, image, true);
    });
}

CheckResult CheckBytes(const unsigned char* data, std::size_t size, const char* path,
                       const CheckOptions& options)
{
    return check::RunCheck(options, [&](check::Session& session) {
        if (size > options.memoryLimit)
            return session.BeginUnread(path).Add(check::Code::MemoryLimit, {},
                                                 "the file is larger than a check may take memory");
        check::CheckImage(session, session.Begin(path, size), vlio::Bytes(data, data + size), false);
    });
}

}  // namespace vela::vlgim
