#include "KeyCodecs.h"

#include "PackedGrid.h"
#include "Rotations.h"
#include "WideCodecs.h"

#include <geomath/HalfTables.h>

#include <bit>
#include <cmath>
#include <cstring>

namespace vela::vlgim::keys {

namespace {

// --- packed rotations ---

// A packed rotation of either size: which component is missing, and the codes of the three behind it.
struct Codes {
    std::uint32_t tag, a, b, c;
};

Codes Unpack32(std::uint32_t word)
{
    return {word >> 30, word >> 20 & 0x3FFU, word >> 10 & 0x3FFU, word & 0x3FFU};
}

std::uint32_t Pack32(const Codes& codes)
{
    return codes.tag << 30 | codes.a << 20 | codes.b << 10 | codes.c;
}

// The upper half of tag, a and b comes first.
struct Words {
    std::uint16_t word0, word1, word2;
};

Codes Unpack48(const Words& words)
{
    const std::uint32_t high = static_cast<std::uint32_t>(words.word0) << 16 | words.word1;
    return {high >> 30, high >> 15 & 0x7FFFU, high & 0x7FFFU, words.word2 & 0x7FFFU};
}

Words Pack48(const Codes& codes)
{
    const std::uint32_t high = codes.tag << 30 | codes.a << 15 | codes.b;
    return {static_cast<std::uint16_t>(high >> 16), static_cast<std::uint16_t>(high),
            static_cast<std::uint16_t>(codes.c)};
}

// Selections instead of branches from here on: the tag changes from key to key, which no processor foresees.

template <std::uint32_t kLargestCode>
float FromCode(std::uint32_t code)
{
    return static_cast<float>(static_cast<std::int32_t>(code)) / kScale<kLargestCode> - kMost;
}

template <std::uint32_t kLargestCode>
_Rotation<float> Decode(const Codes& codes)
{
    const float a = FromCode<kLargestCode>(codes.a);
    const float b = FromCode<kLargestCode>(codes.b);
    const float c = FromCode<kLargestCode>(codes.c);
    const std::uint32_t tag = codes.tag;
    const float x = tag == 1 ? c : tag == 2 ? b : a;
    const float y = tag == 0 ? a : tag == 2 ? c : b;
    const float z = tag == 0 ? b : tag == 1 ? a : c;
    const float w = tag == 0 ? c : tag == 1 ? b : a;

    // The squares go off one by one, x in the place of the missing component.
    const float first = tag == 1 ? x : y;
    const float second = tag == 2 ? x : z;
    const float third = tag == 3 ? x : w;
    const float missing = std::sqrt(1.0F - first * first - second * second - third * third);
    return {tag == 0 ? missing : x, tag == 1 ? missing : y, tag == 2 ? missing : z, tag == 3 ? missing : w};
}

template <std::uint32_t kLargestCode>
std::uint32_t ToCode(float component)
{
    const float code = (component + kMost) * kScale<kLargestCode> + 0.5F;
    // What is no 32-bit integer counts as 0x80000000, of which a code keeps as many bits as of 0: none.
    const bool fits = code >= -0x1p31F && code < 0x1p31F;
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(fits ? code : 0.0F)) & kLargestCode;
}

// The largest component; of equal ones y goes before z before w before x.
std::uint32_t Largest(const _Rotation<float>& q)
{
    const float x = std::fabs(q.x), y = std::fabs(q.y), z = std::fabs(q.z), w = std::fabs(q.w);
    // Not short-circuited, or it would be branches again.
    const bool isY = (y >= x) & (y >= z) & (y >= w);
    const bool isZ = (z >= x) & (z >= y) & (z >= w);
    const bool isW = (w >= x) & (w >= y) & (w >= z);
    return isY ? 1U : isZ ? 2U : isW ? 3U : 0U;
}

template <std::uint32_t kLargestCode>
Codes Encode(_Rotation<float>& q)
{
    const std::uint32_t tag = Largest(q);
    const float largest = tag == 0 ? q.x : tag == 1 ? q.y : tag == 2 ? q.z : q.w;
    const bool negate = largest < 0.0F;
    q = {negate ? -q.x : q.x, negate ? -q.y : q.y, negate ? -q.z : q.z, negate ? -q.w : q.w};
    const float a = tag == 0 ? q.y : tag == 1 ? q.z : tag == 2 ? q.w : q.x;
    const float b = tag == 0 ? q.z : tag == 1 ? q.w : tag == 2 ? q.x : q.y;
    const float c = tag == 0 ? q.w : tag == 1 ? q.x : tag == 2 ? q.y : q.z;
    return {tag, ToCode<kLargestCode>(a), ToCode<kLargestCode>(b), ToCode<kLargestCode>(c)};
}

// --- half floats ---

std::uint16_t HalfOf(float single)
{
    const auto bits = std::bit_cast<std::uint32_t>(single);
    const std::uint32_t index = bits >> 23;
    return static_cast<std::uint16_t>(geomath::_base_table[index] +
                                      ((bits & 0x7FFFFFU) >> geomath::_shift_table[index]));
}

float SingleOf(std::uint16_t half)
{
    return std::bit_cast<float>(geomath::_to_float[half]);
}

// --- runs ---

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

_Rotation<float> KeyAt(const float* keys, std::uint64_t index)
{
    return {keys[4 * index], keys[4 * index + 1], keys[4 * index + 2], keys[4 * index + 3]};
}

void SetKey(float* keys, std::uint64_t index, const _Rotation<float>& q)
{
    keys[4 * index] = q.x;
    keys[4 * index + 1] = q.y;
    keys[4 * index + 2] = q.z;
    keys[4 * index + 3] = q.w;
}

Words LoadWords(const void* records, std::uint64_t index)
{
    return {Load<std::uint16_t>(records, 3 * index), Load<std::uint16_t>(records, 3 * index + 1),
            Load<std::uint16_t>(records, 3 * index + 2)};
}

void StoreWords(const Words& words, void* records, std::uint64_t index)
{
    Store(words.word0, records, 3 * index);
    Store(words.word1, records, 3 * index + 1);
    Store(words.word2, records, 3 * index + 2);
}

void EncodeHalves(const float* values, std::uint64_t count, void* halves)
{
    for (std::uint64_t i = 0; i < count; ++i)
        Store(HalfOf(values[i]), halves, i);
}

void DecodeHalves(const void* halves, std::uint64_t count, float* values)
{
    for (std::uint64_t i = 0; i < count; ++i)
        values[i] = SingleOf(Load<std::uint16_t>(halves, i));
}

void PlainEncodeRotations32(float* keys, std::uint64_t count, void* records)
{
    for (std::uint64_t i = 0; i < count; ++i) {
        auto q = KeyAt(keys, i);
        Store(Pack32(Encode<kLargest32>(q)), records, i);
        SetKey(keys, i, q);
    }
}

void PlainEncodeRotations48(float* keys, std::uint64_t count, void* records)
{
    for (std::uint64_t i = 0; i < count; ++i) {
        auto q = KeyAt(keys, i);
        StoreWords(Pack48(Encode<kLargest48>(q)), records, i);
        SetKey(keys, i, q);
    }
}

void PlainEncodeHalfRotations(float* keys, std::uint64_t count, void* records)
{
    EncodeHalves(keys, 4 * count, records);
}

void PlainEncodeHalfVectors3(float* keys, std::uint64_t count, void* records)
{
    EncodeHalves(keys, 3 * count, records);
}

void PlainDecodeRotations32(const void* records, std::uint64_t count, float* keys)
{
    for (std::uint64_t i = 0; i < count; ++i)
        SetKey(keys, i, Decode<kLargest32>(Unpack32(Load<std::uint32_t>(records, i))));
}

void PlainDecodeRotations48(const void* records, std::uint64_t count, float* keys)
{
    for (std::uint64_t i = 0; i < count; ++i)
        SetKey(keys, i, Decode<kLargest48>(Unpack48(LoadWords(records, i))));
}

void PlainDecodeHalfRotations(const void* records, std::uint64_t count, float* keys)
{
    DecodeHalves(records, 4 * count, keys);
    for (std::uint64_t i = 0; i < count; ++i) {
        auto q = KeyAt(keys, i);
        const float squared = q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w;
        if (squared < 0.95F || squared > 1.0F) {
            q = RotationNormalize(q);
            SetKey(keys, i, q);
        }
    }
}

void PlainDecodeHalfVectors3(const void* records, std::uint64_t count, float* keys)
{
    DecodeHalves(records, 3 * count, keys);
}

const RunCodecs& Codecs()
{
    static const RunCodecs* const wide = WideCodecs();
    return wide ? *wide : kPlainCodecs;
}

// A single key is what most channels have, and too short for a vector.
const RunCodecs& CodecsFor(std::uint64_t count)
{
    return count < kShortestRun ? kPlainCodecs : Codecs();
}

}  // namespace

