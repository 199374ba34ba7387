#include "Places.h"

#include <algorithm>

namespace vela::vlgim::check {

std::size_t Places::Find(Block block, std::size_t from, std::size_t behind) const
{
    for (std::size_t i = from; i < std::min(behind, m_map.places.size()); ++i)
        if (BlockAt(i) == block)
            return i;
    return kNone;
}

std::string Places::Path(std::size_t index) const
{
    const io::BlockMap::Place& place = m_map.places[index];
    std::string path = place.parent == io::BlockMap::kNone ? std::string() : Path(place.parent);
    io::AppendStep(path, place.step);
    return path;
}

void Places::AddRuns(std::size_t place, std::vector<Run>& runs) const
{
    const std::size_t first = runs.size();
    std::uint64_t from = Offset(place);
    ForEachIn(place, [&](std::size_t inner) {
        if (BlockAt(inner) >= Block::FirstField)
            return;
        if (Offset(inner) != from)
            runs.push_back({place, from, Offset(inner)});
        AddRuns(inner, runs);
        from = m_map.places[inner].end;
    });
    if (m_map.places[place].end != from || runs.size() == first)
        runs.push_back({place, from, m_map.places[place].end});
}

std::vector<Places::Run> Places::Runs() const
{
    std::vector<Run> runs;
    for (std::size_t i = 0; i < m_map.places.size(); i = m_map.places[i].behind)
        AddRuns(i, runs);
    return runs;
}

}  // namespace vela::vlgim::check
