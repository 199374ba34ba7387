#pragma once

#include <cstdint>

/// Versions of the .mesh format, compared as numbers. Writers write the newest.
namespace vela::vlgim {

constexpr std::uint32_t kMeshMagic = 0xBBC88034;
constexpr std::uint32_t kOldestVersion = 0x50000;
constexpr std::uint32_t kNewestVersion = 0x50004;

}  // namespace vela::vlgim