const RunCodecs kPlainCodecs{PlainEncodeRotations32,   PlainEncodeRotations48, PlainEncodeHalfRotations,
                             PlainEncodeHalfVectors3,  PlainDecodeRotations32, PlainDecodeRotations48,
                             PlainDecodeHalfRotations, PlainDecodeHalfVectors3};

void EncodeRotations32(float* keys, std::uint64_t count, void* records)
{
    CodecsFor(count).encodeRotations32(keys, count, records);
}

void EncodeRotations48(float* keys, std::uint64_t count, void* records)
{
    CodecsFor(count).encodeRotations48(keys, count, records);
}

void EncodeHalfRotations(float* keys, std::uint64_t count, void* records)
{
    CodecsFor(count).encodeHalfRotations(keys, count, records);
}

void EncodeHalfVectors3(float* keys, std::uint64_t count, void* records)
{
    CodecsFor(count).encodeHalfVectors3(keys, count, records);
}

void DecodeRotations32(const void* records, std::uint64_t count, float* keys)
{
    CodecsFor(count).decodeRotations32(records, count, keys);
}

void DecodeRotations48(const void* records, std::uint64_t count, float* keys)
{
    CodecsFor(count).decodeRotations48(records, count, keys);
}

void DecodeHalfRotations(const void* records, std::uint64_t count, float* keys)
{
    CodecsFor(count).decodeHalfRotations(records, count, keys);
}

void DecodeHalfVectors3(const void* records, std::uint64_t count, float* keys)
{
    CodecsFor(count).decodeHalfVectors3(records, count, keys);
}

}  // namespace vela::vlgim::keys
