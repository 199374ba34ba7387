#pragma once

#include <cstdint>

/// Versions of the .mesh format, compared as numbers. Writers write the newest.
namespace vela::vlgim {

constexpr std::uint32_t kMeshMagic = 0xBBC88034;
constexpr std::uint32_t kOldestVersion = 0x50000;
constexpr std::uint32_t kNewestVersion = 0x50004;

constexpr std::uint32_t kTangentVersion = 0x50001;        // the tangent stream arrived
constexpr std::uint32_t kNoKeyRecordsVersion = 0x50002;   // the records for each key of an animation went
constexpr std::uint32_t kMaskVersion = 0x50003;           // the mask of used bones arrived
constexpr std::uint32_t kWideReferenceVersion = 0x50004;  // references of two bytes, and the mask's bit count
constexpr std::uint32_t kEightSlotVersion = 0x50005;  // eight bone references a vertex; never in a .mesh file
constexpr std::uint32_t kWideParentVersion = 0x50004;  // parents of bones have two bytes

constexpr std::uint16_t kSkinned = 1;  // the skeleton flag with which a file has bones

}  // namespace vela::vlgim
