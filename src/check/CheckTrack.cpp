#include "Check.h"
#include "Inside.h"

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
    track = {};
    const auto read = [&](io::BlockReader& back) {
        back.Take(places[0].end, 1);
        tracks::Read(back, track);
    };
    CheckSaved(session, report, image, places, saved, image.size(), read,
               [&](std::size_t place, ByteSpan old, ByteSpan now) {
                   const Where where{places.Path(place), places[place].offset};
                   if (std::string_view(places[place].block) == "channel")
                       ReportChangedKeys(report, where, old.data(), now.data());
                   else if (std::string_view(places[place].block) == "track")
                       ReportChangedTrack(report, where, old.data(), now.data());
               });
}

}  // namespace vela::vlgim::check
