#pragma once

#include <io/Block.h>
#include <vlio2/FileStream.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <vector>

namespace vela::vlgim::check {

using io::Block;
using ByteSpan = std::span<const unsigned char>;

inline bool AreSame(ByteSpan a, ByteSpan b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

/// A file image with its blocks and their fields, which lie behind the block that they are in.
class Places {
public:
    static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

    Places(const vlio::Bytes& image, const io::BlockMap& map) : m_image(image), m_map(map) {}

    const io::BlockMap::Place& operator[](std::size_t index) const { return m_map.places[index]; }
    Block BlockAt(std::size_t index) const { return m_map.places[index].step.block; }

    /// The next place of a block or field, at or behind place `from` and before `behind`; kNone if there is none.
    std::size_t Find(Block block, std::size_t from = 0, std::size_t behind = kNone) const;

    /// The first of a block or field inside of a place.
    std::size_t FindIn(std::size_t place, Block block) const
    {
        return Find(block, place + 1, m_map.places[place].behind);
    }

    bool Has(Block block) const { return Find(block) != kNone; }

    /// First byte and size; 0 for kNone.
    std::uint64_t Offset(std::size_t index) const { return index == kNone ? 0 : m_map.places[index].offset; }
    std::uint64_t Size(std::size_t index) const
    {
        return index == kNone ? 0 : m_map.places[index].end - m_map.places[index].offset;
    }
    ByteSpan Bytes(std::size_t index) const { return ByteSpan(m_image).subspan(Offset(index), Size(index)); }

    /// Calls visit(index) for what lies directly inside of a place.
    template <class Visit>
    void ForEachIn(std::size_t place, Visit visit) const
    {
        for (std::size_t i = place + 1; i < m_map.places[place].behind; i = m_map.places[i].behind)
            visit(i);
    }

    /// As in "clip 2 / bone 5".
    std::string Path(std::size_t index) const;

    /// Bytes that are a block's own: in none of the blocks inside of it.
    struct Run {
        std::size_t place;
        std::uint64_t offset, end;

        std::uint64_t Size() const { return end - offset; }
    };

    /// All of them, in the order of the file's reader. A block without bytes has an empty one.
    std::vector<Run> Runs() const;

    ByteSpan Bytes(const Run& run) const { return ByteSpan(m_image).subspan(run.offset, run.Size()); }

private:
    void AddRuns(std::size_t place, std::vector<Run>& runs) const;

    const vlio::Bytes& m_image;
    const io::BlockMap& m_map;
};

}  // namespace vela::vlgim::check
