#include "Values.h"

#include <keys/TransKeysBlock.h>

#include <algorithm>
#include <cmath>

// Key times, channels and tracks.
namespace vela::vlgim::check {

namespace {

// Of a squared length: half floats and packed forms stay well within.
constexpr float kUnitTolerance = 0.01F;

// From the first byte of a channel's head on, behind the times that a bone may have of its own.
ByteSpan KeysIn(const Places& places, std::size_t block)
{
    const std::size_t times = places.FindIn(block, Block::Times);
    const ByteSpan bytes = places.Bytes(block);
    return times == Places::kNone ? bytes : bytes.subspan(places[times].end - places[block].offset);
}

// The keys of one component.
void CheckComponent(const File& file, std::size_t field, const FloatRun& run, bool isKeyed)
{
    CheckFinite(file, field, run);
    // A difference of NaN counts as none.
    const bool areFloats = run.size == run.width * sizeof(float);
    if (isKeyed && areFloats &&
        keys::FloatsConstant(run.values, run.count, static_cast<std::uint32_t>(run.width)) &&
        NotFinite(run.values, run.count * run.width).count != 0)
        file.Add("save-drops-keys", field, "some " + run.what + " are NaN, so a save keeps only the first");
}

}  // namespace

void CheckTimes(const File& file, std::size_t block, const float* times, std::uint64_t count)
{
    const std::size_t field = file.FindIn(block, Block::Times);
    if (NotFinite(times, count).count != 0)
        return CheckFinite(file, field, {"key times", "key", times, count, 1});
    Tally tally;
    for (std::uint64_t i = 1; i < count; ++i)
        if (times[i] <= times[i - 1])
            tally.Add(i);
    if (tally.count != 0)
        file.Add("time-order", field, tally.first * sizeof(float),
                 Counted(tally.count, "key is", "keys are") +
                     " not later than the one before, the first is key " + std::to_string(tally.first) +
                     " of " + std::to_string(count));
}

void CheckQuaternions(const File& file, std::size_t field, const std::string& one, const FloatRun& run)
{
    Tally zero, off;
    for (std::uint64_t i = 0; i < run.count; ++i) {
        const float* q = run.values + 4 * i;
        const float square = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
        if (!(std::fabs(square - 1) > kUnitTolerance))
            continue;  // a NaN has been told of already
        const bool isZero = std::all_of(q, q + 4, [](float number) { return number == 0; });
        (isZero ? zero : off).Add(i);
    }
    const auto add = [&](Code code, const Tally& tally, const char* fault) {
        if (tally.count == 0)
            return;
        const std::string which =
            run.count == 1 ? "the " + one
                           : std::to_string(tally.count) + " of " + std::to_string(run.count) + ' ' + one +
                                 "s, the first at key " + std::to_string(tally.first) + ',';
        file.Add(code, field, run.behind + tally.first * run.size,
                 which + (tally.count == 1 ? " is" : " are") + fault);
    };
    add("quaternion-zero", zero, " of length 0");
    add("quaternion-length", off, " not of unit length");
}

void CheckChannel(const File& file, std::size_t block, const vlTransKeysData& keys)
{
    constexpr Block kFields[] = {Block::PositionKeys, Block::RotationKeys, Block::ScaleKeys};
    constexpr unsigned char kLastOrder = EULER_ZYX;
    if (keys.m_rotOrder > kLastOrder)
        file.Add("rotation-order", block, file.Size(block) - KeysIn(file, block).size() + 3,
                 "the order of the Euler angles is " + std::to_string(keys.m_rotOrder) +
                     "; it can be 1 to 6, or 0 for quaternions");
    std::size_t component = 0;
    FloatRun quaternions{};
    keys::VisitComponents(keys, [&](const char* what, const auto& values, bool isKeyed, std::uint32_t width) {
        const std::size_t field = file.FindIn(block, kFields[component++]);
        const std::uint64_t count = values.size() / width;
        if (field == Places::kNone || count == 0)
            return;
        const FloatRun run{what, "key", values.data(), count, width, file.Size(field) / count};
        CheckComponent(file, field, run, isKeyed);
        if (width == 4)
            quaternions = run;
    });
    if (quaternions.count != 0)
        CheckQuaternions(file, file.FindIn(block, Block::RotationKeys), "rotation", quaternions);
}

void CheckTrackBlock(const File& file, std::size_t block, const vlTrackData& track)
{
    CheckTimes(file, block, track.m_times.GetKeyTimes(), track.GetKeyCount());
    std::size_t channel = 0;
    file.ForEachIn(block, [&](std::size_t inner) {
        if (file.BlockAt(inner) == Block::Channel)
            CheckChannel(file, inner, track.m_channels[channel++]);
    });
}

void ReportChangedKeys(const Change& change)
{
    constexpr std::size_t kKeyedBytes = 3;
    const Block block = change.Of();
    if (block == Block::Track && change.Changes(Block::Names))
        change.Add("save-ends-names", "a save clears the bytes behind the end of the track's name");
    else if (block == Block::Track)
        change.Add("save-changes", "a save writes the old flags of the track in their new form");
    if (block != Block::Channel && block != Block::Bone)
        return;
    if (change.Changes(Block::Times))
        change.Add("save-moves-times", "a save changes key times, which are whole ticks in this version");
    const ByteSpan old = KeysIn(change.file, change.run.place);
    const ByteSpan now = KeysIn(change.saved, change.savedRun.place);
    if (!AreSame(old.first(kKeyedBytes), now.first(kKeyedBytes)))
        change.Add("save-collapses-keys", "a save stores keys that are all the same only once");
    else if (!AreSame(old, now))
        change.Add("save-recodes-keys", "a save re-encodes compressed keys");
}

}  // namespace vela::vlgim::check
