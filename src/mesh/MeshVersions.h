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

// Of morph data and original data. In a .mesh file they have the newest version, whatever that of the file is.
constexpr std::uint32_t kFloatTimesVersion = 0x20005;   // times were integers before
constexpr std::uint32_t kModeVersion = 0x20011;         // the morph mode arrived
constexpr std::uint32_t kNewestMorphVersion = 0x20013;  // the single-frame word went
constexpr std::uint32_t kSkinRowsVersion = 0x30017;     // the skin rows of original data arrived

constexpr std::uint32_t kHalfPackMode = 1;  // positions and uvs are half floats
constexpr std::uint16_t kSkinned = 1;       // the skeleton flag with which a file has bones
constexpr std::uint64_t kSlots = 4;         // bone references of a vertex in a file

}  // namespace vela::vlgim
