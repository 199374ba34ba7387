#include "TrackBlock.h"
#include "TrackVersions.h"

#include <corecommon/Log.h>
#include <keys/KeyTimesBlock.h>
#include <keys/TransKeysBlock.h>
#include <vlio2/FileWriter.h>

namespace vela::vlgim {

namespace tracks {

std::string WhyUnwritable(const vlTrackData& track, keys::UnsetCounts* counts)
{
    if (!track.m_channels && track.m_channelCount != 0)
        return "no array holds its channels";
    const unsigned short keyCount = keys::WrittenKeyCount(track.m_times);
    for (unsigned i = 0; i < track.m_channelCount; ++i)
        if (const std::string reason = keys::WhyUnwritable(track.m_channels[i], keyCount, counts);
            !reason.empty())
            return "channel " + std::to_string(i) + ": " + reason;
    return {};
}

void Write(io::BlockWriter& out, vlTrackData& track)
{
    const unsigned short keyCount = keys::WrittenKeyCount(track.m_times);
    out.Run(track.m_name, sizeof track.m_name);
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

}  // namespace tracks

void vlTrackData::Save(const char* path)
{
    if (const std::string reason = tracks::WhyUnwritable(*this); !reason.empty()) {
        LogError("track file %s can't be written: %s", path, reason.c_str());
        return;
    }
    vlio::FileWriter file;
    std::FILE* stream = file.Open(path);
    if (!stream) {
        LogError("unable to open %s", path);
        return;
    }
    WriteFile(stream);
    file.Commit();  // says itself what went wrong
}

void vlTrackData::WriteFile(std::FILE* stream)
{
    io::BlockWriter out(stream);
    WriteHeader(out);
    tracks::Write(out, *this);
}

void vlTrackData::WriteHeader(io::BlockWriter& out)
{
    out.Run(kTrackMagic, sizeof kTrackMagic);
    out.Value(kNewestTrackVersion);
    out.Value(kTrackHeaderWord);
}

void vlTrackData::WriteData(std::FILE* stream)
{
    if (const std::string reason = tracks::WhyUnwritable(*this); !reason.empty()) {
        LogError("track can't be written: %s", reason.c_str());
        return;
    }
    io::BlockWriter out(stream);
    tracks::Write(out, *this);
}

}  // namespace vela::vlgim
