#pragma once

#include <geomath/Types.h>
#include <vlgim/Array.h>
#include <vlgim/Export.h>

#include <array>
#include <cstdio>

namespace vela::vlgim {

/// Forms that keys take in a file, bits of m_compressFlags. Of the rotation forms the first one set in the
/// order 8, 16, 2 holds; the packed ones are for quaternions only. Other bits have no meaning.
inline constexpr unsigned char KEY_HALF_ROT = 2;       ///< 8 bytes a quaternion, 6 bytes three Euler angles
inline constexpr unsigned char KEY_HALF_SCALE = 4;     ///< 6 bytes
inline constexpr unsigned char KEY_PACKED_ROT32 = 8;   ///< 4 bytes
inline constexpr unsigned char KEY_PACKED_ROT48 = 16;  ///< 6 bytes

/// Rotation orders: of the factors of the matrix for row vectors, from left to right.
inline constexpr unsigned char EULER_XYZ = 1;
inline constexpr unsigned char EULER_YZX = 2;
inline constexpr unsigned char EULER_ZXY = 3;
inline constexpr unsigned char EULER_XZY = 4;
inline constexpr unsigned char EULER_YXZ = 5;
inline constexpr unsigned char EULER_ZYX = 6;

/// Reference transform of a bone: what the deltas of its keys are against.
struct vlTransInfo {
    geomath::_Vector3<float> m_pos{};
    geomath::_Rotation<float> m_rot{};
    geomath::_Vector3<float> m_scale{};
};

/// Keys of one transform channel: position, rotation and scale of a bone or a track, each either once per key
/// or once for all keys. In memory all keys are floats; the small forms exist in files, and while one is
/// written. The times of the keys lie in the container, and so do the key count and the form, which no block
/// holds.
///
/// A copy shows the same arrays as its source. Nothing here writes into an array that a copy may show: reading, the
/// conversions to and from deltas and writing put new arrays in place of those that they change. To edit the numbers
/// of one copy alone, give it arrays of its own first (Array::Clone).
///
/// An object belongs to one thread at a time.
struct VLGIM_API vlTransKeysData {
    unsigned char m_posKeyed = 0;  ///< 0: one position for all keys; else one for each, and the value is kept
    unsigned char m_rotKeyed = 0;  ///< the same for rotations
    unsigned char m_scaleKeyed = 0;  ///< the same for scales
    unsigned char m_rotOrder = 0;    ///< 0: quaternions; else Euler angles in this order, EULER_XYZ and so on
    unsigned char m_compressFlags = 0;  ///< set before each read and each write; KEY_HALF_ROT and so on, or 0
    Array<float> m_pos;                 ///< 3 floats a key: x, y, z
    Array<float> m_rot;                 ///< 4 floats a key: x, y, z, w; or 3: angles x, y, z in radians
    Array<float> m_scale;               ///< 3 floats a key: x, y, z
    Array<unsigned char> m_packedRot;   ///< rotations as the last write packed them; or null
    Array<std::array<unsigned short, 3>> m_packedScale;  ///< scales as the last write packed them; or null
    unsigned short m_keyCount = 0;                       ///< set before each read and each write

    /// Reads a block, little-endian, at any alignment: 3 keyed bytes, the rotation order, then a record for
    /// each position (12 bytes), rotation (4, 6, 8, 12 or 16) and scale (6 or 12). Needs m_keyCount and
    /// m_compressFlags.
    /// src   first byte of the block; null gives null
    /// end   one past the last readable byte; null if the caller vouches for the block
    /// Returns the byte behind the block; null if it does not fit, and the object is as it was.
    /// The arrays are new and lie in one allocation; a component that is keyed by 0 keys has a null one. The
    /// packed arrays are null and m_compressFlags is 0, so that a write which sets no form is in full floats.
    const unsigned char* ReadData(const void* src, const unsigned char* end = nullptr);

    /// Writes the block in the form that m_compressFlags tells; of several rotation forms the first one in
    /// the order 8, 16, 2. The results of the stream are not looked at. The write changes the object:
    /// - In the packed forms each quaternion takes the sign that makes its largest component positive, in a new
    ///   m_rot.
    /// - A keyed component whose keys all equal key 0 keeps that key alone and loses its keyed byte. Equal
    ///   means within 1e-6, number by number. For scales and Euler angles in half floats the halves decide;
    ///   for quaternions in a small form both the floats and the packed keys. In half floats it is the packed
    ///   array that is cut to one key, and the float array keeps its length; else it is the float array.
    /// m_keyCount stays, and a component without keys keeps its keyed byte.
    /// Where an array is shorter than the keys of its component, the error is logged, nothing is written and the
    /// object does not change.
    void WriteData(std::FILE* stream);

    /// Transform of one key, without interpolation; an index behind the last key gives the last key.
    /// Rotations are given as quaternions, whatever the keys are; an m_rotOrder above 6 gives (1, 0, 0, 0). Each
    /// output may be null. A component without keys, or whose array is too short to hold the key, gives position 0,
    /// rotation (0, 0, 0, 1) or scale 1.
    void GetKeyPRS(unsigned short key, geomath::_Vector3<float>* position,
                   geomath::_Rotation<float>* rotation, geomath::_Vector3<float>* scale) const;

    /// Turns the keys into deltas against `ref`, in new arrays: position minus reference, conjugate of the
    /// reference times rotation, scale divided by the reference; and back: position plus reference, reference
    /// times rotation, scale times reference. Products of quaternions are not normalised. Scales stay where
    /// all of the reference's lie within 1e-6 of 0; a single one there divides as it is, up to infinities and
    /// NaN. Euler keys are taken as EULER_YZX whatever m_rotOrder says. Nothing records what state the keys
    /// are in: twice converts twice. Components whose array is shorter than their keys are left as they are.
    void ConvertToDelta(const vlTransInfo& ref);
    void ConvertFromDelta(const vlTransInfo& ref);
};

}  // namespace vela::vlgim
