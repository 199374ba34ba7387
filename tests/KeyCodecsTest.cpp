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

// The packed forms once more, step by step, a case at a time. The kept components by missing one:
constexpr unsigned kKept[4][3] = {{1, 2, 3}, {2, 3, 0}, {3, 0, 1}, {0, 1, 2}};
// and in the order in which their squares go off.
constexpr unsigned kSquares[4][3] = {{1, 2, 3}, {0, 2, 3}, {1, 0, 3}, {1, 2, 0}};

struct Fields {
    std::uint32_t tag;
    std::uint32_t code[3];
};

Fields PlainEncode(Quat& q, int bits)
{
    const float scale = kInv * static_cast<float>((1 << bits) - 1);
    std::uint32_t tag = 3;
    for (const std::uint32_t candidate : {0U, 3U, 2U, 1U})
        if (candidate == 0 ||
            std::all_of(q.begin(), q.end(), [largest = std::fabs(q[candidate])](float other) {
                return largest >= std::fabs(other);
            }))
            tag = candidate;
    if (q[tag] < 0)
        for (float& component : q)
            component = -component;
    Fields fields{tag, {}};
    for (int i = 0; i < 3; ++i) {
        const float code = (q[kKept[tag][i]] + kInv) * scale + 0.5F;
        const bool fits = code >= -2147483648.0F && code < 2147483648.0F;
        fields.code[i] =
            static_cast<std::uint32_t>(fits ? static_cast<std::int64_t>(code) : 0) & ((1U << bits) - 1);
    }
    return fields;
}

Quat PlainDecode(const Fields& fields, int bits)
{
    const float scale = kInv * static_cast<float>((1 << bits) - 1);
    Quat q{};
    for (int i = 0; i < 3; ++i)
        q[kKept[fields.tag][i]] = static_cast<float>(fields.code[i]) / scale - kInv;
    float radicand = 1;
    for (const unsigned i : kSquares[fields.tag])
        radicand = radicand - q[i] * q[i];
    q[fields.tag] = std::sqrt(radicand);
    return q;
}

// Both packed forms behind one face: a record is its bytes as a number.
struct Form {
    int bits;
    std::size_t size;
    void (*encodeRun)(float*, std::uint64_t, void*);
    void (*decodeRun)(const void*, std::uint64_t, float*);
    std::uint64_t (*encode)(Quat&);
    Quat (*decode)(std::uint64_t);

    std::uint64_t Record(const Fields& f) const
    {
        if (bits == 10)
            return f.tag << 30 | f.code[0] << 20 | f.code[1] << 10 | f.code[2];
        const std::uint32_t high = f.tag << 30 | f.code[0] << 15 | f.code[1];
        return (high >> 16) | std::uint64_t{high & 0xFFFFU} << 16 | std::uint64_t{f.code[2]} << 32;
    }
};

const Form kForms[] = {{10, 4, EncodeRotations32, DecodeRotations32,
                        [](Quat& q) { return std::uint64_t{EncodeRotation32(&q[0], &q[1], &q[2], &q[3])}; },
                        [](std::uint64_t record) {
                            Quat q{};
                            DecodeRotation32(static_cast<std::uint32_t>(record), &q[0], &q[1], &q[2], &q[3]);
                            return q;
                        }},
                       {15, 6, EncodeRotations48, DecodeRotations48,
                        [](Quat& q) {
                            std::uint16_t words[4] = {};
                            EncodeRotation48(&q[0], &q[1], &q[2], &q[3], &words[0], &words[1], &words[2]);
                            return std::bit_cast<std::uint64_t>(words);
                        },
                        [](std::uint64_t record) {
                            Quat q{};
                            DecodeRotation48(
                                static_cast<std::uint16_t>(record), static_cast<std::uint16_t>(record >> 16),
                                static_cast<std::uint16_t>(record >> 32), &q[0], &q[1], &q[2], &q[3]);
                            return q;
                        }}};

std::uint32_t Random()
{
    static std::uint32_t state = 1;
    return (state = state * 1664525 + 1013904223) >> 8;
}

// All quadruples of values at which a comparison, a sign or a conversion can go wrong, and rotations at
// random.
std::vector<Quat> Quats()
{
    const float values[] = {0,     -0.0F, 0.5F,   -0.5F, kInv, -kInv, std::nextafter(kInv, 1.0F), -1, 3,
                            -2e9F, 2e9F,  1e-40F, kNan,  kInf, -kInf};
    std::vector<Quat> all;
    for (const float x : values)
        for (const float y : values)
            for (const float z : values)
                for (const float w : values)
                    all.push_back({x, y, z, w});
    for (int i = 0; i < 50000; ++i) {
        Quat q{};
        for (float& component : q)
            component = static_cast<float>(Random()) * 0x1p-23F - 1;
        all.push_back(q);
    }
    return all;
}

}  // namespace

