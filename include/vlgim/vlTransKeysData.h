#pragma once

#include <geomath/Types.h>
#include <vlgim/Array.h>
#include <vlgim/Export.h>

#include <array>
#include <cstdio>

namespace vela::vlgim {

/// Storage forms of keys in a file: bits of m_compressFlags. If several rotation forms are set, the first one in the
/// order 8, 16, 2 applies. The packed forms are for quaternions only. Other bits have no meaning.
inline constexpr unsigned char KEY_HALF_ROT = 2;       ///< 8 bytes for a quaternion, 6 for three angles
inline constexpr unsigned char KEY_HALF_SCALE = 4;     ///< 6 bytes for a scale
inline constexpr unsigned char KEY_PACKED_ROT32 = 8;   ///< 4 bytes for a quaternion
inline constexpr unsigned char KEY_PACKED_ROT48 = 16;  ///< 6 bytes for a quaternion

/// Rotation orders: the order of the factors of the matrix for row vectors, from left to right.
inline constexpr unsigned char EULER_XYZ = 1;
inline constexpr unsigned char EULER_YZX = 2;
inline constexpr unsigned char EULER_ZXY = 3;
inline constexpr unsigned char EULER_XZY = 4;
inline constexpr unsigned char EULER_YXZ = 5;
inline constexpr unsigned char EULER_ZYX = 6;

/// Reference transform of a bone: the deltas of its keys are relative to it.
struct vlTransInfo {
    geomath::_Vector3<float> m_pos{};
    geomath::_Rotation<float> m_rot{};
    geomath::_Vector3<float> m_scale{};
};

/// The keys of one transform channel: position, rotation and scale of a bone or a track. Each of these components has
/// either one value per key, or one value for all keys. In memory all values are floats. Compressed forms exist only in
/// files, and in memory as the result of the last write. The container has the times of the keys. It also has the key
/// count and the form, which the block does not store.
///
/// A copy shares the arrays of its source. They live as long as the last object that shares them. Nothing here writes
/// to an array that a copy may share: reads, writes and the conversions to and from deltas make new arrays for what
/// they change. Before you edit the values of one copy alone, give it arrays of its own with Array::Clone. An object
/// belongs to one thread at a time.
struct VLGIM_API vlTransKeysData {
    unsigned char m_posKeyed = 0;    ///< 0: one position for all keys; else one per key; the value is kept
    unsigned char m_rotKeyed = 0;    ///< the same for rotations
    unsigned char m_scaleKeyed = 0;  ///< the same for scales
    unsigned char m_rotOrder = 0;    ///< 0: quaternions; else Euler angles in the order EULER_XYZ and so on
    unsigned char m_compressFlags = 0;  ///< KEY_HALF_ROT and so on, or 0; set it before each read and write
    Array<float> m_pos;                 ///< 3 floats per position: x, y, z
    Array<float> m_rot;                ///< 4 floats per rotation: x, y, z, w; or 3: angles x, y, z in radians
    Array<float> m_scale;              ///< 3 floats per scale: x, y, z
    Array<unsigned char> m_packedRot;  ///< rotations as the last write packed them, or null
    Array<std::array<unsigned short, 3>> m_packedScale;  ///< scales as the last write packed them, or null
    unsigned short m_keyCount = 0;                       ///< set it before each read and each write

    /// Unbounded if `end` is null: m_keyCount is then trusted.
    /// Reads a block, little-endian: 3 keyed bytes, the rotation order, then one record for each position (12 bytes),
    /// rotation (4, 6, 8, 12 or 16 bytes) and scale (6 or 12 bytes). m_keyCount and m_compressFlags have to be set
    /// before.
    /// src  first byte of the block, at any alignment; null: the result is null
    /// end  one past the last readable byte; null: the caller guarantees that the whole block is readable
    /// Returns the byte after the block. Returns null if the block does not fit; the object is then unchanged.
    /// All arrays are new and share one allocation. A component with one value per key has a null array if there are 0
    /// keys. The packed arrays become null, and m_compressFlags becomes 0, so a write stores full floats unless a form
    /// is set.
    [[nodiscard]] const unsigned char* ReadData(const void* src, const unsigned char* end = nullptr);

    /// Writes the block that ReadData reads, in the form of m_compressFlags. m_keyCount and m_compressFlags have to be
    /// set before.
    /// stream  open for binary writing; its errors are left to the caller to check
    /// A write changes the object:
    /// - In the packed forms each quaternion gets the sign with which its largest component is positive. m_rot is a new
    ///   array if any sign changed.
    /// - A component with one value per key whose keys all equal key 0 keeps only key 0, and its keyed byte becomes 0.
    ///   Values are equal if no number differs by more than 1e-6. Compared are the floats; for scales and Euler angles
    ///   as half floats, the half floats instead; for quaternions in a compressed form, both the floats and the
    ///   compressed keys. The float array is then cut to one key. In the half-float forms the packed array is cut
    ///   instead, and the float array keeps its length.
    /// - m_keyCount is unchanged, and with 0 keys so are the keyed bytes.
    /// If an array is shorter than the keys of its component, an error is logged and nothing is written; the object is
    /// then unchanged.
    void WriteData(std::FILE* stream);

    /// Gets the transform of one key, without interpolation.
    /// key                        index of the key; an index after the last key gives the last key
    /// position, rotation, scale  receive the result; each may be null. The rotation is always a quaternion; an
    ///                            m_rotOrder above 6 gives (1, 0, 0, 0). A component without keys, or whose array is
    ///                            too short for this key, gives position 0, rotation (0, 0, 0, 1) or scale 1.
    void GetKeyPRS(unsigned short key, geomath::_Vector3<float>* position,
                   geomath::_Rotation<float>* rotation, geomath::_Vector3<float>* scale) const noexcept;

    /// ConvertToDelta turns the keys into deltas against `ref`: position minus reference, conjugate of the reference
    /// times rotation, scale divided by reference. ConvertFromDelta turns them back: position plus reference, reference
    /// times rotation, scale times reference. Changed components get new arrays.
    /// Products of quaternions are not normalised. Euler angles are converted as EULER_YZX, whatever m_rotOrder is.
    /// Scales are unchanged if all three of the reference are within 1e-6 of 0; if only some are, the division can give
    /// infinities and NaN. Components whose array is too short for their keys are unchanged.
    /// The object does not record whether its keys are deltas: two calls convert twice.
    void ConvertToDelta(const vlTransInfo& ref);
    void ConvertFromDelta(const vlTransInfo& ref);
};

}  // namespace vela::vlgim
