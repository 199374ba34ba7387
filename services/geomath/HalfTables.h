#pragma once

#include <vlgim/Export.h>

#include <array>
#include <cstdint>

/// Conversion between half floats (IEEE 754 binary16) and singles by table.
/// Jeroen van der Zijp, "Fast Half Float Conversions", 2008, revised 2010.
/// Constant data, ready before any code runs; read from any thread.
namespace vela::geomath {

/// Bit pattern of the single that equals half float h, at index h. A NaN keeps its sign and its payload,
/// moved up by 13 bits, and is not made quiet.
extern VLGIM_API const std::array<std::uint32_t, 65536> _to_float;

/// For a single with bits b, the half is _base_table[b >> 23] + ((b & 0x7FFFFF) >> _shift_table[b >> 23]), in
/// 16 bits. It truncates; what is too large becomes an infinity, what is below 2^-24 a signed zero.
extern VLGIM_API const std::array<std::uint16_t, 512> _base_table;
extern VLGIM_API const std::array<std::uint8_t, 512> _shift_table;

}  // namespace vela::geomath
