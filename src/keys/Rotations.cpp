#include "Rotations.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>
#include <limits>

namespace vela::vlgim::keys {

namespace {

// The axes of a rotation order, from the factor that stands on the left to the one on the right. All orders
// are one formula: a cyclic order is EULER_XYZ with its axes renamed, and any other one mirrors it, which
// turns the sense of all three angles.
struct Axes {
    int first, middle, last;
    float sense;
};
constexpr Axes kAxes[] = {
    {0, 1, 2, 1.0F},  {1, 2, 0, 1.0F},  {2, 0, 1, 1.0F},   // XYZ, YZX, ZXY
    {0, 2, 1, -1.0F}, {1, 0, 2, -1.0F}, {2, 1, 0, -1.0F},  // XZY, YXZ, ZYX
};

const Axes* AxesOf(unsigned order)
{
    return order >= 1 && order <= std::size(kAxes) ? &kAxes[order - 1] : nullptr;
}

// From this sine of the middle angle on, the first and the last axis are as good as one.
constexpr float kGimbalSine = 0.999999F;

// Below this trace the square root would be too small to divide by.
constexpr float kLeastTrace = 1e-6F;

_Rotation<float> FromLargestDiagonal(const float (&m)[4][4])
{
    int i = m[1][1] > m[0][0] ? 1 : 0;
    if (m[2][2] > m[i][i])
        i = 2;
    const int j = (i + 1) % 3;
    const int k = (j + 1) % 3;
    const float root = std::sqrt(m[i][i] - m[j][j] - m[k][k] + 1.0F);
    const float f = 0.5F / root;
    float q[3];
    q[i] = root * 0.5F;
    q[j] = (m[j][i] + m[i][j]) * f;
    q[k] = (m[k][i] + m[i][k]) * f;
    return {q[0], q[1], q[2], (m[j][k] - m[k][j]) * f};
}

_Rotation<float> FromTrace(const float (&m)[4][4], float trace)
{
    const float root = std::sqrt(trace + 1.0F);
    const float f = 0.5F / root;
    return {(m[1][2] - m[2][1]) * f, (m[2][0] - m[0][2]) * f, (m[0][1] - m[1][0]) * f, root * 0.5F};
}

// 2 a b: exact in double, rounded once.
float Twice(float a, float b)
{
    return static_cast<float>(2.0 * static_cast<double>(a) * static_cast<double>(b));
}

}  // namespace

_Rotation<float> RotationNormalize(const _Rotation<float>& q)
{
    const float squared = (q.x * q.x + q.z * q.z) + (q.y * q.y + q.w * q.w);
    const float length = std::sqrt(squared);
    if (squared == std::numeric_limits<float>::infinity()) {
        const auto nan = std::bit_cast<float>(0x7FC00000U);
        return {nan, nan, nan, nan};
    }
    if (length == 0.0F)
        return {0.0F, 0.0F, 0.0F, 0.0F};
    return {q.x / length, q.y / length, q.z / length, q.w / length};
}

_Rotation<float> RotationMultiply(const _Rotation<float>& a, const _Rotation<float>& b)
{
    return {a.x * b.w + b.x * a.w + a.y * b.z - a.z * b.y,  //
            b.y * a.w - b.z * a.x + a.y * b.w + a.z * b.x,  //
            b.y * a.x + b.z * a.w - a.y * b.x + a.z * b.w,  //
            b.w * a.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

_Matrix<float> EulerToMatrix(const float* angles, unsigned order)
{
    _Matrix<float> matrix{};
    auto& m = matrix.m;
    if (const Axes* axes = AxesOf(order)) {
        const auto [i, j, k, sense] = *axes;
        const float ci = std::cos(angles[i]), si = sense * std::sin(angles[i]);
        const float cj = std::cos(angles[j]), sj = sense * std::sin(angles[j]);
        const float ck = std::cos(angles[k]), sk = sense * std::sin(angles[k]);
        m[i][i] = cj * ck;
        m[i][j] = cj * sk;
        m[i][k] = -sj;
        m[j][i] = si * sj * ck - ci * sk;
        m[j][j] = si * sj * sk + ci * ck;
        m[j][k] = si * cj;
        m[k][i] = ci * sj * ck + si * sk;
        m[k][j] = ci * sj * sk - si * ck;
        m[k][k] = ci * cj;
    }
    m[3][3] = 1.0F;
    return matrix;
}

_Rotation<float> MatrixToRotation(const _Matrix<float>& matrix)
{
    const auto& m = matrix.m;
    const float trace = m[0][0] + m[1][1] + m[2][2];
    return RotationNormalize(trace < kLeastTrace ? FromLargestDiagonal(m) : FromTrace(m, trace));
}

_Rotation<float> EulerToRotation(const float* angles, unsigned order)
{
    return MatrixToRotation(EulerToMatrix(angles, order));
}

_Matrix<float> RotationToMatrix(const _Rotation<float>& q)
{
    const float xx = Twice(q.x, q.x), yy = Twice(q.y, q.y), zz = Twice(q.z, q.z);
    const float xy = Twice(q.x, q.y), xz = Twice(q.x, q.z), yz = Twice(q.y, q.z);
    const float wx = Twice(q.w, q.x), wy = Twice(q.w, q.y), wz = Twice(q.w, q.z);
    return {{{1.0F - yy - zz, xy + wz, xz - wy, 0.0F},
             {xy - wz, 1.0F - xx - zz, yz + wx, 0.0F},
             {xz + wy, yz - wx, 1.0F - xx - yy, 0.0F},
             {0.0F, 0.0F, 0.0F, 1.0F}}};
}

void MatrixToEuler(const _Matrix<float>& matrix, float* angles, unsigned order)
{
    const Axes* axes = AxesOf(order);
    if (!axes)
        return;
    const auto [i, j, k, sense] = *axes;
    const auto& m = matrix.m;
    const float sine = -sense * m[i][k];
    angles[j] = std::asin(std::clamp(sine, -1.0F, 1.0F));
    if (sine > kGimbalSine) {
        angles[k] = 0.0F;
        angles[i] = std::atan2(-sense * m[k][j], m[j][j]);
    } else {
        angles[k] = std::atan2(sense * m[i][j], m[i][i]);
        angles[i] = std::atan2(sense * m[j][k], m[k][k]);
    }
}

void RotationToEuler(const _Rotation<float>& q, float* angles, unsigned order)
{
    MatrixToEuler(RotationToMatrix(q), angles, order);
}

}  // namespace vela::vlgim::keys
