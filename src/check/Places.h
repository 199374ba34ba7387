#pragma once

#include <io/BlockMap.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace vela::vlgim::check {

/// The blocks of a file that was read, under the names that people know them by.
class Places {
public:
    static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

    explicit Places(const io::BlockMap& map);

    const io::BlockMap::Place& operator[](std::size_t index) const { return m_map.places[index]; }
    std::size_t Count() const { return m_map.places.size(); }

    /// The next place of a block, at or behind place `from`; kNone if there is none.
    std::size_t Find(std::string_view block, std::size_t from = 0) const;

    /// First byte of the first block of the name; 0 where there is none.
    std::uint64_t Offset(std::string_view block) const;

    /// Number of the clip that a place belongs to.
    std::size_t Clip(std::size_t index) const { return m_owners[index].clip; }

    /// As in "clip 2 / bone 5".
    std::string Path(std::size_t index) const;

private:
    // Numbers of the clip and of the track that a place belongs to, counted in the file.
    struct Owner {
        std::uint32_t clip = 0, track = 0;
        bool isPivot = false;
    };

    const io::BlockMap& m_map;
    std::vector<Owner> m_owners;
};

/// Calls visit(old, now) for each place whose bytes are others in a second image of the file: `now` is kNone where the
/// second image has no such block. Both images were read whole.
void ForEachChange(const unsigned char* oldImage, const Places& old, const unsigned char* newImage,
                   const Places& now, const std::function<void(std::size_t old, std::size_t now)>& visit);

}  // namespace vela::vlgim::check
