#include "Places.h"

#include <algorithm>
#include <cstring>

namespace vela::vlgim::check {

namespace {

using Place = io::BlockMap::Place;

bool Is(const Place& place, std::string_view block)
{
    return place.block == block;
}

bool IsSameBlock(const Place& a, const Place& b)
{
    return a.number == b.number && Is(a, b.block);
}

bool HasSameBytes(const unsigned char* imageA, const Place& a, const unsigned char* imageB, const Place& b)
{
    const std::uint64_t size = a.end - a.offset;
    return size == b.end - b.offset && std::memcmp(imageA + a.offset, imageB + b.offset, size) == 0;
}

}  // namespace

Places::Places(const io::BlockMap& map) : m_map(map), m_owners(map.places.size())
{
    constexpr auto before = std::numeric_limits<std::uint32_t>::max();
    Owner owner{before, before, false};
    std::uint64_t clipAt = std::numeric_limits<std::uint64_t>::max();
    for (std::size_t i = 0; i < m_owners.size(); ++i) {
        const Place& place = map.places[i];
        // A clip is announced once more where it is measured, at the same byte.
        if ((Is(place, "clip info") || Is(place, "base info")) && place.offset != clipAt) {
            owner = {owner.clip + 1, owner.track, false};
            clipAt = place.offset;
        }
        owner.isPivot |= Is(place, "pivot track");
        if (Is(place, "track"))
            ++owner.track;
        m_owners[i] = owner;
    }
}

std::size_t Places::Find(std::string_view block, std::size_t from) const
{
    for (std::size_t i = from; i < Count(); ++i)
        if (Is(m_map.places[i], block))
            return i;
    return kNone;
}

std::uint64_t Places::Offset(std::string_view block) const
{
    const std::size_t found = Find(block);
    return found == kNone ? 0 : m_map.places[found].offset;
}

std::string Places::Path(std::size_t index) const
{
    const Place& place = m_map.places[index];
    const Owner& owner = m_owners[index];
    std::string name = place.block;
    if (place.number >= 0)
        name += ' ' + std::to_string(place.number);
    // A side file begins with its one clip.
    std::string clip = Is(m_map.places[0], "clip info") ? "clip" : "clip " + std::to_string(owner.clip);
    if (owner.isPivot)
        return clip + " / pivot track" + (Is(place, "channel") ? " / " + name : "");
    if (Is(place, "clip info"))
        return clip;
    if (Is(place, "base info"))
        return name + ' ' + std::to_string(owner.clip);
    if (Is(place, "bone") || Is(place, "key times"))
        return clip + " / " + name;
    std::string track = "track " + std::to_string(owner.track);
    if (Is(place, "track"))
        return track;
    return Is(place, "channel") ? track + " / " + name : name;
}

void ForEachChange(const unsigned char* oldImage, const Places& old, const unsigned char* newImage,
                   const Places& now, const std::function<void(std::size_t old, std::size_t now)>& visit)
{
    // Blocks come in the same order; each image may have some that the other lacks, in a row no longer than this.
    constexpr std::size_t kMostExtra = 16;
    std::size_t next = 0;
    for (std::size_t i = 0; i < old.Count(); ++i) {
        const std::size_t last = std::min(next + kMostExtra, now.Count());
        std::size_t match = next;
        while (match < last && !IsSameBlock(old[i], now[match]))
            ++match;
        if (match == last) {
            if (old[i].end != old[i].offset)
                visit(i, Places::kNone);
            continue;
        }
        if (!HasSameBytes(oldImage, old[i], newImage, now[match]))
            visit(i, match);
        next = match + 1;
    }
}

}  // namespace vela::vlgim::check
