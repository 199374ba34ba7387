#pragma once

#include <bit>
#include <cstdint>

// The small forms of keys in a file. Records are little-endian, without padding and at any alignment. A codec
// works on the run of a whole channel: `count` records, and as many keys of 4 floats (rotations) or 3 (vectors),
// which do not overlap.
//
// Packed rotations: a unit quaternion without its largest component, which the length gives back. Two bits tell
//   which one is missing, 0 for x to 3 for w. The other three follow in the order that starts behind it, x after w.
//   Each is a code: 0 stands for -1/sqrt(2), the largest code for +1/sqrt(2).
//   32: a u32 of the tag and codes of 10 bits, from the uppermost bits down.
//   48: three u16: the upper half of the tag and the first two codes of 15 bits, their lower half, the third code.
// Half rotations, 8 bytes, and half vectors, 6 bytes: half floats.
namespace vela::vlgim::keys {

/// 1 / sqrt(2): no component of a unit quaternion but the largest lies further from 0.
constexpr float kMost = 0.70710677F;
static_assert(std::bit_cast<std::uint32_t>(kMost) == 0x3F3504F3U);

/// Codes spread evenly over -kMost to kMost.
template <std::uint32_t kLargestCode>
constexpr float kScale = static_cast<float>(kLargestCode) * kMost;
constexpr std::uint32_t kLargest32 = 1023;
constexpr std::uint32_t kLargest48 = 32767;
static_assert(std::bit_cast<std::uint32_t>(kScale<kLargest32>) == 0x4434D7B2U);
static_assert(std::bit_cast<std::uint32_t>(kScale<kLargest48>) == 0x46B50389U);

/// Converts runs of one form.
struct Codec {
    /// Packed rotations: negates all four components of a key, in place, where the largest is below 0: only so it can
    /// be left out. Components that no unit quaternion has wrap around in their field.
    /// Half floats: mantissas are cut, not rounded, and the keys stay as they are.
    void (*encode)(float* keys, std::uint64_t count, void* records);

    /// Packed rotations: the length is not corrected. Codes that no unit quaternion gives can leave NaN in the missing
    /// component.
    /// Half rotations: normalises what is clearly no unit quaternion: a squared length below 0.95 or above 1.
    void (*decode)(const void* records, std::uint64_t count, float* keys);
};

/// The codecs of all small forms, once for each instruction set. All of them give the same bits.
struct RunCodecs {
    Codec packed32, packed48, halfRotations, halfVectors;
};

/// Key by key, for runs of any length.
extern const RunCodecs kPlainCodecs;

/// Many keys at a time, in the best instruction set that the machine has; the plain codecs where it has none. For runs
/// of kShortestRun keys and more.
const RunCodecs& WideCodecs();
constexpr std::uint64_t kShortestRun = 4;

}  // namespace vela::vlgim::keys
