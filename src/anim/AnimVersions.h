#pragma once

#include <cstdint>

// Versions of animation files and what arrived with each. A file is written in the version it was read in.
namespace vela::vlgim {

/// A version word without the branch number in its top byte.
inline constexpr std::uint32_t kVersionMask = 0xFFFFFF;

inline constexpr char kGisMagic[4] = {'R', 'G', 'I', 'S'};

inline constexpr std::uint32_t kOldestGisVersion = 0x20000;   ///< known; read from 5.0 on
inline constexpr std::uint32_t kOldestReadVersion = 0x50000;  ///< clips with times per bone, in ticks
inline constexpr std::uint32_t kCompressedKeys = 0x50002;     ///< small forms of keys; times are floats
inline constexpr std::uint32_t kSharedKeyTimes = 0x50003;     ///< m_keyLayout
inline constexpr std::uint32_t kAttrWord = 0x50004;           ///< m_attrWord
inline constexpr std::uint32_t kSkeleton = 0x60000;           ///< bones, and the word m_async
inline constexpr std::uint32_t kSideFiles = 0x60001;          ///< base info records and side files
inline constexpr std::uint32_t kNewestGisVersion = kSideFiles;

}  // namespace vela::vlgim
