#pragma once

#include <bit>
#include <cstdint>

// The grid of the packed rotations.
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

}  // namespace vela::vlgim::keys
