#include <keys/Rotations.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

using namespace vela::vlgim::keys;

namespace {

constexpr float kGimbal = std::bit_cast<float>(0x3F7FFFEFU);
constexpr float kRight = std::bit_cast<float>(0x3FC90FDBU);

// By order: the axes of the factors of the matrix, left to right.
const char* const kOrders[] = {"", "xyz", "yzx", "zxy", "xzy", "yxz", "zyx"};

struct Matrix3 {
    float m[3][3];
};

Matrix3 Factor(char axis, float angle)
{
    const float c = std::cos(angle), s = std::sin(angle);
    switch (axis) {
    case 'x':
        return {{{1, 0, 0}, {0, c, s}, {0, -s, c}}};
    case 'y':
        return {{{c, 0, -s}, {0, 1, 0}, {s, 0, c}}};
    default:
        return {{{c, s, 0}, {-s, c, 0}, {0, 0, 1}}};
    }
}

// Each factor is so sparse that no entry of the product has more than two terms other than 0.
Matrix3 operator*(const Matrix3& a, const Matrix3& b)
{
    Matrix3 product{};
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            for (int i = 0; i < 3; ++i)
                product.m[row][column] += a.m[row][i] * b.m[i][column];
    return product;
}

void ExpectBits(const _Rotation<float>& q, const _Rotation<float>& expected)
{
    EXPECT_EQ(std::memcmp(&q, &expected, sizeof q), 0)
        << q.x << " " << q.y << " " << q.z << " " << q.w << " is not " << expected.x << " " << expected.y
        << " " << expected.z << " " << expected.w;
}

_Matrix<float> Diagonal(float m00, float m11, float m22)
{
    // Entries off the diagonal that tell every difference and sum from every other one.
    return {{{m00, 0.5F, 0.25F, 0}, {0.125F, m11, 0.0625F, 0}, {0.75F, 0.375F, m22, 0}, {0, 0, 0, 1}}};
}

}  // namespace

TEST(Rotations, EulerMatricesAreTheProductsOfTheirFactors)
{
    const float angles[3] = {0.3F, -1.1F, 2.7F};
    for (unsigned order = 1; order <= 6; ++order) {
        Matrix3 expected{};
        for (int i = 0; i < 3; ++i) {
            const char axis = kOrders[order][i];
            const Matrix3 factor = Factor(axis, angles[axis - 'x']);
            expected = i == 0 ? factor : expected * factor;
        }
        _Matrix<float> matrix{};
        matrix.m[0][3] = 5;
        EulerToMatrix(angles[0], angles[1], angles[2], &matrix, order);
        for (int row = 0; row < 3; ++row) {
            for (int column = 0; column < 3; ++column)
                EXPECT_EQ(matrix.m[row][column], expected.m[row][column])
                    << kOrders[order] << " " << row << column;
            EXPECT_EQ(matrix.m[row][3], 0);
        }
        EXPECT_EQ(matrix.m[3][3], 1);
    }
    for (const unsigned order : {0U, 7U, 255U}) {
        _Matrix<float> matrix{};
        EulerToMatrix(angles[0], angles[1], angles[2], &matrix, order);
        EXPECT_EQ(matrix.m[0][0], 0);
        _Rotation<float> q{};
        EulerToRotation(angles, &q, order);
        ExpectBits(q, {1, 0, 0, 0});  // what a matrix without a rotation gives
    }
}

// An entry of a matrix with its sign.
struct Entry {
    float sign;
    int row, column;

    float Of(const _Matrix<float>& m) const { return sign < 0 ? -m.m[row][column] : m.m[row][column]; }
};