TEST(KeyCodecs, WorkedWords)
{
    const struct {
        Quat before;
        std::uint64_t record32, record48;
        Quat after;
    } cases[] = {{{0, 0, 0, 1}, 0xE0080200, 0x3FFFBFFFDFFF, {0, 0, 0, 1}},
                 {{0, 0, 0, -1}, 0xE0080200, 0x3FFFBFFFDFFF, {-0.0F, -0.0F, -0.0F, 1}},
                 {{1, 0, 0, 0}, 0x20080200, 0x3FFFBFFF1FFF, {1, 0, 0, 0}},
                 {{0, 1, 0, 0}, 0x60080200, 0x3FFFBFFF5FFF, {0, 1, 0, 0}},
                 {{0, 0, 1, 0}, 0xA0080200, 0x3FFFBFFF9FFF, {0, 0, 1, 0}},
                 {{0.5F, 0.5F, 0.5F, 0.5F}, 0x769DA769, 0x6D406D4076A0, {0.5F, 0.5F, 0.5F, 0.5F}},
                 {{kInv, 0, 0, kInv}, 0xFFF80200, 0x3FFFBFFFFFFF, {kInv, 0, 0, kInv}},
                 {{1.5F, 0, 0, 2}, 0xE3D80200, 0x3FFF3FFFE3E1, {1.5F, 0, 0, 2}}};  // 1597 and 51138 wrap
    for (const auto& c : cases) {
        Quat q32 = c.before, q48 = c.before;
        EXPECT_EQ(kForms[0].encode(q32), c.record32) << std::hex << c.record32;
        EXPECT_EQ(kForms[1].encode(q48), c.record48) << std::hex << c.record48;
        EXPECT_TRUE(Same(q32, c.after) && Same(q48, c.after)) << std::hex << c.record32;
    }
    const Quat coarse = kForms[0].decode(0xE0080200);
    EXPECT_NEAR(coarse[0], 0.00069124F, 1e-8F);
    EXPECT_EQ(coarse[3], 0.9999993F);
    const Quat fine = kForms[1].decode(0xBFFFBFFFDFFF);  // the last word's upper bit is ignored
    EXPECT_NEAR(fine[2], -0.000021577F, 1e-9F);
    EXPECT_EQ(fine[3], 1);
}

TEST(KeyCodecs, RunsAndSingleKeysGoByTheSteps)
{
    for (const Form& form : kForms) {
        const std::vector<Quat> quats = Quats();
        std::vector<Quat> keys = quats, decoded(quats.size());
        std::vector<unsigned char> records(form.size * quats.size() + 1);  // at an odd address
        form.encodeRun(keys[0].data(), keys.size(), records.data() + 1);
        unsigned wrong = 0;
        for (std::size_t i = 0; i < quats.size(); ++i) {
            Quat plain = quats[i], single = quats[i];
            const std::uint64_t expected = form.Record(PlainEncode(plain, form.bits));
            std::uint64_t inRun = 0;
            std::memcpy(&inRun, &records[1 + form.size * i], form.size);
            const bool fine = form.encode(single) == expected && inRun == expected && Same(single, plain) &&
                              Same(keys[i], plain);
            if (!fine && wrong++ == 0)
                ADD_FAILURE() << testing::PrintToString(quats[i]) << " in " << form.bits << " bits";
        }
        EXPECT_EQ(wrong, 0U) << "encoded";

        std::vector<Fields> fields(quats.size());
        for (std::size_t i = 0; i < fields.size(); ++i) {
            const std::uint32_t mask = (1U << form.bits) - 1;
            fields[i] = {static_cast<std::uint32_t>(i & 3),
                         {Random() & mask, Random() & mask, Random() & mask}};
            const std::uint64_t record = form.Record(fields[i]);
            std::memcpy(&records[1 + form.size * i], &record, form.size);
        }
        form.decodeRun(records.data() + 1, decoded.size(), decoded[0].data());
        for (std::size_t i = 0; i < fields.size(); ++i) {
            const Quat plain = PlainDecode(fields[i], form.bits);
            wrong += !(Same(decoded[i], plain) && Same(form.decode(form.Record(fields[i])), plain));
        }
        EXPECT_EQ(wrong, 0U) << "decoded";
    }
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
    std::array<std::uint16_t, 4> out{};
    EncodeHalfRotation(in, out.data());
    EXPECT_EQ(out, (std::array<std::uint16_t, 4>{0xBC00, 0x7BFF, 0x7C00, 0}));
    float back[3] = {};
    EncodeHalfVector3(in + 1, out.data());
    DecodeHalfVector3(out.data(), back);
    EXPECT_TRUE(back[0] == 65504 && back[1] == kInf && back[2] == 0 && out[3] == 0);
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
