#include "TrackBlock.h"
#include "TrackVersions.h"

#include <corecommon/Log.h>
#include <io/ArrayBlock.h>
#include <keys/KeyTimesBlock.h>
#include <keys/TransKeysBlock.h>
#include <vlio2/FileStream.h>

#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace vela::vlgim {

namespace {

// Everything of a block ahead of the channels.
struct Head {
    std::string_view name;
    const unsigned char* options;
    std::uint16_t flags;
    unsigned short keyCount;
    const unsigned char* times;
    std::uint16_t channelCount;
};

Head ReadHead(io::BlockReader& in)
{
    in.Enter("track");
    Head head{};
    head.name = in.Name();
    head.options = in.Take(4, 1);
    head.flags = in.Value<std::uint16_t>();
    head.keyCount = in.Value<unsigned short>();
    head.times = in.Take(head.keyCount, sizeof(float));
    head.channelCount = in.Value<std::uint16_t>();
    return head;
}

// Goes through the channels, planning their arrays, and hands each one on.
template <class Visit>
void WalkChannels(io::BlockReader& in, io::ArrayBlock& arrays, const Head& head, Visit visit)
{
    for (unsigned i = 0; i < head.channelCount && !in.Failed(); ++i) {
        in.Enter("channel", i);
        visit(i, keys::MeasureKeys(in, arrays, head.keyCount, 0));
    }
}

constexpr auto kMeasureOnly = [](unsigned, const keys::MeasuredKeys&) {};

// Version and header word; the magic has been looked at by whoever cares.
std::pair<std::uint32_t, std::uint16_t> HeaderFields(io::BlockReader& in)
{
    in.Take(1, sizeof kTrackMagic);
    const auto version = in.Value<std::uint32_t>();
    return {version, in.Value<std::uint16_t>()};
}

// fopen would tell the same, but wait for the writer of a pipe.
bool CanOpen(const char* path)
{
    return ::faccessat(AT_FDCWD, path, R_OK, AT_EACCESS) == 0;
}

}  // namespace

namespace tracks {

void Read(io::BlockReader& in, vlTrackData& track)
{
    const Head head = ReadHead(in);
    io::BlockReader again = in;
    io::ArrayBlock arrays;
    WalkChannels(in, arrays, head, kMeasureOnly);
    in.Spend(head.channelCount * sizeof(vlTransKeysData) + keys::TimesSize(head.keyCount));
    if (!arrays.Allocate(in))
        return;

    // The second walk plans the same arrays, so that nothing has to be kept of the first.
    const auto channels = std::make_shared_for_overwrite<vlTransKeysData[]>(head.channelCount);
    io::ArrayBlock plan;
    WalkChannels(again, plan, head, [&](unsigned i, const keys::MeasuredKeys& block) {
        keys::FillKeys(block, arrays, channels[i]);
    });
    track.m_times = keys::TimesFrom(head.times, head.keyCount);
    track.m_channels = channels;
    track.m_channelCount = head.channelCount;
    std::memset(track.m_name, 0, sizeof track.m_name);
    head.name.copy(track.m_name, sizeof track.m_name - 1);
    std::memcpy(track.m_options, head.options, sizeof track.m_options);
    track.m_flags = FlagsReadAt(track.m_version, head.flags);
}

void Skip(io::BlockReader& in)
{
    const Head head = ReadHead(in);
    io::ArrayBlock none;
    WalkChannels(in, none, head, kMeasureOnly);
}

}  // namespace tracks

bool vlTrackData::Load(const char* path)
{
    vlio::Bytes bytes;
    if (!vlio::FileStream::ReadAllBinary(path, bytes, vlio::FILE_SYSTEM_ANY) && !CanOpen(path)) {
        LogError("Track file %s is not found!", path);
        return false;
    }
    if (!IsValidTrackFile(bytes.data(), bytes.size())) {
        LogError("Bad format in track file %s!", path);
        return false;
    }
    io::BlockReader in(bytes.data(), bytes.data() + bytes.size(), "header");
    in.Seek(sizeof kTrackMagic);
    const auto version = in.Value<std::uint32_t>();
    if (!in.Failed()) {
        m_version = version;
        if (version < kOldestTrackVersion) {
            LogError("Track file %s version too old!", path);
            return false;
        }
        if (version > kNewestTrackVersion) {
            LogError("Track file %s version too new!", path);
            return false;
        }
    }
    in.Seek(0);
    if (ReadFile(in))
        return true;
    if (in.Failed())
        LogError("track file is damaged: %s", Describe(in.WhyRefused()).c_str());
    LogError("Bad format in track file %s!", path);
    return false;
}

bool vlTrackData::IsValidTrackFile(const void* data, std::size_t size)
{
    return size >= sizeof kTrackMagic && std::memcmp(data, kTrackMagic, sizeof kTrackMagic) == 0;
}

bool vlTrackData::ReadFile(io::BlockReader& in)
{
    if (HeaderFields(in).second != kTrackHeaderWord)
        return false;
    vlTrackData read;
    read.m_version = m_version;
    tracks::Read(in, read);
    *this = std::move(read);
    return !in.Failed();
}

const unsigned char* vlTrackData::ReadHeader(const unsigned char* data, const unsigned char* end)
{
    io::BlockReader in(data, end, "header");
    const auto [version, word] = HeaderFields(in);
    if (in.Failed())
        return nullptr;
    m_version = version;
    return word == kTrackHeaderWord ? in.Position() : nullptr;
}

const unsigned char* vlTrackData::ReadData(const unsigned char* data, const unsigned char* end)
{
    io::BlockReader in(data, end, "track");
    tracks::Read(in, *this);
    return in.Position();
}

}  // namespace vela::vlgim
