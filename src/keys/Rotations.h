#pragma once

#include <geomath/Types.h>

// What the keys need of rotations: quaternions x, y, z, w, matrices for row vectors, and Euler angles x, y, z
// in radians under a rotation order from 1 (EULER_XYZ) to 6 (EULER_ZYX). Single precision, one rounding per
// operation in the order written, so that every build gives the same bits but for the C library's sines.
namespace vela::vlgim::keys {

using geomath::_Matrix;
using geomath::_Rotation;

/// Divides by the length. One without length becomes all zero; one whose squared length overflows becomes
/// NaN.
void RotationNormalize(_Rotation<float>* q);

/// out = a times b, the Hamilton product: not normalised. out may be a or b.
void RotationMultiply(const _Rotation<float>& a, const _Rotation<float>& b, _Rotation<float>* out);

/// Sets the rotation and the last column and row; out comes zeroed. An order outside 1 to 6 sets no rotation.
void EulerToMatrix(float x, float y, float z, _Matrix<float>* out, unsigned order);

/// The unit quaternion of a matrix, by the largest diagonal entry where the trace is too small to divide by.
/// Ken Shoemake, "Animating Rotation with Quaternion Curves", 1985.
void MatrixToRotation(const _Matrix<float>& m, _Rotation<float>* out);

/// angles  three, in the order x, y, z whatever the rotation order
void EulerToRotation(const float* angles, _Rotation<float>* out, unsigned order);

/// Sets all of out. A quaternion that is not of unit length gives a matrix that is no rotation.
void RotationToMatrix(const _Rotation<float>& q, _Matrix<float>* out);

/// The middle angle lies between -pi/2 and pi/2, the others between -pi and pi. Near +pi/2, and there only,
/// the last angle is 0. An order outside 1 to 6 leaves the angles alone.
void MatrixToEuler(const _Matrix<float>& m, float* x, float* y, float* z, unsigned order);

void RotationToEuler(const _Rotation<float>& q, float* angles, unsigned order);

}  // namespace vela::vlgim::keys
