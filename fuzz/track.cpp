#include "Input.h"
#include "RoundTrip.h"
#include "Runtime.h"

// An input is a track file.
namespace vela::vlgim::fuzz {

namespace {

std::unique_ptr<vlTrackData> Load(const Folder& folder, const Bytes& file)
{
    folder.Put("a.track", file);
    const std::string path = folder.Path("a.track");
    auto track = std::make_unique<vlTrackData>();
    if (WithinBudget(file.size(), [&] { return track->Load(path.c_str()); }))
        return track;
    Check(!track->m_channels && track->m_channelCount == 0, "a failed load leaves channels");
    return nullptr;
}

}  // namespace

}  // namespace vela::vlgim::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vela::vlgim;
    static const fuzz::Folder folder;
    const fuzz::Bytes input(data, data + size);
    auto track = fuzz::Load(folder, input);
    if (!track)
        return 0;
    fuzz::CheckDifferences(*track, *fuzz::Load(folder, input),
                           fuzz::Load(folder, fuzz::Changed(input)).get());
    const auto write = [](vlTrackData& t) {
        folder.Remove("b.track");
        t.Save(folder.Path("b.track").c_str());
        return folder.Get("b.track");
    };
    const auto read = [](const fuzz::Bytes& file) {
        auto again = fuzz::Load(folder, file);
        fuzz::Check(again != nullptr, "a track that was written can't be read");
        return again;
    };
    fuzz::CheckRoundTrip(*track, write, read);
    fuzz::CheckCopies(std::move(track));
    return 0;
}
