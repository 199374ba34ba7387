#pragma once

#include <cstdint>

namespace vela::vlgim {

inline constexpr char kTrackMagic[4] = {'V', 'T', 'R', 'K'};
inline constexpr std::uint16_t kTrackHeaderWord = 256;

/// Flag words of this version mean nothing that is still known; any but 0 stands for one set of flags.
inline constexpr std::uint32_t kOldestTrackVersion = 0x10000;
inline constexpr std::uint16_t kOldTrackFlags = 0xB007;

/// Flag words are as written.
inline constexpr std::uint32_t kNewestTrackVersion = 0x10001;

/// What a reader makes of a flag word in a file of this version.
inline std::uint16_t FlagsReadAt(std::uint32_t version, std::uint16_t stored)
{
    return stored != 0 && version <= kOldestTrackVersion ? kOldTrackFlags : stored;
}

}  // namespace vela::vlgim
