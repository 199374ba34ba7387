#include <nameid/NameID.h>

#include <bit>
#include <cstring>

namespace vela {

std::int32_t NameIDMurmur3(std::string_view name)
{
    const auto scramble = [](std::uint32_t k) { return std::rotl(k * 0xCC9E2D51U, 15) * 0x1B873593U; };

    std::uint32_t hash = 0;
    std::string_view rest = name;
    for (; rest.size() >= 4; rest.remove_prefix(4)) {
        std::uint32_t k = 0;
        std::memcpy(&k, rest.data(), 4);
        hash = std::rotl(hash ^ scramble(k), 13) * 5 + 0xE6546B64U;
    }
    std::uint32_t tail = 0;
    for (std::size_t i = 0; i < rest.size(); ++i)
        tail |= std::uint32_t{static_cast<unsigned char>(rest[i])} << (8 * i);
    hash ^= scramble(tail);

    hash ^= static_cast<std::uint32_t>(name.size());
    hash = (hash ^ (hash >> 16)) * 0x85EBCA6BU;
    hash = (hash ^ (hash >> 13)) * 0xC2B2AE35U;
    return static_cast<std::int32_t>(hash ^ (hash >> 16));
}

}  // namespace vela
