#include "TrackBlock.h"
#include "TrackVersions.h"

#include <corecommon/Log.h>
#include <io/ArrayBlock.h>
#include <io/Errors.h>
#include <io/SaveFile.h>
#include <keys/KeyTimesBlock.h>
#include <keys/TransKeysBlock.h>
#include <vlio2/FileStream.h>

#include <cstring>
#include <system_error>
#include <utility>

namespace vela::vlgim {

namespace tracks {

namespace {

using io::Block;

// Everything of a block in front of the channels.
struct Head {
    const unsigned char* name;
    const unsigned char* options;
    std::uint16_t flags;
    unsigned short keyCount;
    const unsigned char* times;
    std::uint16_t channelCount;
};

Head ReadHead(io::BlockReader& in)
{
    Head head{};
    head.name = in.Take(Block::Names, 1, Name32::kSize);
    head.options = in.Take(4, 1);
    head.flags = in.Value<std::uint16_t>();
    head.keyCount = in.Value<unsigned short>();
    head.times = in.Take(Block::Times, head.keyCount, sizeof(float));
    head.channelCount = in.Value<std::uint16_t>();
    return head;
}

// Goes through the channels, planning their arrays, and hands each one on.
template <class Visit>
void WalkChannels(io::BlockReader& in, io::ArrayBlock& arrays, const Head& head, Visit visit)
{
    for (unsigned i = 0; i < head.channelCount && !in.Failed(); ++i) {
        const auto scope = in.Enter(Block::Channel, i);
        visit(i, keys::MeasureKeys(in, arrays, head.keyCount, 0));
    }
}

constexpr auto kMeasureOnly = [](unsigned, const keys::MeasuredKeys&) {};

// Version and header word; the magic has been looked at by whoever cares.
std::pair<std::uint32_t, std::uint16_t> ReadHeader(io::BlockReader& in)
{
    const auto scope = in.Enter(Block::Header);
    in.Take(1, sizeof kTrackMagic);
    const auto version = in.Value<std::uint32_t>(Block::VersionWord);
    return {version, in.Value<std::uint16_t>()};
}

}  // namespace

void Read(io::BlockReader& in, vlTrackData& track, std::int64_t number)
{
    const auto scope = in.Enter(Block::Track, number);
    const Head head = ReadHead(in);
    io::BlockReader again = in;
    io::ArrayBlock arrays;
    WalkChannels(in, arrays, head, kMeasureOnly);
    in.Spend(head.channelCount * sizeof(vlTransKeysData) + keys::TimesSize(head.keyCount));
    if (!arrays.Allocate(in))
        return;

    // The second walk plans the same arrays, so that nothing has to be kept of the first.
    const auto channels = Array<vlTransKeysData>::ForOverwrite(head.channelCount);
    io::ArrayBlock plan;
    WalkChannels(again, plan, head, [&](unsigned i, const keys::MeasuredKeys& block) {
        keys::FillKeys(block, arrays, channels[i]);
    });
    track.m_times = keys::TimesFrom(head.times, head.keyCount);
    track.m_channels = channels;
    track.m_channelCount = head.channelCount;
    Name32 name;
    io::CopyRun(&name, head.name, 1);
    track.m_name = Name32(name.View().substr(0, Name32::kSize - 1));
    std::memcpy(track.m_options, head.options, sizeof track.m_options);
    track.m_flags = FlagsReadAt(track.m_version, head.flags);
}

void Skip(io::BlockReader& in)
{
    const Head head = ReadHead(in);
    io::ArrayBlock none;
    WalkChannels(in, none, head, kMeasureOnly);
}

Error ReadFile(io::BlockReader& in, vlTrackData& track)
{
    io::BlockReader magic = in;
    const unsigned char* const start = magic.Take(1, sizeof kTrackMagic);
    if (!start || std::memcmp(start, kTrackMagic, sizeof kTrackMagic) != 0)
        return {ErrorKind::Magic, 0, {}, "header", 0, "a track begins with VTRK"};
    const auto version = magic.Value<std::uint32_t>();
    if (!magic.Failed())
        track.m_version = version;
    if (!magic.Failed() && (version < kOldestTrackVersion || version > kNewestTrackVersion))
        return {ErrorKind::Version,
                0,
                {},
                "header",
                sizeof kTrackMagic,
                "tracks of version 0x10000 and 0x10001 are read, and this is " + io::Hex(version)};
    const std::uint16_t word = ReadHeader(in).second;
    if (!in.Failed() && word != kTrackHeaderWord)
        return {ErrorKind::Magic, 0, {},
                "header",         8, "the header ends with " + std::to_string(word) + " in place of 256"};
    vlTrackData read;
    read.m_version = track.m_version;
    Read(in, read, 0);
    if (in.Failed())
        return in.WhyRefused().AsError();
    track = std::move(read);
    return {};
}

}  // namespace tracks

Error Load(vlTrackData& track, std::span<const unsigned char> file, const LoadOptions& options)
{
    io::BlockReader in(file);
    in.LimitMemory(options.memoryLimit);
    return tracks::ReadFile(in, track);
}

Error Load(vlTrackData& track, const char* path, const LoadOptions& options)
{
    vlio::Bytes bytes;
    Error error = vlio::ReadFile(path, bytes);
    if (!error)
        error = Load(track, bytes, options);
    return io::InFile(std::move(error), path);
}

bool vlTrackData::Load(const char* path)
{
    const Error error = vlgim::Load(*this, path);
    const bool isDenied = error.code == static_cast<int>(std::errc::permission_denied);
    switch (error.kind) {
    case ErrorKind::None:
        return true;
    case ErrorKind::NotFound:
        LogError("Track file %s is not found!", path);
        return false;
    case ErrorKind::Version:
        LogError("Track file %s version too %s!", path, m_version < kOldestTrackVersion ? "old" : "new");
        return false;
    case ErrorKind::Magic:
    case ErrorKind::Unreadable:
        break;
    default:
        LogError("track file is damaged: %s", vlio::WithoutFile(error).c_str());
    }
    LogError(isDenied ? "Track file %s is not found!" : "Bad format in track file %s!", path);
    return false;
}

const unsigned char* vlTrackData::ReadHeader(const unsigned char* data, const unsigned char* end)
{
    io::BlockReader in(data, end);
    const auto [version, word] = tracks::ReadHeader(in);
    if (in.Failed())
        return nullptr;
    m_version = version;
    return word == kTrackHeaderWord ? in.Position() : nullptr;
}

const unsigned char* vlTrackData::ReadData(const unsigned char* data, const unsigned char* end)
{
    io::BlockReader in(data, end);
    tracks::Read(in, *this);
    return in.Position();
}

}  // namespace vela::vlgim
