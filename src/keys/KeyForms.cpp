#include "KeyForms.h"

#include "KeyCodecs.h"

#include <geomath/HalfTables.h>

#include <bit>
#include <cstring>

namespace vela::vlgim::keys {

namespace {

constexpr float kTolerance = 1e-6F;

template <std::uint32_t kWidth>
void CopyFloats(const void* records, std::uint64_t count, float* keys)
{
    std::memcpy(keys, records, count * kWidth * sizeof(float));
}

template <std::uint32_t kSize>
bool RecordsConstant(const void* records, std::uint64_t count)
{
    // A run equals itself moved by one record just where all of its records are equal.
    const auto* bytes = static_cast<const unsigned char*>(records);
    return count == 0 || std::memcmp(bytes, bytes + kSize, (count - 1) * kSize) == 0;
}

float HalfAt(const void* halves, std::uint64_t index)
{
    std::uint16_t half = 0;
    std::memcpy(&half, static_cast<const unsigned char*>(halves) + index * sizeof half, sizeof half);
    return std::bit_cast<float>(geomath::_to_float[half]);
}

template <std::uint32_t kWidth>
bool HalvesConstant(const void* records, std::uint64_t count)
{
    for (std::uint64_t i = kWidth; i < count * kWidth; ++i)
        if (!Near(HalfAt(records, i), HalfAt(records, i % kWidth)))
            return false;
    return true;
}

}  // namespace

constinit const KeyForm kSingles3{12, 3, CopyFloats<3>, nullptr, nullptr, true, true};
constinit const KeyForm kSingles4{16, 4, CopyFloats<4>, nullptr, nullptr, true, true};
constinit const KeyForm kHalves3{6,     3,    DecodeHalfVectors3, EncodeHalfVectors3, HalvesConstant<3>,
                                 false, false};
constinit const KeyForm kHalves4{8,    4,    DecodeHalfRotations, EncodeHalfRotations, HalvesConstant<4>,
                                 true, false};
constinit const KeyForm kPacked32{4, 4, DecodeRotations32, EncodeRotations32, RecordsConstant<4>, true, true};
constinit const KeyForm kPacked48{6, 4, DecodeRotations48, EncodeRotations48, RecordsConstant<6>, true, true};

bool Near(float a, float b)
{
    const float difference = a - b;
    return !(difference > kTolerance) && !(-kTolerance > difference);
}

bool FloatsConstant(const float* keys, std::uint64_t count, std::uint32_t width)
{
    for (std::uint64_t key = 1; key < count; ++key)
        for (std::uint32_t i = 0; i < width; ++i)
            if (!Near(keys[key * width + i], keys[i]))
                return false;
    return true;
}

}  // namespace vela::vlgim::keys
