#include "Channels.h"

#include <keys/KeyTimesBlock.h>

namespace vela::vlgim {

namespace diff {

namespace {

Run<float> ComponentOf(unsigned char keyed, const Array<float>& array, unsigned width, Times times)
{
    Run<float> run = RunOf(array, keyed ? times.count : 1, width);
    run.isSingle = keyed == 0;
    return run;
}

}  // namespace

Times TimesOf(const vlKeyTimes& times)
{
    return {times.GetKeyTimes(), keys::WrittenKeyCount(times)};
}

bool CompareTimes(Comparer& out, Times a, Times b)
{
    const std::size_t before = out.Count();
    if (out.Number("key count", a.count, b.count))
        out.Runs("key times", Run<float>{a.data, a.count}, Run<float>{b.data, b.count},
                 [](std::uint64_t key) { return "key " + std::to_string(key); });
    return out.Count() == before;
}

void CompareChannels(Comparer& out, const vlTransKeysData& a, const vlTransKeysData& b, Times timesA,
                     Times timesB)
{
    const auto compare = [&](const char* component, unsigned char keyedA, unsigned char keyedB,
                             const Array<float>& arrayA, const Array<float>& arrayB, unsigned width,
                             auto apart) {
        out.Number(std::string(component) + " keyed", keyedA, keyedB);
        const auto where = [&](std::uint64_t key) {
            const Times times = keyedA ? timesA : timesB;
            return keyedA || keyedB ? "key " + std::to_string(key) + " at " + TextOf(times.data[key])
                                    : std::string();
        };
        out.Runs(component, ComponentOf(keyedA, arrayA, width, timesA),
                 ComponentOf(keyedB, arrayB, width, timesB), where, apart);
    };
    compare("position", a.m_posKeyed, b.m_posKeyed, a.m_pos, b.m_pos, 3, ByComponent<float>);
    // Of a quaternion and of angles no number has the same meaning.
    if (out.Number("rotation order", a.m_rotOrder, b.m_rotOrder) ||
        (a.m_rotOrder != 0 && b.m_rotOrder != 0)) {
        if (a.m_rotOrder)
            compare("rotation", a.m_rotKeyed, b.m_rotKeyed, a.m_rot, b.m_rot, 3, ByComponent<float>);
        else
            compare("rotation", a.m_rotKeyed, b.m_rotKeyed, a.m_rot, b.m_rot, 4, ByRotation);
    }
    compare("scale", a.m_scaleKeyed, b.m_scaleKeyed, a.m_scale, b.m_scale, 3, ByComponent<float>);
}

void CompareTracks(Comparer& out, const vlTrackData& a, const vlTrackData& b)
{
    out.Text("name", a.m_name, b.m_name);
    out.Runs("options", Run<unsigned char>{a.m_options, 1, 4}, Run<unsigned char>{b.m_options, 1, 4},
             [](std::uint64_t) { return std::string(); });
    out.Code("flags", a.m_flags, b.m_flags);
    const Times timesA = TimesOf(a.m_times), timesB = TimesOf(b.m_times);
    CompareTimes(out, timesA, timesB);
    out.Number("channel count", a.m_channelCount, b.m_channelCount);
    const std::size_t count =
        std::min<std::size_t>({a.m_channelCount, b.m_channelCount, a.m_channels.size(), b.m_channels.size()});
    for (std::size_t i = 0; i < count; ++i) {
        const Comparer::Scope scope(out, "channel " + std::to_string(i));
        CompareChannels(out, a.m_channels[i], b.m_channels[i], timesA, timesB);
    }
}

}  // namespace diff

std::vector<Difference> Compare(const vlTrackData& a, const vlTrackData& b, const CompareOptions& options)
{
    diff::Comparer out(options);
    out.Code("version", a.m_version, b.m_version);
    diff::CompareTracks(out, a, b);
    return out.Take();
}

}  // namespace vela::vlgim
