#include <keys/Rotations.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace vela::vlgim::keys {

namespace {

constexpr float kGimbal = std::bit_cast<float>(0x3F7FFFEFU);
constexpr float kRight = std::bit_cast<float>(0x3FC90FDBU);

// The axes of the factors from left to right, of orders 1 to 6; the first three are cyclic.
constexpr int kAxes[6][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1}, {0, 2, 1}, {1, 0, 2}, {2, 1, 0}};

using Bits = std::vector<std::uint32_t>;

template <class T>
Bits BitsOf(const T& floats)
{
    Bits bits(sizeof floats / sizeof(float));
    std::memcpy(bits.data(), &floats, sizeof floats);
    return bits;
}

// Each factor is so sparse that no entry of a product of three has more than two terms other than 0.
_Matrix<float> TimesFactor(const _Matrix<float>& a, int axis, float angle)
{
    const float c = std::cos(angle), s = std::sin(angle);
    const int j = (axis + 1) % 3, k = (axis + 2) % 3;
    _Matrix<float> factor{}, product{};
    factor.m[axis][axis] = factor.m[3][3] = 1;
    factor.m[j][j] = factor.m[k][k] = c;
    factor.m[j][k] = s;
    factor.m[k][j] = -s;
    for (int entry = 0; entry < 64; ++entry)
        product.m[entry / 16][entry / 4 % 4] +=
            a.m[entry / 16][entry % 4] * factor.m[entry % 4][entry / 4 % 4];
    return product;
}

constexpr _Matrix<float> kUnit{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

}  // namespace

TEST(Rotations, EulerMatricesAreTheProductsOfTheirFactors)
{
    for (unsigned order = 1; order <= 6; ++order) {
        // The last two lie at the poles: at +pi/2 the last angle is 0, and the first one takes it over.
        for (const float middle : {0.4F, -1.1F, kRight, -kRight}) {
            float angles[3] = {0.3F, -2.1F, 2.7F}, back[3] = {9, 9, 9};
            const int second = kAxes[order - 1][1], last = kAxes[order - 1][2];
            angles[second] = middle;
            _Matrix<float> expected = kUnit;
            for (const int axis : kAxes[order - 1])
                expected = TimesFactor(expected, axis, angles[axis]);
            const _Matrix<float> matrix = EulerToMatrix(angles, order);
            EXPECT_EQ(0, std::memcmp(matrix.m, expected.m, sizeof matrix.m)) << order << " at " << middle;
            MatrixToEuler(matrix, back, order);
            const _Matrix<float> again = EulerToMatrix(back, order);
            for (int entry = 0; entry < 16; ++entry)
                EXPECT_NEAR(again.m[entry / 4][entry % 4], matrix.m[entry / 4][entry % 4], 1e-6F) << order;
            EXPECT_NEAR(back[second], middle, 1e-6F);
            EXPECT_EQ(back[last] == 0, middle == kRight) << order << " at " << middle;
        }
    }
    float angles[3] = {9, 8, 7};
    const _Rotation<float> q = EulerToRotation(angles, 7);
    EXPECT_EQ(BitsOf(q), BitsOf(_Rotation<float>{1, 0, 0, 0})) << "of a matrix without a rotation";
    MatrixToEuler(kUnit, angles, 7);
    EXPECT_EQ(angles[0] * 100 + angles[1] * 10 + angles[2], 987);
}

TEST(Rotations, EulerAnglesOnBothSidesOfTheGimbalThreshold)
{
    for (const float sine : {-1.5F, -1.0F, kGimbal, std::nextafter(kGimbal, 1.0F), 1.0F, 1.5F}) {
        const bool isPole = sine > kGimbal;
        float angles[3] = {9, 9, 9};
        MatrixToEuler({{{0.11F, 0.22F, -sine, 0}, {-0.44F, 0.55F, 0.66F, 0}, {0.77F, -0.88F, 0.99F, 0}, {}}},
                      angles, 1);
        const float expected[] = {isPole ? std::atan2(0.88F, 0.55F) : std::atan2(0.66F, 0.99F),
                                  std::asin(std::clamp(sine, -1.0F, 1.0F)),
                                  isPole ? 0 : std::atan2(0.22F, 0.11F)};
        EXPECT_EQ(BitsOf(angles), BitsOf(expected)) << sine;
    }
}

