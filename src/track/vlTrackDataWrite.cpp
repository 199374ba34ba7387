#include "TrackBlock.h"
#include "TrackVersions.h"

#include <corecommon/Log.h>
#include <io/BlockWriter.h>
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
    WriteHeader(stream);
    WriteData(stream);
}

void vlTrackData::WriteHeader(std::FILE* stream)
{
    io::BlockWriter out(stream);
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
    const unsigned short keyCount = keys::WrittenKeyCount(m_times);
    io::BlockWriter out(stream);
    out.Run(m_name, sizeof m_name);
    out.Run(m_options, sizeof m_options);
    out.Value(m_flags);
    out.Value(keyCount);
    out.Run(m_times.GetKeyTimes(), keyCount);
    out.Value(m_channelCount);
    for (unsigned i = 0; i < m_channelCount; ++i) {
        m_channels[i].m_keyCount = keyCount;
        m_channels[i].m_compressFlags = 0;  // a track has no place that would tell of another form
        m_channels[i].WriteData(stream);
    }
}

}  // namespace vela::vlgim
