#include <geomath/HalfTables.h>

#include <bit>

namespace vela::geomath {

namespace {

constexpr std::uint32_t SingleBits(std::uint32_t half)
{
    const std::uint32_t sign = (half & 0x8000U) << 16;
    const std::uint32_t magnitude = (half & 0x7FFFU) << 13;
    if (magnitude >= 31U << 23)  // infinity and NaN
        return sign | 0x70000000U | magnitude;
    // The exponent of a single counts from 112 lower. The product is exact, also that of a subnormal.
    return sign | std::bit_cast<std::uint32_t>(std::bit_cast<float>(magnitude) * 0x1P112F);
}

struct Entries {
    unsigned base, shift;
};

// What the base and the shift table have for a float with these bits of sign and exponent.
constexpr Entries EntriesOf(unsigned signAndExponent)
{
    const unsigned sign = (signAndExponent & 256U) << 7;
    const int exponent = static_cast<int>(signAndExponent & 255U) - 127;
    if (exponent < -24)
        return {sign, 24};
    if (exponent < -14)  // subnormal as a half
        return {sign | 0x400U >> (-exponent - 14), static_cast<unsigned>(-exponent - 1)};
    if (exponent <= 15)
        return {sign | static_cast<unsigned>(exponent + 15) << 10, 13};
    // Infinity. What is too large loses its mantissa, and a NaN keeps it.
    return {sign | 0x7C00U, exponent < 128 ? 24U : 13U};
}

template <class T, std::size_t size, class Entry>
constexpr std::array<T, size> Table(Entry entry)
{
    std::array<T, size> table{};
    for (unsigned i = 0; i < size; ++i)
        table[i] = static_cast<T>(entry(i));
    return table;
}

}  // namespace

// Made by the compiler, so that they are constant data in the library.
constexpr std::array<std::uint32_t, 65536> _to_float = Table<std::uint32_t, 65536>(SingleBits);
constexpr std::array<std::uint16_t, 512> _base_table =
    Table<std::uint16_t, 512>([](unsigned i) { return EntriesOf(i).base; });
constexpr std::array<std::uint8_t, 512> _shift_table =
    Table<std::uint8_t, 512>([](unsigned i) { return EntriesOf(i).shift; });

}  // namespace vela::geomath
