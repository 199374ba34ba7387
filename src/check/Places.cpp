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
    Run run{place, m_map.places[place].offset, 0};
    const std::size_t first = runs.size();
    const auto end = [&](std::uint64_t at) {
        run.end = at;
        if (at != run.offset)
            runs.push_back(run);
    };
    ForEachIn(place, [&](std::size_t inner) {
        if (BlockAt(inner) >= Block::FirstField)
            return;
        end(m_map.places[inner].offset);
        AddRuns(inner, runs);
        run.offset = m_map.places[inner].end;
    });
    end(m_map.places[place].end);
    if (runs.size() == first)
        runs.push_back(run);
}

std::vector<Places::Run> Places::Runs() const
{
    std::vector<Run> runs;
    for (std::size_t i = 0; i < m_map.places.size(); i = m_map.places[i].behind)
        AddRuns(i, runs);
    return runs;
}

}  // namespace vela::vlgim::check
