#include <keys/KeyCodecs.h>

#include <geomath/HalfTables.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

using namespace vela::vlgim::keys;
using vela::geomath::_to_float;

namespace {

using Quat = std::array<float, 4>;

constexpr float kInv = std::bit_cast<float>(0x3F3504F3U);
const float kNan = std::bit_cast<float>(0x7FC00000U);
const float kInf = std::numeric_limits<float>::infinity();

// A NaN that was computed has no promised bits.
bool Same(float a, float b)
{
    return (std::isnan(a) && std::isnan(b)) ||
           std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

bool Same(const Quat& a, const Quat& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), [](float x, float y) { return Same(x, y); });
}

// The forms once more, step by step and with a branch for each case. The kept components by dropped one:
constexpr int kKept[4][3] = {{1, 2, 3}, {2, 3, 0}, {3, 0, 1}, {0, 1, 2}};
// and in the order in which their squares go off.
constexpr int kSquares[4][3] = {{1, 2, 3}, {0, 2, 3}, {1, 0, 3}, {1, 2, 0}};

struct Fields {
    std::uint32_t tag;
    std::uint32_t code[3];
};

Fields PlainEncode(Quat& q, int bits)
{
    const float scale = kInv * static_cast<float>((1 << bits) - 1);
    std::uint32_t tag = 0;
    for (const std::uint32_t candidate : {1U, 2U, 3U}) {
        bool largest = true;
        for (const float other : q)
            largest = largest && (std::fabs(q[candidate]) >= std::fabs(other));
        if (largest) {
            tag = candidate;
            break;
        }
    }
    if (q[tag] < 0)
        for (float& component : q)
            component = -component;
    Fields fields{tag, {}};
    for (int i = 0; i < 3; ++i) {
        const float sum = q[static_cast<unsigned>(kKept[tag][i])] + kInv;
        const float product = sum * scale;
        const float code = product + 0.5F;
        const bool fits = code >= -2147483648.0F && code < 2147483648.0F;
        const std::int64_t cut = fits ? static_cast<std::int64_t>(code) : 0;
        fields.code[i] = static_cast<std::uint32_t>(cut) & ((1U << bits) - 1);
    }
    return fields;
}

Quat PlainDecode(const Fields& fields, int bits)
{
    const float scale = kInv * static_cast<float>((1 << bits) - 1);
    Quat q{};
    for (int i = 0; i < 3; ++i) {
        const float quotient = static_cast<float>(fields.code[i]) / scale;
        q[static_cast<unsigned>(kKept[fields.tag][i])] = quotient - kInv;
    }
    float radicand = 1;
    for (const int i : kSquares[fields.tag]) {
        const float square = q[static_cast<unsigned>(i)] * q[static_cast<unsigned>(i)];
        radicand = radicand - square;
    }
    q[fields.tag] = std::sqrt(radicand);
    return q;
}

std::uint32_t Word32(const Fields& f)
{
    return f.tag << 30 | f.code[0] << 20 | f.code[1] << 10 | f.code[2];
}

std::array<std::uint16_t, 3> Words48(const Fields& f)
{
    const std::uint32_t high = f.tag << 30 | f.code[0] << 15 | f.code[1];
    return {static_cast<std::uint16_t>(high >> 16), static_cast<std::uint16_t>(high & 0xFFFF),
            static_cast<std::uint16_t>(f.code[2])};
}

// All quadruples of values at which a comparison, a sign or a conversion can go wrong.
std::vector<Quat> Quats()
{
    const float values[] = {0.0F,  -0.0F, 0.5F,   -0.5F, kInv, -kInv, std::nextafter(kInv, 1.0F), -1.0F, 3.0F,
                            -2e9F, 2e9F,  1e-40F, kNan,  kInf, -kInf};
    std::vector<Quat> all;
    for (const float x : values)
        for (const float y : values)
            for (const float z : values)
                for (const float w : values)
                    all.push_back({x, y, z, w});
    std::uint32_t state = 1;
    for (int i = 0; i < 50000; ++i) {
        Quat q{};
        for (float& component : q) {
            state = state * 1664525 + 1013904223;
            component = static_cast<float>(static_cast<std::int32_t>(state)) * 0x1p-31F;
        }
        all.push_back(q);
    }
    return all;
}

}  // namespace