TEST(Rotations, EulerAnglesOnBothSidesOfTheGimbalThreshold)
{
    const struct {
        unsigned order;
        Entry sine;
        int middle, zero, other, last;
        Entry gimbal[2], otherArgs[2], lastArgs[2];
    } rows[] = {
        {1, {-1, 0, 2}, 1, 2, 0, 2, {{-1, 2, 1}, {1, 1, 1}}, {{1, 1, 2}, {1, 2, 2}}, {{1, 0, 1}, {1, 0, 0}}},
        {2, {-1, 1, 0}, 2, 0, 1, 0, {{-1, 0, 2}, {1, 2, 2}}, {{1, 2, 0}, {1, 0, 0}}, {{1, 1, 2}, {1, 1, 1}}},
        {3, {-1, 2, 1}, 0, 1, 2, 1, {{-1, 1, 0}, {1, 0, 0}}, {{1, 0, 1}, {1, 1, 1}}, {{1, 2, 0}, {1, 2, 2}}},
        {4, {1, 0, 1}, 2, 1, 0, 1, {{1, 1, 2}, {1, 2, 2}}, {{-1, 2, 1}, {1, 1, 1}}, {{-1, 0, 2}, {1, 0, 0}}},
        {5, {1, 1, 2}, 0, 2, 1, 2, {{1, 2, 0}, {1, 0, 0}}, {{-1, 0, 2}, {1, 2, 2}}, {{-1, 1, 0}, {1, 1, 1}}},
        {6, {1, 2, 0}, 1, 0, 2, 0, {{1, 0, 1}, {1, 1, 1}}, {{-1, 1, 0}, {1, 0, 0}}, {{-1, 2, 1}, {1, 2, 2}}},
    };
    const float sines[] = {-1.5F, -1,      std::nextafter(-1.0F, 0.0F),   -kGimbal,   -0.5F, 0,
                           0.5F,  kGimbal, std::nextafter(kGimbal, 1.0F), 0.9999995F, 1,     1.5F};
    for (const auto& row : rows) {
        for (const float sine : sines) {
            _Matrix<float> m{
                {{0.11F, 0.22F, 0.33F, 0}, {-0.44F, 0.55F, 0.66F, 0}, {0.77F, -0.88F, 0.99F, 0}, {}}};
            m.m[row.sine.row][row.sine.column] = row.sine.sign * sine;
            float angles[3] = {9, 9, 9};
            MatrixToEuler(m, &angles[0], &angles[1], &angles[2], row.order);
            const auto arc = [&m](const Entry(&args)[2]) { return std::atan2(args[0].Of(m), args[1].Of(m)); };
            const bool gimbal = sine > kGimbal;
            EXPECT_EQ(angles[row.middle], sine <= -1 ? -kRight : sine >= 1 ? kRight : std::asin(sine));
            EXPECT_EQ(angles[row.zero], gimbal ? 0.0F : arc(row.lastArgs)) << row.order << " at " << sine;
            EXPECT_EQ(angles[row.other], gimbal ? arc(row.gimbal) : arc(row.otherArgs))
                << row.order << " " << sine;
        }
    }
    for (const unsigned order : {0U, 7U}) {
        float angles[3] = {9, 8, 7};
        MatrixToEuler(Diagonal(1, 1, 1), &angles[0], &angles[1], &angles[2], order);
        EXPECT_EQ(angles[0] * 100 + angles[1] * 10 + angles[2], 987) << order;
    }
}

TEST(Rotations, MatrixBranches)
{
    // What the branch leaves before the length is set to 1: r, then entries by their place.
    const auto normalised = [](_Rotation<float> q) {
        RotationNormalize(&q);
        return q;
    };
    const auto small = [&normalised](const _Matrix<float>& matrix, int i) {
        const auto& m = matrix.m;
        const int j = i == 2 ? 0 : i + 1, k = j == 2 ? 0 : j + 1;
        const float r = std::sqrt(m[i][i] - m[j][j] - m[k][k] + 1);
        const auto f = static_cast<float>(0.5 / static_cast<double>(r));
        float q[4];
        q[i] = static_cast<float>(static_cast<double>(r) * 0.5);
        q[j] = (m[j][i] + m[i][j]) * f;
        q[k] = (m[k][i] + m[i][k]) * f;
        q[3] = (m[j][k] - m[k][j]) * f;
        return normalised({q[0], q[1], q[2], q[3]});
    };
    const auto general = [&normalised](const _Matrix<float>& matrix) {
        const auto& m = matrix.m;
        const float r = std::sqrt(m[0][0] + m[1][1] + m[2][2] + 1);
        const auto f = static_cast<float>(0.5 / static_cast<double>(r));
        return normalised({(m[1][2] - m[2][1]) * f, (m[2][0] - m[0][2]) * f, (m[0][1] - m[1][0]) * f,
                           static_cast<float>(static_cast<double>(r) * 0.5)});
    };
    const float threshold = std::bit_cast<float>(0x358637BDU);
    const struct {
        _Matrix<float> m;
        int largest;  // -1: the general branch
    } cases[] = {
        {Diagonal(threshold, 0, 0), -1},
        {Diagonal(std::nextafter(threshold, 0.0F), 0, 0), 0},
        {Diagonal(0.5F, -0.1F, -0.2F), -1},
        {Diagonal(0.25F, -0.5F, -0.5F), 0},
        {Diagonal(-0.5F, 0.25F, -0.5F), 1},
        {Diagonal(-0.5F, -0.5F, 0.25F), 2},
        {Diagonal(0, 0, 0), 0},
        {Diagonal(-0.5F, 0.125F, 0.125F), 1},
        {Diagonal(0.125F, -0.5F, 0.125F), 0},
    };
    for (const auto& c : cases) {
        _Rotation<float> q{};
        MatrixToRotation(c.m, &q);
        SCOPED_TRACE(testing::Message() << c.m.m[0][0] << " " << c.m.m[1][1] << " " << c.m.m[2][2]);
        ExpectBits(q, c.largest < 0 ? general(c.m) : small(c.m, c.largest));
    }
}

