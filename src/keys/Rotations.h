#pragma once

#include <geomath/Types.h>

// What the keys need of rotations: quaternions x, y, z, w, matrices for row vectors, and Euler angles x, y, z
// in radians under a rotation order from 1 (EULER_XYZ) to 6 (EULER_ZYX). Single precision, one rounding per
// operation in the order written, so that every build gives the same bits but for the C library's sines.
// Angles are three, in the order x, y, z whatever the rotation order.
namespace vela::vlgim::keys {

using geomath::_Matrix;
using geomath::_Rotation;

/// Divides by the length. One without length becomes all zero; one whose squared length overflows becomes
/// NaN.
_Rotation<float> RotationNormalize(const _Rotation<float>& q);

/// a times b, the Hamilton product: not normalised.
_Rotation<float> RotationMultiply(const _Rotation<float>& a, const _Rotation<float>& b);

/// An order outside 1 to 6 gives no rotation: all of its nine entries are 0.
_Matrix<float> EulerToMatrix(const float* angles, unsigned order);

/// The unit quaternion of a matrix, by the largest diagonal entry where the trace is too small to divide by.
/// Ken Shoemake, "Animating Rotation with Quaternion Curves", 1985.
_Rotation<float> MatrixToRotation(const _Matrix<float>& matrix);

_Rotation<float> EulerToRotation(const float* angles, unsigned order);

/// A quaternion that is not of unit length gives a matrix that is no rotation.
_Matrix<float> RotationToMatrix(const _Rotation<float>& q);

/// The middle angle lies between -pi/2 and pi/2, the others between -pi and pi. Near +pi/2, and there only,
/// the last angle is 0. An order outside 1 to 6 leaves the angles alone.
void MatrixToEuler(const _Matrix<float>& matrix, float* angles, unsigned order);

void RotationToEuler(const _Rotation<float>& q, float* angles, unsigned order);

}  // namespace vela::vlgim::keys