TEST(KeyCodecs, WorkedWords)
{
    const struct {
        Quat before;
        std::uint32_t word;
        std::array<std::uint16_t, 3> words;
        Quat after;
    } cases[] = {
        {{0, 0, 0, 1}, 0xE0080200, {0xDFFF, 0xBFFF, 0x3FFF}, {0, 0, 0, 1}},
        {{0, 0, 0, -1}, 0xE0080200, {0xDFFF, 0xBFFF, 0x3FFF}, {-0.0F, -0.0F, -0.0F, 1}},
        {{1, 0, 0, 0}, 0x20080200, {0x1FFF, 0xBFFF, 0x3FFF}, {1, 0, 0, 0}},
        {{0, 1, 0, 0}, 0x60080200, {0x5FFF, 0xBFFF, 0x3FFF}, {0, 1, 0, 0}},
        {{0, 0, 1, 0}, 0xA0080200, {0x9FFF, 0xBFFF, 0x3FFF}, {0, 0, 1, 0}},
        {{0.5F, 0.5F, 0.5F, 0.5F}, 0x769DA769, {0x76A0, 0x6D40, 0x6D40}, {0.5F, 0.5F, 0.5F, 0.5F}},
        {{kInv, 0, 0, kInv}, 0xFFF80200, {0xFFFF, 0xBFFF, 0x3FFF}, {kInv, 0, 0, kInv}},
        // no clamp: 1.5 + inv is code 1597 of 10 bits, which wraps
        {{1.5F, 0, 0, 2},
         0xC0000000 | (1597 & 1023) << 20 | 0x00080200,
         {0xE3E1, 0x3FFF, 0x3FFF},
         {1.5F, 0, 0, 2}},
    };
    for (const auto& c : cases) {
        Quat q = c.before;
        EXPECT_EQ(EncodeRotation32(&q[0], &q[1], &q[2], &q[3]), c.word) << std::hex << c.word;
        EXPECT_TRUE(Same(q, c.after)) << std::hex << c.word;
        q = c.before;
        std::array<std::uint16_t, 3> words{};
        EncodeRotation48(&q[0], &q[1], &q[2], &q[3], &words[0], &words[1], &words[2]);
        EXPECT_EQ(words, c.words) << std::hex << c.word;
        EXPECT_TRUE(Same(q, c.after)) << std::hex << c.word;
    }
    Quat q{};
    DecodeRotation32(0xE0080200, &q[0], &q[1], &q[2], &q[3]);
    const float step = 512 / (kInv * 1023) - kInv;
    EXPECT_NEAR(step, 0.00069124F, 1e-8F);
    EXPECT_TRUE(Same(q, {step, step, step, std::sqrt(1 - step * step - step * step - step * step)}));
    EXPECT_EQ(q[3], 0.9999993F);
    DecodeRotation48(0xDFFF, 0xBFFF, 0xBFFF, &q[0], &q[1], &q[2],
                     &q[3]);  // the last word's upper bit is ignored
    const float fine = 16383 / (kInv * 32767) - kInv;
    EXPECT_NEAR(fine, -0.000021577F, 1e-9F);
    EXPECT_TRUE(Same(q, {fine, fine, fine, 1}));
}

