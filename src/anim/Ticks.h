#pragma once

#include <bit>
#include <cstdint>
#include <limits>

// Key times of files below version 5.2: integers.
namespace vela::vlgim::clips {

inline constexpr float kTicksPerUnit = 4.8F;
static_assert(std::bit_cast<std::uint32_t>(kTicksPerUnit) == 0x4099999A);

inline float TickToTime(std::int32_t tick)
{
    return static_cast<float>(tick) / kTicksPerUnit;
}

/// Rounds half up and cuts, so that negative times come out up to a tick too high. NaN and what does not fit
/// give the lowest tick, as the processor's own conversion does.
inline std::int32_t TimeToTick(float time)
{
    const double ticks = static_cast<double>(time * kTicksPerUnit) + 0.5;
    constexpr double kBeyond = 2147483648.0;
    return ticks > -kBeyond - 1 && ticks < kBeyond ? static_cast<std::int32_t>(ticks)
                                                   : std::numeric_limits<std::int32_t>::min();
}

}  // namespace vela::vlgim::clips