TEST(Rotations, MatrixOfARotation)
{
    const _Rotation<float> q{0.1F, 0.7F, -0.3F, 1.9F};  // no unit length is asked for
    _Matrix<float> m;
    RotationToMatrix(q, &m);
    const auto twice = [](float a, float b) { return static_cast<float>(2.0 * double{a} * double{b}); };
    const float expected[4][4] = {{1 - twice(q.y, q.y) - twice(q.z, q.z), twice(q.x, q.y) + twice(q.w, q.z),
                                   twice(q.x, q.z) - twice(q.w, q.y)},
                                  {twice(q.x, q.y) - twice(q.w, q.z), 1 - twice(q.x, q.x) - twice(q.z, q.z),
                                   twice(q.y, q.z) + twice(q.w, q.x)},
                                  {twice(q.x, q.z) + twice(q.w, q.y), twice(q.y, q.z) - twice(q.w, q.x),
                                   1 - twice(q.x, q.x) - twice(q.y, q.y)},
                                  {0, 0, 0, 1}};
    EXPECT_EQ(std::memcmp(m.m, expected, sizeof expected), 0);
}

TEST(Rotations, ProductAndLength)
{
    const _Rotation<float> units[] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    _Rotation<float> q{};
    RotationMultiply(units[0], units[1], &q);
    EXPECT_EQ(q.z, 1);  // ij = k
    RotationMultiply(units[1], units[0], &q);
    EXPECT_EQ(q.z, -1);
    // Large terms that cancel show the order of the sums, and a result in the place of an operand.
    const _Rotation<float> a{1e4F, 3.1F, -7e3F, 0.3F};
    _Rotation<float> b{2.2F, 9e3F, 0.7F, -5e4F};
    const float x = a.x * b.w + b.x * a.w + a.y * b.z - a.z * b.y;
    const float y = b.y * a.w - b.z * a.x + a.y * b.w + a.z * b.x;
    const float z = b.y * a.x + b.z * a.w - a.y * b.x + a.z * b.w;
    const float w = b.w * a.w - a.x * b.x - a.y * b.y - a.z * b.z;
    RotationMultiply(a, b, &b);
    ExpectBits(b, {x, y, z, w});

    const float nan = std::bit_cast<float>(0x7FC00000U);
    const struct {
        _Rotation<float> before, after;
    } cases[] = {
        {{3, 0, -4, 0}, {3.0F / 5, 0, -4.0F / 5, 0}},
        {{-0.0F, 0, -0.0F, 0}, {0, 0, 0, 0}},
        {{1e-30F, 0, 0, -1e-30F}, {0, 0, 0, 0}},  // the square is below the smallest number
        {{2e19F, 0, 0, 1}, {nan, nan, nan, nan}},
        {{1, -std::numeric_limits<float>::infinity(), 0, 0}, {nan, nan, nan, nan}},
    };
    for (const auto& c : cases) {
        q = c.before;
        RotationNormalize(&q);
        ExpectBits(q, c.after);
    }
}
