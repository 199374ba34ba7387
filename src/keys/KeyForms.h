#pragma once

#include <vlgim/vlTransKeysData.h>

#include <cstdint>

namespace vela::vlgim::keys {

/// How a file stores the keys of a component: a run of records, one for each key.
struct KeyForm {
    std::uint32_t recordSize;  ///< bytes in the file
    std::uint32_t width;       ///< floats in memory

    /// Decodes a run of records into count * width floats.
    void (*decode)(const void* records, std::uint64_t count, float* keys);

    /// Encodes a run of keys into count * recordSize bytes. Null if the records are the floats themselves.
    void (*encode)(float* keys, std::uint64_t count, void* records);
    /// Returns true if all records equal record 0. Null if `encode` is null.
    bool (*constant)(const void* records, std::uint64_t count);

    bool turnsSigns;      ///< `encode` may change the signs of keys, in place
    bool comparesFloats;  ///< keys are constant only if their floats are equal, too
    bool shrinksFloats;   ///< constant keys are cut to one in the float array; otherwise in the packed array
};

extern const KeyForm kSingles3, kSingles4, kHalves3, kHalves4, kPacked32, kPacked48;

// Inline, like everything that is called for each channel of a file.
inline const KeyForm& PositionForm()
{
    return kSingles3;
}

inline const KeyForm& RotationForm(unsigned char rotOrder, unsigned char compressFlags)
{
    if (rotOrder != 0)
        return compressFlags & KEY_HALF_ROT ? kHalves3 : kSingles3;
    if (compressFlags & KEY_PACKED_ROT32)
        return kPacked32;
    if (compressFlags & KEY_PACKED_ROT48)
        return kPacked48;
    return compressFlags & KEY_HALF_ROT ? kHalves4 : kSingles4;
}

inline const KeyForm& ScaleForm(unsigned char compressFlags)
{
    return compressFlags & KEY_HALF_SCALE ? kHalves3 : kSingles3;
}

/// Number of keys of a component, in memory and in the file.
inline std::uint32_t ComponentKeys(unsigned char keyed, unsigned short keyCount)
{
    return keyed ? keyCount : 1;
}

/// True if two numbers differ by at most 1e-6. A difference of NaN counts as none.
bool Near(float a, float b);

/// True if all keys of `width` floats are near key 0, number by number.
bool FloatsConstant(const float* keys, std::uint64_t count, std::uint32_t width);

}  // namespace vela::vlgim::keys
