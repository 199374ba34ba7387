#pragma once

#include <cstdint>
#include <vector>

namespace vela::vlgim::io {

/// Where the blocks of a file image lie, in the order in which a reader came to them: for whoever has to say where in a
/// file something stands.
class BlockMap {
public:
    struct Place {
        const char* block;    ///< its name, as a refusal would give it
        std::int64_t number;  ///< of the block, -1 where there is one of the name
        std::uint64_t offset, end;
    };

    std::vector<Place> places;

    void Enter(const char* block, std::int64_t number, std::uint64_t offset)
    {
        End(offset);
        places.push_back({block, number, offset, kOpen});
    }

    /// Ends the block that is read, if there is one: the reader moves on to another place.
    void End(std::uint64_t offset)
    {
        if (!places.empty() && places.back().end == kOpen)
            places.back().end = offset;
    }

private:
    static constexpr std::uint64_t kOpen = UINT64_MAX;
};

}  // namespace vela::vlgim::io
