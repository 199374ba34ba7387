#pragma once

#include <vlgim/vlTransKeysData.h>

#include <cstdint>

namespace vela::vlgim::keys {

/// How the keys of a component lie in a file: a run of records, one for each key.
struct KeyForm {
    std::uint32_t recordSize;  ///< bytes in the file
    std::uint32_t width;       ///< floats in memory

    /// Expands a run into count * width floats.
    void (*decode)(const void* records, std::uint64_t count, float* keys);

    /// Packs a run into count * recordSize bytes; may turn the signs of keys in place. Null where the records
    /// are the floats themselves. So is `constant`, which tells whether all records equal record 0.
    void (*encode)(float* keys, std::uint64_t count, void* records);
    bool (*constant)(const void* records, std::uint64_t count);

    bool comparesFloats;  ///< keys count as constant only where their floats are, too
    bool shrinksFloats;   ///< constant keys leave one in the float array, and not in the packed one
};

extern const KeyForm kSingles3, kSingles4, kHalves3, kHalves4, kPacked32, kPacked48;

// Inline, like all that is asked for every channel of a file.
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

/// Keys of a component, in memory and in the file.
inline std::uint32_t ComponentKeys(unsigned char keyed, unsigned short keyCount)
{
    return keyed ? keyCount : 1;
}

/// Whether two numbers differ by 1e-6 at most; a NaN difference is none.
bool Near(float a, float b);

/// Whether all of the keys of `width` floats are near key 0, number by number.
bool FloatsConstant(const float* keys, std::uint64_t count, std::uint32_t width);

}  // namespace vela::vlgim::keys
