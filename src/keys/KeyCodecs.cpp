#include "KeyCodecs.h"

#include "Rotations.h"

#include <geomath/HalfTables.h>

#include <cmath>
#include <cstring>

namespace vela::vlgim::keys {

namespace {

// The record at an index, from and to any alignment.
template <class Record>
Record Load(const void* records, std::uint64_t index)
{
    Record record;
    std::memcpy(&record, static_cast<const unsigned char*>(records) + index * sizeof record, sizeof record);
    return record;
}

template <class Record>
void Store(const Record& record, void* records, std::uint64_t index)
{
    std::memcpy(static_cast<unsigned char*>(records) + index * sizeof record, &record, sizeof record);
}

// --- packed rotations ---

// Which component is missing, and the codes of the three behind it.
struct Codes {
    std::uint32_t tag, a, b, c;
};

struct Packed32 {
    static constexpr std::uint32_t kLargestCode = kLargest32;

    static Codes Unpack(const void* records, std::uint64_t index)
    {
        const auto word = Load<std::uint32_t>(records, index);
        return {word >> 30, word >> 20 & kLargestCode, word >> 10 & kLargestCode, word & kLargestCode};
    }

    static void Pack(const Codes& codes, void* records, std::uint64_t index)
    {
        Store(codes.tag << 30 | codes.a << 20 | codes.b << 10 | codes.c, records, index);
    }
};

struct Packed48 {
    static constexpr std::uint32_t kLargestCode = kLargest48;

    static Codes Unpack(const void* records, std::uint64_t index)
    {
        const std::uint32_t high = std::uint32_t{Load<std::uint16_t>(records, 3 * index)} << 16 |
                                   Load<std::uint16_t>(records, 3 * index + 1);
        const auto low = Load<std::uint16_t>(records, 3 * index + 2);
        return {high >> 30, high >> 15 & kLargestCode, high & kLargestCode, low & kLargestCode};
    }

    static void Pack(const Codes& codes, void* records, std::uint64_t index)
    {
        const std::uint32_t high = codes.tag << 30 | codes.a << 15 | codes.b;
        Store(static_cast<std::uint16_t>(high >> 16), records, 3 * index);
        Store(static_cast<std::uint16_t>(high), records, 3 * index + 1);
        Store(static_cast<std::uint16_t>(codes.c), records, 3 * index + 2);
    }
};

template <std::uint32_t kLargestCode>
float FromCode(std::uint32_t code)
{
    return static_cast<float>(static_cast<std::int32_t>(code)) / kScale<kLargestCode> - kMost;
}

template <std::uint32_t kLargestCode>
std::uint32_t ToCode(float component)
{
    const float code = (component + kMost) * kScale<kLargestCode> + 0.5F;
    // What is no 32-bit integer counts as 0x80000000, of which a code keeps as many bits as of 0: none.
    const bool fits = code >= -0x1p31F && code < 0x1p31F;
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(fits ? code : 0.0F)) & kLargestCode;
}

// The largest component; of equal ones y goes before z before w before x, which goes first where one is NaN.
std::uint32_t Largest(const float* q)
{
    // Indices and selections instead of branches: the tag changes from key to key, which no processor foresees.
    const auto magnitude = [q](std::uint32_t i) { return std::bit_cast<std::uint32_t>(q[i]) & 0x7FFFFFFFU; };
    std::uint32_t largest = 1;
    for (const std::uint32_t i : {2U, 3U, 0U})
        largest = magnitude(i) > magnitude(largest) ? i : largest;
    return magnitude(largest) > 0x7F800000U ? 0 : largest;
}

template <class Form>
void EncodePacked(float* keys, std::uint64_t count, void* records)
{
    for (std::uint64_t i = 0; i < count; ++i) {
        float* const q = keys + 4 * i;
        const std::uint32_t tag = Largest(q);
        const bool isNegative = q[tag] < 0.0F;
        for (int component = 0; component < 4; ++component)
            q[component] = isNegative ? -q[component] : q[component];
        const auto code = [&](std::uint32_t step) { return ToCode<Form::kLargestCode>(q[(tag + step) % 4]); };
        Form::Pack({tag, code(1), code(2), code(3)}, records, i);
    }
}

template <class Form>
void DecodePacked(const void* records, std::uint64_t count, float* keys)
{
    for (std::uint64_t i = 0; i < count; ++i) {
        const Codes codes = Form::Unpack(records, i);
        const std::uint32_t tag = codes.tag;
        const float a = FromCode<Form::kLargestCode>(codes.a);
        const float b = FromCode<Form::kLargestCode>(codes.b);
        const float c = FromCode<Form::kLargestCode>(codes.c);
        // The squares go off in the order y, z, w, with x in the place of the missing component.
        const float first = tag == 0 ? a : tag == 3 ? b : c;
        const float second = tag == 1 ? a : tag == 3 ? c : b;
        const float third = tag == 0 ? c : tag == 1 ? b : a;
        float* const q = keys + 4 * i;
        q[tag] = std::sqrt(1.0F - first * first - second * second - third * third);
        q[(tag + 1) % 4] = a;
        q[(tag + 2) % 4] = b;
        q[(tag + 3) % 4] = c;
    }
}

// --- half floats ---

template <std::uint64_t kWidth>
void EncodeHalves(float* keys, std::uint64_t count, void* records)
{
    for (std::uint64_t i = 0; i < kWidth * count; ++i) {
        const auto bits = std::bit_cast<std::uint32_t>(keys[i]);
        const std::uint32_t index = bits >> 23;
        const std::uint32_t mantissa = (bits & 0x7FFFFFU) >> geomath::_shift_table[index];
        Store(static_cast<std::uint16_t>(geomath::_base_table[index] + mantissa), records, i);
    }
}

template <std::uint64_t kWidth>
void DecodeHalves(const void* records, std::uint64_t count, float* keys)
{
    for (std::uint64_t i = 0; i < kWidth * count; ++i)
        keys[i] = std::bit_cast<float>(geomath::_to_float[Load<std::uint16_t>(records, i)]);
}

void DecodeHalfRotations(const void* records, std::uint64_t count, float* keys)
{
    DecodeHalves<4>(records, count, keys);
    for (std::uint64_t i = 0; i < count; ++i) {
        const float* const q = keys + 4 * i;
        const float squared = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
        if (squared < 0.95F || squared > 1.0F)
            Store(RotationNormalize({q[0], q[1], q[2], q[3]}), keys, i);
    }
}

}  // namespace

constinit const RunCodecs kPlainCodecs{{EncodePacked<Packed32>, DecodePacked<Packed32>},
                                       {EncodePacked<Packed48>, DecodePacked<Packed48>},
                                       {EncodeHalves<4>, DecodeHalfRotations},
                                       {EncodeHalves<3>, DecodeHalves<3>}};

}  // namespace vela::vlgim::keys
