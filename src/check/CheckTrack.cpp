#include "Check.h"
#include "Values.h"

#include <io/Errors.h>
#include <track/TrackBlock.h>
#include <track/TrackVersions.h>

namespace vela::vlgim::check {

namespace {

class TrackCheck final : public ImageCheck {
public:
    using ImageCheck::ImageCheck;

private:
    Error Read(io::BlockReader& in, const vlio::Bytes&) override { return tracks::ReadFile(in, m_track); }

    void CheckValues(const File& file) override
    {
        CheckTrackBlock(file, file.Find(Block::Track), m_track);
        if (m_track.m_version < kNewestTrackVersion)
            file.Add("save-version", file.Find(Block::VersionWord),
                     "a save writes version " + io::Hex(kNewestTrackVersion) + " in place of " +
                         io::Hex(m_track.m_version));
        ReportUnread(file, m_input.image.size());
    }

    void Write(vlio::Sink& sink) override { tracks::WriteFile(sink, m_track); }
    void Drop() override { m_track = {}; }
    void ReportChange(const Change& change) override { ReportChangedKeys(change); }

    vlTrackData m_track;
};

}  // namespace

void CheckTrack(const Input& input)
{
    TrackCheck(input).Run();
}

}  // namespace vela::vlgim::check
