#include "TrackBlock.h"
#include "TrackVersions.h"

#include <corecommon/Log.h>
#include <io/ArrayBlock.h>
#include <io/Errors.h>
#include <io/SaveFile.h>
#include <keys/KeyTimesBlock.h>
#include <keys/TransKeysBlock.h>
#include <vlio2/FileStream.h>

#include <algorithm>
#include <cstring>
#include <system_error>
#include <utility>

namespace vela::vlgim {

namespace tracks {

namespace {

using io::Block;

// Everything of a block in front of the channels.
struct Head {
    Name32 name;
    std::uint32_t options;
    std::uint16_t flags;
    unsigned short keyCount;
    const unsigned char* times;
    std::uint16_t channelCount;
};

Head ReadHead(io::BlockReader& in)
{
    Head head{};
    if (const unsigned char* name = in.Take(Block::Names, 1, Name32::kSize))
        io::CopyRun(&head.name, name, 1);
    head.options = in.Value<std::uint32_t>();
    head.flags = in.Value<std::uint16_t>();
    head.keyCount = in.Value<unsigned short>();
    head.times = in.Take(Block::Times, head.keyCount, sizeof(float));
    head.channelCount = in.Value<std::uint16_t>();
    return head;
}

// channels  made and filled in the second pass
void ReadChannels(const io::Pass& pass, const Head& head, Array<vlTransKeysData>& channels)
{
    if (pass.arrays)
        channels = Array<vlTransKeysData>::ForOverwrite(head.channelCount);
    for (unsigned i = 0; i < head.channelCount && !pass.in.Failed(); ++i) {
        const auto scope = pass.in.Enter(Block::Channel, i);
        keys::Read(pass, head.keyCount, 0, pass.arrays ? &channels[i] : nullptr);
    }
}

struct Header {
    const unsigned char* magic;  // null: the file is shorter
    std::uint32_t version;
    bool hasVersion;
    std::uint16_t word;
};

Header ReadHeader(io::BlockReader& in)
{
    const auto scope = in.Enter(Block::Header);
    Header header{};
    header.magic = in.Take(1, sizeof kTrackMagic);
    header.version = in.Value<std::uint32_t>(Block::VersionWord);
    header.hasVersion = !in.Failed();
    header.word = in.Value<std::uint16_t>();
    return header;
}

}  // namespace

void Read(io::BlockReader& in, vlTrackData& track, std::int64_t number)
{
    const auto scope = in.Enter(Block::Track, number);
    const Head head = ReadHead(in);
    Array<vlTransKeysData> channels;
    io::ReadTwice(in, [&](const io::Pass& pass) {
        ReadChannels(pass, head, channels);
        if (!pass.arrays)
            in.Spend(head.channelCount * sizeof(vlTransKeysData) + keys::TimesSize(head.keyCount));
    });
    if (in.Failed())
        return;
    track.m_times = keys::TimesFrom(head.times, head.keyCount);
    track.m_channels = channels;
    track.m_channelCount = head.channelCount;
    track.m_name = Name32(head.name.View().substr(0, Name32::kSize - 1));
    std::memcpy(track.m_options, &head.options, sizeof track.m_options);
    track.m_flags = FlagsReadAt(track.m_version, head.flags);
}

void Skip(io::BlockReader& in)
{
    const Head head = ReadHead(in);
    io::ArrayBlock plan;
    Array<vlTransKeysData> none;
    ReadChannels({in, plan}, head, none);
}

Error ReadFile(io::BlockReader& in, vlTrackData& track)
{
    const Header header = ReadHeader(in);
    if (!header.magic || std::memcmp(header.magic, kTrackMagic, sizeof kTrackMagic) != 0)
        return io::BadHeader(ErrorKind::Magic, 0, "a track begins with VTRK");
    if (header.hasVersion) {
        track.m_version = header.version;
        if (header.version < kOldestTrackVersion || header.version > kNewestTrackVersion)
            return io::BadVersion("tracks of version 0x10000 and 0x10001", header.version);
    }
    if (!in.Failed() && header.word != kTrackHeaderWord)
        return io::BadHeader(ErrorKind::Magic, 8,
                             "the header ends with " + std::to_string(header.word) + " in place of 256");
    vlTrackData read;
    read.m_version = track.m_version;
    Read(in, read, 0);
    if (in.Failed())
        return in.WhyRefused().AsError();
    track = std::move(read);
    return {};
}

std::uint64_t LargestSize(const vlTrackData& track)
{
    const std::uint64_t keys = track.GetKeyCount();
    return 42 + 4 * keys + std::uint64_t{track.m_channelCount} * (4 + 40 * std::max<std::uint64_t>(keys, 1));
}

void Write(io::BlockWriter& out, vlTrackData& track)
{
    const unsigned short keyCount = keys::WrittenKeyCount(track.m_times);
    out.Run(&track.m_name, 1);
    out.Run(track.m_options, sizeof track.m_options);
    out.Value(track.m_flags);
    out.Value(keyCount);
    out.Run(track.m_times.GetKeyTimes(), keyCount);
    out.Value(track.m_channelCount);
    for (unsigned i = 0; i < track.m_channelCount; ++i) {
        vlTransKeysData& channel = track.m_channels[i];
        channel.m_keyCount = keyCount;
        channel.m_compressFlags = 0;  // a track has no place that would tell of another form
        keys::Write(out, channel);
    }
}

void WriteFile(vlio::Sink& sink, vlTrackData& track)
{
    io::BlockWriter out(sink);
    out.Run(kTrackMagic, sizeof kTrackMagic);
    out.Value(kNewestTrackVersion);
    out.Value(kTrackHeaderWord);
    Write(out, track);
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
    if (error.kind == ErrorKind::NotFound || error.code == static_cast<int>(std::errc::permission_denied)) {
        LogError("Track file %s is not found!", path);
    } else if (error.kind == ErrorKind::Version) {
        LogError("Track file %s version too %s!", path, m_version < kOldestTrackVersion ? "old" : "new");
    } else if (error) {
        if (error.kind != ErrorKind::Magic && error.kind != ErrorKind::Unreadable)
            LogError("track file is damaged: %s", vlio::WithoutFile(error).c_str());
        LogError("Bad format in track file %s!", path);
    }
    return !error;
}

const unsigned char* vlTrackData::ReadHeader(const unsigned char* data, const unsigned char* end)
{
    io::BlockReader in(data, end);
    const tracks::Header header = tracks::ReadHeader(in);
    if (in.Failed())
        return nullptr;
    m_version = header.version;
    return header.word == kTrackHeaderWord ? in.Position() : nullptr;
}

const unsigned char* vlTrackData::ReadData(const unsigned char* data, const unsigned char* end)
{
    io::BlockReader in(data, end);
    tracks::Read(in, *this);
    return in.Position();
}

Error WhyUnwritable(const vlTrackData& track)
{
    if (Error why = keys::WhyUnwritable(track.m_times))
        return why;
    if (Error why = io::WhyShort(track.m_channels, track.m_channelCount, "channels"))
        return why;
    const unsigned short keyCount = keys::WrittenKeyCount(track.m_times);
    return io::FirstInside(io::Block::Channel, track.m_channelCount,
                           [&](std::size_t i) { return keys::WhyUnwritable(track.m_channels[i], keyCount); });
}

Error Save(vlTrackData& track, const char* path, std::vector<Error>* warnings)
{
    if (Error why = WhyUnwritable(track))
        return io::InFile(std::move(why), path);
    return io::SaveSet(warnings, [&](vlio::FileWriter& set) {
        vlio::Sink* sink = nullptr;
        Error error = set.Open(path, sink);
        if (!error)
            tracks::WriteFile(*sink, track);
        return error;
    });
}

void vlTrackData::Save(const char* path)
{
    std::vector<Error> warnings;
    const Error error = vlgim::Save(*this, path, &warnings);
    vlio::LogWarnings(warnings, nullptr);
    vlio::LogFailure(error, "track file");
}

void vlTrackData::WriteData(std::FILE* stream)
{
    io::WriteStream(stream, "track can't be written", WhyUnwritable(*this),
                    [this](io::BlockWriter& out) { tracks::Write(out, *this); });
}

}  // namespace vela::vlgim
