#include "Block.h"

#include <iterator>

namespace vela::vlgim::io {

const char* NameOf(Block block)
{
    static constexpr const char* kNames[] = {
        "header",          "animation block", "morph data",    "key records",  "track",
        "channel",         "bones block",     "anim-BI block", "table offset", "share table",
        "submesh entries", "submesh",         "vertex counts", "positions",    "normals",
        "tangent flag",    "tangents",        "triangles",     "uvs",          "colours",
        "morph frames",    "bone references", "bone weights",  "used bones",   "vertex block",
        "original data",   "clip count",      "bones",         "side files",   "clip",
        "base info",       "clip info",       "key times",     "bone",         "pivot track",
        "transform keys",
    };
    static_assert(std::size(kNames) == static_cast<std::size_t>(Block::FirstField));
    return kNames[static_cast<std::size_t>(block)];
}

void AppendStep(std::string& path, const Step& step)
{
    if (step.block >= Block::FirstField || (step.block == Block::ClipInfo && !path.empty()))
        return;
    if (path == NameOf(Block::AnimationBlock))
        path.clear();
    path.append(path.empty() ? "" : " / ").append(NameOf(step.block));
    if (step.number != Step::kOnly)
        path.append(1, ' ').append(std::to_string(step.number));
}

void BlockMap::Enter(const Step& step, std::uint64_t offset)
{
    const auto index = static_cast<std::uint32_t>(places.size());
    places.push_back({step, m_open, index + 1, offset, offset});
    m_open = index;
}

void BlockMap::Leave(std::uint64_t end)
{
    Place& place = places[m_open];
    place.end = end;
    place.behind = static_cast<std::uint32_t>(places.size());
    m_open = place.parent;
}

}  // namespace vela::vlgim::io
