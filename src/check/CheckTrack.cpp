#include "Check.h"
#include "Inside.h"
#include "SavedImage.h"
#include "Values.h"

#include <track/TrackBlock.h>
#include <track/TrackVersions.h>

namespace vela::vlgim::check {

namespace {

// The header of a track file, and the track behind it; false where a finding has said why not.
bool ReadTrack(FileReport& report, io::BlockReader& in, const io::BlockMap& map, std::uint64_t size,
               vlTrackData& track)
{
    in.Take(1, sizeof kTrackMagic);  // by which the file was told to be a track
    track.m_version = in.Value<std::uint32_t>();
    if (!in.Failed() && (track.m_version < kOldestTrackVersion || track.m_version > kNewestTrackVersion)) {
        report.Add(Code::BadVersion, {"header", sizeof kTrackMagic},
                   "tracks of version 0x10000 and 0x10001 are read, and this is " + Hex(track.m_version));
        return false;
    }
    const auto word = in.Value<std::uint16_t>();
    if (!in.Failed() && word != kTrackHeaderWord) {
        report.Add(Code::BadHeader, {"header", 8},
                   "the header ends with " + std::to_string(word) + " in place of 256");
        return false;
    }
    tracks::Read(in, track);
    if (in.Failed())
        ReportRefusal(report, in, Places(map), size);
    return !in.Failed();
}

void ReportChange(FileReport& report, const vlio::Bytes& image, const Places& places, std::size_t index,
                  const unsigned char* now)
{
    const io::BlockMap::Place& old = places[index];
    const Where where{places.Path(index), old.offset};
    if (std::string_view(old.block) == "channel")
        ReportChangedKeys(report, where, image.data() + old.offset, now);
    else if (std::string_view(old.block) == "track")
        ReportChangedTrack(report, where, image.data() + old.offset, now);
}

}  // namespace

void CheckTrackBlock(FileReport& report, const Places& places, std::size_t index, const vlTrackData& track)
{
    constexpr std::uint64_t kTimesAt = 40;  // behind name, options, flags and key count
    CheckTimes(report, places.Path(index), track.m_times.GetKeyTimes(), track.GetKeyCount(),
               places[index].offset + kTimesAt);
    for (std::uint16_t i = 0; i < track.m_channelCount; ++i)
        CheckChannel(report, places.Path(index + 1 + i), track.m_channels[i], 0,
                     places[index + 1 + i].offset);
}

void CheckTrack(Session& session, FileReport& report, const vlio::Bytes& image)
{
    const std::uint64_t limit = session.Left(image.size());
    io::BlockReader in(image.data(), image.data() + image.size(), "header");
    io::BlockMap map;
    in.Trace(map);
    in.LimitMemory(limit);
    vlTrackData track;
    if (!ReadTrack(report, in, map, image.size(), track))
        return;
    map.End(in.Offset());
    session.Step(report);
    const Places places(map);
    CheckTrackBlock(report, places, places.Find("track"), track);
    if (track.m_version < kNewestTrackVersion)
        report.Add(Code::SaveVersion, {"header", sizeof kTrackMagic},
                   "a save writes version " + Hex(kNewestTrackVersion) + " in place of " +
                       Hex(track.m_version));
    ReportUnread(report, places, image.size());

    SavedImage saved(image.data(), image.size(), image.size(), Left(limit, in.Spent()));
    Inside::WriteFile(track, saved.Stream());
    session.Step(report);
    if (saved.IsCut())
        return report.Add(Code::MemoryLimit, {}, "what a save would write takes too much memory");
    if (saved.IsSame())
        return;
    track = {};
    const vlio::Bytes& written = saved.Whole();
    io::BlockReader back(written.data(), written.data() + written.size(), "header");
    io::BlockMap backMap;
    back.Trace(backMap);
    back.Take(places[0].end, 1);
    tracks::Read(back, track);
    if (back.Failed())
        return report.Add(Code::SaveRefused, {}, "what a save would write could not be read again");
    backMap.End(back.Offset());
    const Places now(backMap);
    ForEachChange(image.data(), places, written.data(), now, [&](std::size_t old, std::size_t place) {
        if (place != Places::kNone)
            ReportChange(report, image, places, old, written.data() + now[place].offset);
    });
}

}  // namespace vela::vlgim::check
