#include "TrackBlock.h"
#include "TrackVersions.h"

#include <io/Errors.h>
#include <io/SaveFile.h>
#include <keys/KeyTimesBlock.h>
#include <keys/TransKeysBlock.h>

#include <algorithm>

namespace vela::vlgim {

namespace tracks {

Error WhyUnwritable(const vlTrackData& track)
{
    if (Error why = keys::WhyUnwritable(track.m_times))
        return why;
    if (Error why = io::WhyShort(track.m_channels, track.m_channelCount, "channels"))
        return why;
    const unsigned short keyCount = keys::WrittenKeyCount(track.m_times);
    for (unsigned i = 0; i < track.m_channelCount; ++i)
        if (Error why = keys::WhyUnwritable(track.m_channels[i], keyCount))
            return io::Inside("channel " + std::to_string(i), std::move(why));
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

void WriteFile(io::BlockWriter& out, vlTrackData& track)
{
    out.Run(kTrackMagic, sizeof kTrackMagic);
    out.Value(kNewestTrackVersion);
    out.Value(kTrackHeaderWord);
    Write(out, track);
}

}  // namespace tracks

Error WhyUnwritable(const vlTrackData& track)
{
    return tracks::WhyUnwritable(track);
}

Error Save(vlTrackData& track, const char* path, std::vector<Error>* warnings)
{
    if (Error why = WhyUnwritable(track)) {
        why.file = path;
        return why;
    }
    return io::SaveFile(path, warnings, [&track](vlio::Sink& sink) {
        io::BlockWriter out(sink);
        tracks::WriteFile(out, track);
        return Error();
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
    io::WriteStream(stream, "track can't be written", tracks::WhyUnwritable(*this),
                    [this](io::BlockWriter& out) { tracks::Write(out, *this); });
}

}  // namespace vela::vlgim
