#pragma once

#include <vlgim/Export.h>

#include <array>
#include <cstdint>

/// Tables that convert between half floats (IEEE 754 binary16) and floats.
/// Jeroen van der Zijp, "Fast Half Float Conversions", 2008, revised 2010.
/// The data are constant and initialised before any code runs; they can be read from any thread.
namespace vela::geomath {

/// The bits of the float that equals half float h, at index h. A NaN keeps its sign, and its payload moves up by 13
/// bits; a signalling NaN stays signalling.
extern VLGIM_API const std::array<std::uint32_t, 65536> _to_float;

/// For a float with bits b the half float is _base_table[b >> 23] + ((b & 0x7FFFFF) >> _shift_table[b >> 23]), in 16
/// bits. Values are truncated, not rounded: too large ones become infinity, those below 2^-24 become a zero with the
/// same sign.
extern VLGIM_API const std::array<std::uint16_t, 512> _base_table;
extern VLGIM_API const std::array<std::uint8_t, 512> _shift_table;

}  // namespace vela::geomath
