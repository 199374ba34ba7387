#include <geomath/HalfTables.h>

#include <bit>

namespace vela::geomath {

namespace {

constexpr std::uint32_t SingleBits(std::uint32_t half)
{
    const std::uint32_t sign = (half & 0x8000U) << 16;
    const std::uint32_t exponent = half >> 10 & 31;
    const std::uint32_t mantissa = half & 0x3FFU;
    if (exponent == 31)
        return sign | 0x7F800000U | mantissa << 13;
    if (exponent != 0)
        return sign | ((exponent + 112) << 23) | mantissa << 13;
    if (mantissa == 0)
        return sign;
    // A subnormal half is a normal single: its highest bit becomes the hidden one.
    const auto high = static_cast<std::uint32_t>(std::bit_width(mantissa)) - 1;
    return sign | (high + 103) << 23 | (mantissa << (23 - high) & 0x7FFFFFU);
}

constexpr auto SingleTable()
{
    std::array<std::uint32_t, 65536> table{};
    for (std::uint32_t half = 0; half < 65536; ++half)
        table[half] = SingleBits(half);
    return table;
}

struct HalfEntry {
    std::uint16_t base;
    std::uint8_t shift;
};

constexpr HalfEntry EntryOf(int exponent)
{
    const auto entry = [](int base, int shift) {
        return HalfEntry{static_cast<std::uint16_t>(base), static_cast<std::uint8_t>(shift)};
    };
    if (exponent < -24)
        return entry(0, 24);
    if (exponent < -14)  // subnormal as a half
        return entry(0x400 >> (-exponent - 14), -exponent - 1);
    if (exponent <= 15)
        return entry((exponent + 15) << 10, 13);
    if (exponent < 128)  // too large: infinity, whatever the mantissa
        return entry(0x7C00, 24);
    return entry(0x7C00, 13);  // infinity and NaN
}

template <class T, T HalfEntry::*field>
constexpr std::array<T, 512> ExponentTable(T signBit)
{
    std::array<T, 512> table{};
    for (unsigned i = 0; i < 256; ++i) {
        table[i] = EntryOf(static_cast<int>(i) - 127).*field;
        table[i + 256] = static_cast<T>(table[i] | signBit);
    }
    return table;
}

}  // namespace

// Made by the compiler, so that they are constant data in the library.
constexpr std::array<std::uint32_t, 65536> _to_float = SingleTable();
constexpr std::array<std::uint16_t, 512> _base_table = ExponentTable<std::uint16_t, &HalfEntry::base>(0x8000);
constexpr std::array<std::uint8_t, 512> _shift_table = ExponentTable<std::uint8_t, &HalfEntry::shift>(0);

}  // namespace vela::geomath
