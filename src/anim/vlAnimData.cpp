#include <vlgim/vlAnimData.h>

#include "AnimVersions.h"
#include "ClipBlock.h"
#include "SidePaths.h"

#include <basekit/StringAlgo.h>
#include <corecommon/Log.h>
#include <io/ArrayBlock.h>
#include <nameid/NameID.h>
#include <vlio2/FileStream.h>

#include <cstring>
#include <set>
#include <utility>

namespace vela::vlgim {

namespace {

constexpr std::uint32_t kHeaderSize = 8;

// No file is shorter, whatever it holds; readers have always asked for as much.
constexpr std::int32_t kLeastLength = 40;

constexpr unsigned kBranches = 5;

static_assert(sizeof(vlTransInfo) == 40);  // as in the file: position, rotation, scale

void LogDamage(const io::BlockReader& in, const std::string& where)
{
    LogError("gis file is damaged: %s%s", where.c_str(), Describe(in.WhyRefused()).c_str());
}

// A name that fills its field has no NUL to stop at.
void LowerName(char (&name)[32])
{
    char text[sizeof name + 1] = {};
    std::memcpy(text, name, sizeof name);
    kit::StringAlgo::ToLower(text);
    std::memcpy(name, text, sizeof name);
}

}  // namespace

bool vlAnimData::ReadAnimationFile(const unsigned char* data, std::uint32_t length, const std::string& path)
{
    vlAnimData read;
    read.m_path = path;
    const bool whole = read.ReadVersion(data, length);
    if (!whole) {
        vlAnimData refused;
        refused.m_path = std::move(read.m_path);
        refused.m_version = read.m_version;
        read = std::move(refused);
    }
    *this = std::move(read);
    return whole;
}

bool vlAnimData::ReadVersion(const unsigned char* data, std::uint32_t length)
{
    if (data && length >= kHeaderSize)
        io::CopyRun(&m_version, data + 4, 1);
    // From 2 GiB on a length counts as negative.
    if (!data || !IsSuitable(data, static_cast<std::int32_t>(length))) {
        LogError("Bad format in skeletal animation file!");
        return false;
    }
    m_version &= 0xFFFFFF;

    const unsigned char* body = data + kHeaderSize;
    const std::uint32_t major = m_version >> 16;
    bool whole = false;
    if (major >= 5) {
        io::BlockReader in(data, data + length, "header");
        in.Seek(kHeaderSize);
        whole = ReadFile_Version5(in);
    } else {
        whole = (major == 4   ? ReadFile_Version4(body)
                 : major == 3 ? ReadFile_Version3(body)
                              : ReadFile_Version2(body)) != nullptr;
    }
    if (!whole)
        LogError("Bad format in skeletal animation, version %u.x!", major >= 5 ? 5U : major);
    return whole;
}

bool vlAnimData::IsSuitable(const unsigned char* data, std::int32_t length) const
{
    if (length < kLeastLength || std::memcmp(data, "RGIS", 4) != 0)
        return false;
    const std::uint32_t version = m_version & 0xFFFFFF;
    if (m_version >> 24 >= kBranches) {
        LogError("Skeletal animation file version is not suitable for current branch!");
        return false;
    }
    if (version < kOldestGisVersion) {
        LogError("Skeletal animation file version too old!");
        return false;
    }
    if (version > kNewestGisVersion) {
        LogError("Skeletal animation file version too new!");
        return false;
    }
    return true;
}

bool vlAnimData::ReadFile_Version5(io::BlockReader& in)
{
    ReadHead(in);
    if (in.Failed()) {
        LogDamage(in, "");
        return false;
    }
    return m_async == 0 ? ReadClips(in) : ReadSideFiles(in);
}

// Everything ahead of the clips, of which there are as many as they are counted, all null.
void vlAnimData::ReadHead(io::BlockReader& in)
{
    in.Enter("clip count");
    const auto clipCount = in.Value<std::uint16_t>();
    in.Spend(clipCount * sizeof m_clips[0]);
    if (m_version >= kSkeleton) {
        ReadBonesData(in);
        in.Enter("side files");
        m_async = in.Value<std::uint32_t>();
        if (m_async != 0 && m_version >= kSideFiles)
            in.Take(1,
                    sizeof(std::uint32_t));  // the size of a base info record, which has only ever been one
    }
    if (!in.Failed())
        m_clips.resize(clipCount);
}

void vlAnimData::ReadBonesData(io::BlockReader& in)
{
    in.Enter("bones");
    const auto boneCount = in.Value<std::uint32_t>();
    if (boneCount > kMaxBones)
        in.Refuse(boneCount, kMaxBones);
    const unsigned char* names = in.Take(boneCount, 32);
    const unsigned char* trans = in.Take(boneCount, sizeof(vlTransInfo));
    io::ArrayBlock arrays;
    const auto nameSlot = arrays.Plan<char[32]>(boneCount);
    const auto transSlot = arrays.Plan<vlTransInfo>(boneCount);
    if (!arrays.Allocate(in))
        return;
    m_boneCount = boneCount;
    m_boneNames = arrays.Array(nameSlot);
    m_boneTrans = arrays.Array(transSlot);
    io::CopyRun(&m_boneNames[0][0], names, std::uint64_t{boneCount} * 32);
    io::CopyRun(m_boneTrans.get(), trans, boneCount);
    for (unsigned i = 0; i < boneCount; ++i) {
        LowerName(m_boneNames[i]);
        m_boneNameIds[i] = NameIDMurmur3(std::string_view(m_boneNames[i], strnlen(m_boneNames[i], 32)));
    }
    for (unsigned i = 0; i < boneCount; ++i)
        if (m_boneNames[i][31] != 0)
            LogError("incorrect gis file!");
}

// All clips are measured ahead of the first that is filled, so that their arrays lie in one block: the C library
// keeps that for the next file, where many small ones went back to the system and were faulted in anew.
bool vlAnimData::ReadClips(io::BlockReader& in)
{
    io::BlockReader again = in;
    io::ArrayBlock arrays, plan;
    for (std::size_t i = 0; i < m_clips.size(); ++i) {
        in.Enter("clip info");
        if (in.Spend(sizeof(vlClipData))) {
            m_clips[i] = std::make_shared_for_overwrite<vlClipData>();
            clips::Measure(in, arrays, m_version, *m_clips[i]);
        }
        if (!arrays.IsAffordable(in)) {
            LogDamage(in, "clip " + std::to_string(i) + ": ");
            return false;
        }
    }
    if (!arrays.Allocate(in))
        return false;  // never: the budget was asked with the last clip, and has not changed
    for (const auto& clip : m_clips)
        clips::Fill(again, plan, arrays, m_version, kHeaderSize, *clip);
    return true;
}

bool vlAnimData::ReadSideFiles(io::BlockReader& in)
{
    const auto folder = anim::SideFolder(m_path);
    if (!folder) {
        LogError("Unable to open seperate animation file %s", m_path.c_str());
        return false;
    }
    std::set<std::string> read;
    for (std::size_t i = 0; i < m_clips.size(); ++i) {
        in.Enter("base info");
        if (in.Spend(sizeof(vlClipData))) {
            m_clips[i] = std::make_shared_for_overwrite<vlClipData>();
            if (m_version >= kSideFiles)
                clips::ReadBaseInfo(in, *m_clips[i]);
        }
        if (in.Failed()) {
            LogDamage(in, "clip " + std::to_string(i) + ": ");
            return false;
        }
        if (m_version >= kSideFiles) {
            const std::string path = anim::SidePath(*folder, *m_clips[i]);
            // However many clips name a file, its bytes allow for their memory once.
            if (!ReadSideFile(path, i, in, read.insert(path).second))
                return false;
        }
    }
    return true;
}

bool vlAnimData::ReadSideFile(const std::string& path, std::size_t slot, io::BlockReader& load, bool isNew)
{
    const bool leaves = anim::LeavesFolder(anim::ClipName(*m_clips[slot]));
    if (!leaves && !vlio::FileStream::Exists(path.c_str(), vlio::FILE_SYSTEM_ANY)) {
        m_clips[slot].reset();
        return true;
    }
    vlio::Bytes bytes;
    if (leaves || !vlio::FileStream::ReadAllBinary(path.c_str(), bytes, vlio::FILE_SYSTEM_CLIP)) {
        LogError("Failed to read file : %s\n", path.c_str());
        return false;
    }
    io::BlockReader in(bytes.data(), bytes.data() + bytes.size(), "clip info");
    in.JoinBudget(load, isNew ? bytes.size() : 0);
    io::BlockReader again = in;
    io::ArrayBlock arrays, plan;
    clips::Measure(in, arrays, m_version, *m_clips[slot]);
    if (arrays.Allocate(in))
        clips::Fill(again, plan, arrays, m_version, 0, *m_clips[slot]);
    load.JoinBudget(in, 0);
    if (in.Failed())
        LogDamage(in, "clip " + std::to_string(slot) + " in " + path + ": ");
    return !in.Failed();
}

}  // namespace vela::vlgim