TEST(KeyCodecs, RunsAndSingleKeysEncodeAsThePlainSteps)
{
    const std::vector<Quat> quats = Quats();
    std::vector<Quat> keys32 = quats, keys48 = quats;
    std::vector<unsigned char> run32(4 * quats.size() + 1), run48(6 * quats.size() + 1);
    EncodeRotations32(keys32[0].data(), keys32.size(), run32.data() + 1);
    EncodeRotations48(keys48[0].data(), keys48.size(), run48.data() + 1);
    unsigned wrong = 0;
    for (std::size_t i = 0; i < quats.size(); ++i) {
        Quat plain = quats[i], single32 = plain, single48 = plain;
        std::array<std::uint16_t, 3> words{}, inRun{};
        std::uint32_t wordInRun = 0;
        std::memcpy(&wordInRun, &run32[1 + 4 * i], 4);
        std::memcpy(inRun.data(), &run48[1 + 6 * i], 6);
        const std::uint32_t word = EncodeRotation32(&single32[0], &single32[1], &single32[2], &single32[3]);
        EncodeRotation48(&single48[0], &single48[1], &single48[2], &single48[3], &words[0], &words[1],
                         &words[2]);
        const std::uint32_t expected32 = Word32(PlainEncode(plain, 10));
        plain = quats[i];
        const auto expected48 = Words48(PlainEncode(plain, 15));
        const bool fine = word == expected32 && wordInRun == expected32 && words == expected48 &&
                          inRun == expected48 && Same(single32, plain) && Same(single48, plain) &&
                          Same(keys32[i], plain) && Same(keys48[i], plain);
        if (!fine && wrong++ == 0)
            ADD_FAILURE() << testing::PrintToString(quats[i]) << std::hex << " gave " << word
                          << ", in the run " << wordInRun << ", not " << expected32;
    }
    EXPECT_EQ(wrong, 0U) << "of " << quats.size();
}

TEST(KeyCodecs, RunsAndSingleKeysDecodeAsThePlainSteps)
{
    constexpr unsigned kCount = 100000;
    std::vector<unsigned char> run32(4 * kCount + 1), run48(6 * kCount + 1);
    std::vector<Fields> fields32(kCount), fields48(kCount);
    std::uint32_t state = 7;
    const auto next = [&state] { return (state = state * 1664525 + 1013904223) >> 8; };
    for (unsigned i = 0; i < kCount; ++i) {
        fields32[i] = {i & 3, {next() & 1023, next() & 1023, next() & 1023}};
        fields48[i] = {i & 3, {next() & 32767, next() & 32767, next() & 32767}};
        const std::uint32_t word = Word32(fields32[i]);
        const auto words = Words48(fields48[i]);
        std::memcpy(&run32[1 + 4 * i], &word, 4);
        std::memcpy(&run48[1 + 6 * i], words.data(), 6);
    }
    std::vector<Quat> keys32(kCount), keys48(kCount);
    DecodeRotations32(run32.data() + 1, kCount, keys32[0].data());
    DecodeRotations48(run48.data() + 1, kCount, keys48[0].data());
    unsigned wrong = 0;
    unsigned nans = 0;
    for (unsigned i = 0; i < kCount; ++i) {
        Quat single32{}, single48{};
        DecodeRotation32(Word32(fields32[i]), &single32[0], &single32[1], &single32[2], &single32[3]);
        const auto words = Words48(fields48[i]);
        DecodeRotation48(words[0], words[1], words[2], &single48[0], &single48[1], &single48[2],
                         &single48[3]);
        const Quat plain32 = PlainDecode(fields32[i], 10), plain48 = PlainDecode(fields48[i], 15);
        nans += std::isnan(plain32[fields32[i].tag]);
        wrong += !(Same(single32, plain32) && Same(keys32[i], plain32) && Same(single48, plain48) &&
                   Same(keys48[i], plain48));
    }
    EXPECT_EQ(wrong, 0U);
    EXPECT_GT(nans, 0U) << "some of the words stand for no rotation";
}

TEST(KeyCodecs, EveryHalfDecodesToItsSingleAndBack)
{
    std::vector<unsigned char> halves(2 * 65538 + 1);
    for (unsigned i = 0; i < 65538; ++i) {
        halves[1 + 2 * i] = static_cast<unsigned char>(i & 0xFF);
        halves[2 + 2 * i] = static_cast<unsigned char>(i >> 8 & 0xFF);
    }
    std::vector<float> singles(65538);
    DecodeHalfVectors3(halves.data() + 1, 65538 / 3, singles.data());
    std::vector<unsigned char> back(halves.size());
    EncodeHalfVectors3(singles.data(), 65538 / 3, back.data() + 1);
    unsigned wrong = 0;
    for (unsigned i = 0; i < 65538; ++i)
        wrong += std::bit_cast<std::uint32_t>(singles[i]) != _to_float[i & 0xFFFF];
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(back, halves);
}

