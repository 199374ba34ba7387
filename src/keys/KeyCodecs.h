#pragma once

#include <cstdint>

// The small forms of keys in a file. Records are little-endian, without padding and at any alignment. A codec
// works on the run of a whole channel: `count` records, and as many keys of 4 floats (rotations) or 3 (vectors),
// which do not overlap.
//
// PackedRotation32, 4 bytes: a unit quaternion without its largest component, which the length gives back.
//   Bits 31-30 tell which one is missing, 0 for x to 3 for w. The other three follow in the order that starts
//   behind it, x after w, in 10 bits each: 0 stands for -1/sqrt(2), the largest code for +1/sqrt(2).
// PackedRotation48, 6 bytes: the same with 15 bits each, as three u16: the upper half of tag and first two
//   codes, their lower half, the third code.
// HalfRotation, 8 bytes, and HalfVector3, 6 bytes: half floats.
namespace vela::vlgim::keys {

/// Negates all four components of a key, in place, where the largest is below 0: only so it can be left out.
/// Components that no unit quaternion has wrap around in their field.
void EncodeRotations32(float* keys, std::uint64_t count, void* records);
void EncodeRotations48(float* keys, std::uint64_t count, void* records);

/// Mantissas are cut, not rounded.
void EncodeHalfRotations(float* keys, std::uint64_t count, void* records);
void EncodeHalfVectors3(float* keys, std::uint64_t count, void* records);

/// The length is not corrected. Codes that no unit quaternion gives can leave NaN in the missing component.
void DecodeRotations32(const void* records, std::uint64_t count, float* keys);
void DecodeRotations48(const void* records, std::uint64_t count, float* keys);

/// Normalises what is clearly no unit quaternion: a squared length below 0.95 or above 1.
void DecodeHalfRotations(const void* records, std::uint64_t count, float* keys);
void DecodeHalfVectors3(const void* records, std::uint64_t count, float* keys);

}  // namespace vela::vlgim::keys
