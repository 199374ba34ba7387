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

// A single key is what most channels have, and too short for a vector.
const RunCodecs& CodecsFor(std::uint64_t count)
{
    if (count < kShortestRun)
        return kPlainCodecs;
    static const RunCodecs& wide = WideCodecs();
    return wide;
}

template <Codec RunCodecs::*kCodec>
void Decode(const void* records, std::uint64_t count, float* keys)
{
    (CodecsFor(count).*kCodec).decode(records, count, keys);
}

template <Codec RunCodecs::*kCodec>
void Encode(float* keys, std::uint64_t count, void* records)
{
    (CodecsFor(count).*kCodec).encode(keys, count, records);
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

template <std::uint32_t kWidth>
constexpr KeyForm SinglesForm()
{
    return {4 * kWidth, kWidth, CopyFloats<kWidth>, nullptr, nullptr, false, true, true};
}

template <Codec RunCodecs::*kCodec, std::uint32_t kWidth>
constexpr KeyForm HalvesForm(bool comparesFloats)
{
    return {2 * kWidth, kWidth,         Decode<kCodec>, Encode<kCodec>, HalvesConstant<kWidth>,
            false,      comparesFloats, false};
}

template <Codec RunCodecs::*kCodec, std::uint32_t kSize>
constexpr KeyForm PackedForm()
{
    return {kSize, 4, Decode<kCodec>, Encode<kCodec>, RecordsConstant<kSize>, true, true, true};
}

}  // namespace

constinit const KeyForm kSingles3 = SinglesForm<3>();
constinit const KeyForm kSingles4 = SinglesForm<4>();
constinit const KeyForm kHalves3 = HalvesForm<&RunCodecs::halfVectors, 3>(false);
constinit const KeyForm kHalves4 = HalvesForm<&RunCodecs::halfRotations, 4>(true);
constinit const KeyForm kPacked32 = PackedForm<&RunCodecs::packed32, 4>();
constinit const KeyForm kPacked48 = PackedForm<&RunCodecs::packed48, 6>();

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
