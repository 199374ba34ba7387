#include "Parts.h"

#include <keys/KeyTimesBlock.h>

#include <map>
#include <numeric>

namespace vela::vlgim::diff {

Names NamesOf(const Array<Name32>& fields, std::size_t count)
{
    return {fields.begin(), fields.begin() + std::min(count, fields.size())};
}

Pairs::Pairs(Names namesA, Names namesB)
    : a(std::move(namesA)), b(std::move(namesB)), inB(a.size(), kNone), inA(b.size(), kNone), areSame(a == b)
{
    if (areSame) {
        std::iota(inB.begin(), inB.end(), std::size_t{0});
        inA = inB;
        return;
    }
    const auto pair = [this](std::size_t i, std::size_t j) {
        inB[i] = j;
        inA[j] = i;
    };
    std::multimap<std::string_view, std::size_t> left;  // of one name, in the order of the list
    for (std::size_t j = 0; j < b.size(); ++j)
        left.emplace(b[j], j);
    for (std::size_t i = 0; i < a.size(); ++i)
        if (const auto first = left.lower_bound(a[i]); first != left.end() && first->first == a[i])
            pair(i, left.extract(first).mapped());
    for (std::size_t i = 0; i < a.size(); ++i) {
        const std::size_t j = i == 0 ? 0 : inB[i - 1] == kNone ? kNone : inB[i - 1] + 1;
        if (inB[i] == kNone && j < b.size() && inA[j] == kNone)
            pair(i, j);
    }
}

Run<float> TimesOf(const vlKeyTimes& times)
{
    return {times.GetKeyTimes(), keys::WrittenKeyCount(times)};
}

bool CompareTimes(const Comparer& out, Run<float> a, Run<float> b)
{
    return out.Number("key count", a.count, b.count) && out.Runs("key times", a, b, Nth("key"));
}

void CompareChannels(const Comparer& out, const vlTransKeysData& a, const vlTransKeysData& b,
                     Run<float> timesA, Run<float> timesB)
{
    using Keys = vlTransKeysData;
    const auto compare = [&](const char* component, unsigned char Keys::*keyed, Array<float> Keys::*values,
                             unsigned width, auto apart) {
        const auto runOf = [&](const Keys& keys, std::uint64_t times) {
            Run<float> run = RunOf(keys.*values, keys.*keyed ? times : 1, width);
            run.isSingle = keys.*keyed == 0;
            return run;
        };
        const auto where = [&](std::uint64_t key) {
            const float* times = a.*keyed ? timesA.data : timesB.data;
            return a.*keyed || b.*keyed ? "key " + std::to_string(key) + " at " + TextOf(times[key])
                                        : std::string();
        };
        out.Number(std::string(component) + " keyed", a.*keyed, b.*keyed);
        out.Runs(component, runOf(a, timesA.count), runOf(b, timesB.count), where, apart);
    };
    compare("position", &Keys::m_posKeyed, &Keys::m_pos, 3, ByComponent());
    // Of a quaternion and of angles no number has the same meaning.
    if (out.Number("rotation order", a.m_rotOrder, b.m_rotOrder) ||
        (a.m_rotOrder != 0 && b.m_rotOrder != 0)) {
        if (a.m_rotOrder)
            compare("rotation", &Keys::m_rotKeyed, &Keys::m_rot, 3, ByComponent());
        else
            compare("rotation", &Keys::m_rotKeyed, &Keys::m_rot, 4, ByRotation());
    }
    compare("scale", &Keys::m_scaleKeyed, &Keys::m_scale, 3, ByComponent());
}

void CompareTracks(const Comparer& out, const vlTrackData& a, const vlTrackData& b)
{
    out.Text("name", a.m_name, b.m_name);
    out.Number("options", a.m_options, b.m_options);
    out.Code("flags", a.m_flags, b.m_flags);
    const Run<float> timesA = TimesOf(a.m_times), timesB = TimesOf(b.m_times);
    CompareTimes(out, timesA, timesB);
    out.Number("channel count", a.m_channelCount, b.m_channelCount);
    const auto count =
        std::min<std::size_t>({a.m_channelCount, b.m_channelCount, a.m_channels.size(), b.m_channels.size()});
    for (std::size_t i = 0; i < count; ++i)
        CompareChannels(out.Within(Nth("channel")(i)), a.m_channels[i], b.m_channels[i], timesA, timesB);
}

}  // namespace vela::vlgim::diff
