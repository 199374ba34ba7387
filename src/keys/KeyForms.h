#pragma once

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

const KeyForm& PositionForm();
const KeyForm& RotationForm(unsigned char rotOrder, unsigned char compressFlags);
const KeyForm& ScaleForm(unsigned char compressFlags);

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
