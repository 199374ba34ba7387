#pragma once

#include <cstdint>

namespace vela::vlgim {

/// Converts count half floats at any alignment to singles, exactly: subnormal halves become normal singles,
/// zeros and infinities keep their sign, every NaN becomes the one pattern 0xFFC00000. Null pointers do
/// nothing.
void HalfToFloat(float* target, const unsigned char* source, std::uint64_t count);

/// The same half by half, whatever the machine has.
void PlainHalfToFloat(float* target, const unsigned char* source, std::uint64_t count);

}  // namespace vela::vlgim
