#pragma once

#include <vlgim/Export.h>

#include <bit>
#include <cfloat>

// Files store these types as little-endian floats in this order, so sizes and orders are part of the formats.
static_assert(std::endian::native == std::endian::little,
              "all formats are little-endian, and so must the host be");

static_assert(FLT_EVAL_METHOD == 0, "single precision has to round after every operation");

namespace vela::geomath {

/// A position, normal, tangent or scale. Not initialised by default.
template <class T>
struct _Vector3 {
    T x, y, z;
};

/// A texture coordinate.
template <class T>
struct _Point2 {
    T u = 0, v = 0;
};

/// A quaternion. Not initialised by default.
template <class T>
struct _Rotation {
    T x, y, z, w;
};

/// A 4 x 4 matrix in row-major order, for row vectors. Not initialised by default.
template <class T>
struct _Matrix {
    T m[4][4];
};

static_assert(sizeof(_Vector3<float>) == 12);
static_assert(sizeof(_Point2<float>) == 8);
static_assert(sizeof(_Rotation<float>) == 16);
static_assert(sizeof(_Matrix<float>) == 64);

}  // namespace vela::geomath