TEST(Rotations, MatrixBranches)
{
    const float threshold = std::bit_cast<float>(0x358637BDU);
    const std::pair<std::array<float, 3>, Bits> cases[] = {
        {{threshold, 0, 0}, {0xBE832717, 0x3ED1D824, 0x3E9D621B, 0x3F51D832}},
        {{std::nextafter(threshold, 0.0F), 0, 0}, {0x3F224A1E, 0x3ECADC99, 0x3F224A14, 0xBE4ADC99}},
        {{0.5F, -0.1F, -0.2F}, {0xBE667195, 0x3EB85ADD, 0x3E8A4426, 0x3F5D39D8}},
        {{-0.5F, 0.25F, -0.5F}, {0x3E83CD92, 0x3F6D3ED3, 0x3E388634, 0x3E52E283}},
        {{-0.5F, -0.5F, 0.25F}, {0x3ECA78E9, 0x3E3129CC, 0x3F63C805, 0x3E17DAAE}},
        {{0, 0, 0}, {0x3F224A18, 0x3ECADC9E, 0x3F224A18, 0xBE4ADC9E}},  // ties: x before y before z
        {{-0.5F, 0.125F, 0.125F}, {0x3EB646DE, 0x3F5ABB71, 0x3E7F3003, 0x3E91D24B}},
        {{0.125F, -0.5F, 0.125F}, {0x3F469B7A, 0x3EA5818F, 0x3F0467A6, 0xBE25818F}},
    };
    for (const auto& [diagonal, expected] : cases) {
        const auto& [x, y, z] = diagonal;
        const _Rotation<float> q =
            MatrixToRotation({{{x, 0.5F, 0.25F, 0}, {0.125F, y, 0.0625F, 0}, {0.75F, 0.375F, z, 0}, {}}});
        EXPECT_EQ(BitsOf(q), expected) << x << " " << y << " " << z;
    }
}

TEST(Rotations, MatrixProductAndLength)
{
    const _Matrix<float> m = RotationToMatrix({0.1F, 0.7F, -0.3F, 1.9F});  // no unit length is asked for
    EXPECT_EQ(BitsOf(m.m), (Bits{0xBE23D708, 0xBF800000, 0xC02E147A, 0,    //
                                 0x3FA3D70A, 0x3F4CCCCD, 0xBD23D710, 0,    //
                                 0x40266666, 0xBF4CCCCD, 0x33800000, 0,    //
                                 0, 0, 0, 0x3F800000}));

    // Large terms that cancel show the order of the sums.
    const auto product = RotationMultiply({1e4F, 3.1F, -7e3F, 0.3F}, {2.2F, 9e3F, 0.7F, -5e4F});
    EXPECT_EQ(BitsOf(product), (Bits{0xCDD060BA, 0xC82A9B00, 0x4DD1CEF0, 0xC76A6000}));

    const float nan = std::bit_cast<float>(0x7FC00000U);
    const _Rotation<float> cases[][2] = {
        {{3, 0, -4, 0}, {3.0F / 5, 0, -4.0F / 5, 0}}, {{-0.0F, 0, -0.0F, 0}, {0, 0, 0, 0}},
        {{1e-30F, 0, 0, -1e-30F}, {0, 0, 0, 0}},  // the square is below the smallest number
        {{2e19F, 0, 0, 1}, {nan, nan, nan, nan}},     {{1, -INFINITY, 0, 0}, {nan, nan, nan, nan}},
    };
    for (const auto& [before, after] : cases)
        EXPECT_EQ(BitsOf(RotationNormalize(before)), BitsOf(after));
}

}  // namespace vela::vlgim::keys