TEST(KeyCodecs, HalvesAreCutNotRounded)
{
    const float in[] = {std::bit_cast<float>(0xBF801FFFU), 65519.996F, std::bit_cast<float>(0x7F800001U),
                        1e-8F};
    std::uint16_t out[4] = {};
    EncodeHalfVector3(in, out);
    EXPECT_EQ((std::vector<std::uint16_t>{out, out + 4}),
              (std::vector<std::uint16_t>{0xBC00, 0x7BFF, 0x7C00, 0}));
    EncodeHalfRotation(in, out);
    EXPECT_EQ(out[3], 0);
    float back[3] = {};
    DecodeHalfVector3(out, back);
    EXPECT_EQ(back[0], -1.0F);
}

TEST(KeyCodecs, HalfRotationsOutOfLengthAreNormalised)
{
    const struct {
        std::array<std::uint16_t, 4> halves;
        std::uint32_t squared;  // bits of the squared length
        bool normalised;
    } cases[] = {
        {{0xB4F5, 0xB49F, 0x3515, 0xBA8C}, 0x3F733333, false},  // 0.95
        {{0xB82F, 0x337B, 0x39D7, 0xB4C6}, 0x3F733332, true},
        {{0xB1C5, 0xB549, 0xBAAD, 0x355B}, 0x3F733334, false},
        {{0x0000, 0x0000, 0x3C00, 0x8000}, 0x3F800000, false},  // 1
        {{0x2085, 0x388A, 0x3A96, 0x2437}, 0x3F800000, false},  // 1, and another sum of squares would give
                                                                // less
        {{0x3173, 0x3A87, 0x3561, 0x3704}, 0x3F7FFFFF, false},
        {{0x38BD, 0x3A63, 0x2984, 0x2E66}, 0x3F800001, true},
        {{0x4000, 0x3C00, 0x0000, 0xC000}, 0x41100000, true},  // (2, 1, 0, -2)
        {{0x0000, 0x8000, 0x0000, 0x8000}, 0x00000000, true},  // no length: all +0
    };
    std::vector<std::uint16_t> run;
    std::vector<float> expected;
    for (const auto& c : cases) {
        Quat q{};
        std::transform(c.halves.begin(), c.halves.end(), q.begin(),
                       [](std::uint16_t half) { return std::bit_cast<float>(_to_float[half]); });
        const float squared = ((q[0] * q[0] + q[1] * q[1]) + q[2] * q[2]) + q[3] * q[3];
        ASSERT_EQ(std::bit_cast<std::uint32_t>(squared), c.squared);
        const float length = std::sqrt((q[0] * q[0] + q[2] * q[2]) + (q[1] * q[1] + q[3] * q[3]));
        if (c.normalised)
            for (float& component : q)
                component = length == 0 ? 0.0F : component / length;
        Quat single{};
        DecodeHalfRotation(c.halves.data(), single.data());
        EXPECT_TRUE(Same(single, q)) << std::hex << c.squared;
        run.insert(run.end(), c.halves.begin(), c.halves.end());
        expected.insert(expected.end(), q.begin(), q.end());
    }
    std::vector<float> decoded(expected.size());
    DecodeHalfRotations(run.data(), std::size(cases), decoded.data());
    EXPECT_EQ(std::memcmp(decoded.data(), expected.data(), 4 * expected.size()), 0);

    // A length that is no number leaves the four values, quiet NaN or not, as they are.
    const std::uint16_t signalling[] = {0x7C01, 0x3C00, 0x3C00, 0x3C00};
    Quat q{};
    DecodeHalfRotation(signalling, q.data());
    EXPECT_EQ(std::bit_cast<std::uint32_t>(q[0]), 0x7F802000U);
    EXPECT_EQ(q[1], 1.0F);
    const std::uint16_t infinite[] = {0x7C00, 0x3C00, 0, 0};
    DecodeHalfRotation(infinite, q.data());
    for (const float component : q)
        EXPECT_EQ(std::bit_cast<std::uint32_t>(component), 0x7FC00000U);
}
