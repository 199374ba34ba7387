// Each instruction set that the machine has against the plain code, on bits: over a stride of the inputs, or
// with VLGIM_TEST_WHOLE=1 over the whole of them, which takes minutes.

#include "support/Bytes.h"

#include <keys/InstructionSets.h>
#include <keys/KeyCodecs.h>
#include <keys/WideCodecs.h>
#include <mesh/HalfToFloat.h>

#include <geomath/HalfTables.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <random>

namespace vela::vlgim::keys {

namespace {

using test::Bytes;

const bool kWhole = std::getenv("VLGIM_TEST_WHOLE") != nullptr;

struct Codec {
    const char* name;
    std::size_t recordSize, width;
    RunCodecs::Encode RunCodecs::*encode;
    RunCodecs::Decode RunCodecs::*decode;
};
const Codec kPacked32{"packed 32", 4, 4, &RunCodecs::encodeRotations32, &RunCodecs::decodeRotations32};
const Codec kPacked48{"packed 48", 6, 4, &RunCodecs::encodeRotations48, &RunCodecs::decodeRotations48};
const Codec kHalves4{"rotations", 8, 4, &RunCodecs::encodeHalfRotations, &RunCodecs::decodeHalfRotations};
const Codec kHalves3{"vectors", 6, 3, &RunCodecs::encodeHalfVectors3, &RunCodecs::decodeHalfVectors3};

class WideCodecsTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (BestInstructionSet() == InstructionSet::kBase)
            GTEST_SKIP() << "this machine has the plain code, or is held to it";
    }
};

// What a run gives, which is not to depend on the codecs: arrays with an item for each input.
using Arrays = std::vector<Bytes>;
using Run = std::function<Arrays(const RunCodecs&)>;

// The first of the inputs whose items in two arrays differ.
void ExpectSameItems(const Bytes& got, const Bytes& expected, const Bytes& inputs, std::size_t inputSize)
{
    const std::size_t size = expected.size() / (inputs.size() / inputSize);
    const auto at = static_cast<std::size_t>(std::ranges::mismatch(got, expected).in1 - got.begin());
    if (got == expected)
        return;
    const unsigned char* const input = &inputs[at / size * inputSize];
    ADD_FAILURE() << "first that of " << testing::PrintToString(Bytes(input, input + inputSize));
}

// Holds the run in each instruction set that the machine has to the plain one.
void ExpectAsPlain(const char* name, const Bytes& inputs, std::size_t inputSize, const Run& run)
{
    const InstructionSet best = BestInstructionSet();
    const Arrays plain = run(kPlainCodecs);
    for (const InstructionSet set : {InstructionSet::kSse4, InstructionSet::kAvx2, InstructionSet::kAvx512}) {
        if (set > best)
            break;
        SCOPED_TRACE(testing::Message() << name << ", instruction set " << static_cast<int>(set));
        HoldTo(set);
        ASSERT_NE(WideCodecs(), nullptr);
        const Arrays wide = run(*WideCodecs());
        for (std::size_t i = 0; i < plain.size(); ++i)
            ExpectSameItems(wide[i], plain[i], inputs, inputSize);
    }
    HoldTo(best);
}

float* AsFloats(Bytes& bytes)
{
    return reinterpret_cast<float*>(bytes.data());
}

void ExpectSameDecoded(const Codec& codec, const Bytes& records)
{
    ExpectAsPlain(codec.name, records, codec.recordSize, [&](const RunCodecs& codecs) {
        const std::size_t count = records.size() / codec.recordSize;
        Bytes keys(4 * codec.width * count);
        (codecs.*codec.decode)(records.data(), count, AsFloats(keys));
        return Arrays{keys};
    });
}

// The records, and the keys as they are left.
void ExpectSameEncoded(const Codec& codec, const Bytes& keys)
{
    ExpectAsPlain(codec.name, keys, 4 * codec.width, [&](const RunCodecs& codecs) {
        const std::size_t count = keys.size() / (4 * codec.width);
        Bytes left = keys, records(codec.recordSize * count);
        (codecs.*codec.encode)(AsFloats(left), count, records.data());
        return Arrays{records, left};
    });
}

// A vertex block's halves are converted by other code, of the same instruction sets.
auto Converter(const RunCodecs& codecs)
{
    return &codecs == &kPlainCodecs ? PlainHalfToFloat : HalfToFloat;
}

template <class T>
Bytes BytesOf(const std::vector<T>& values)
{
    Bytes bytes(values.size() * sizeof(T));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

// Hands on the numbers below 2^32, a prime apart, so that all of their bits change, in pieces that stay in the cache.
void ForPieces(const std::function<void(const Bytes&)>& check)
{
    const std::uint64_t stride = kWhole ? 1 : 8191;
    std::vector<std::uint32_t> piece;
    for (std::uint64_t i = 0; i <= 0xFFFFFFFF; i += stride) {
        piece.push_back(static_cast<std::uint32_t>(i));
        if (piece.size() == 6004 || i + stride > 0xFFFFFFFF) {
            check(BytesOf(piece));
            piece.clear();
        }
    }
}

// All selections of four out of some values.
template <class T>
std::vector<T> Fours(const std::vector<T>& values)
{
    std::vector<T> fours;
    for (const T x : values)
        for (const T y : values)
            for (const T z : values)
                for (const T w : values)
                    fours.insert(fours.end(), {x, y, z, w});
    return fours;
}

// Quaternions at random, whose lengths lie between the two.
std::vector<float> Rotations(float shortest, float longest)
{
    std::mt19937 random(32);
    std::normal_distribution<float> component;
    std::uniform_real_distribution<float> length(shortest, longest);
    std::vector<float> keys;
    for (int i = 0; i < (kWhole ? 10'000'000 : 100'000); ++i) {
        float q[4], square = 0;
        for (float& c : q)
            c = component(random), square += c * c;
        const float factor = length(random) / std::sqrt(square);
        for (const float c : q)
            keys.push_back(c * factor);
    }
    return keys;
}

}  // namespace

TEST_F(WideCodecsTest, Packed32DecodesAsThePlainOne)
{
    ForPieces([](const Bytes& words) { ExpectSameDecoded(kPacked32, words); });
}

TEST_F(WideCodecsTest, Packed48DecodesAsThePlainOne)
{
    // Every code in every field under every tag, the others at random.
    std::mt19937 random(48);
    for (int pass = 0; pass < (kWhole ? 2000 : 1); ++pass) {
        std::vector<std::uint16_t> words;
        for (std::uint32_t i = 0; i < 0x60000; ++i) {
            const unsigned tag = i / 0x18000, code = i / 3 & 0x7FFF;
            std::uint_fast32_t fields[3] = {random() & 0x7FFF, random() & 0x7FFF, random() & 0xFFFF};
            fields[i % 3] = code;
            const auto both = tag << 30 | fields[0] << 15 | fields[1];
            words.insert(words.end(),
                         {static_cast<std::uint16_t>(both >> 16), static_cast<std::uint16_t>(both),
                          static_cast<std::uint16_t>(fields[2])});
        }
        ExpectSameDecoded(kPacked48, BytesOf(words));
    }
}

// Also of the plain code, where that is all there is.
TEST(HalfCodecs, EveryHalfDecodesAsTheTablesSayAndBack)
{
    std::vector<std::uint16_t> halves(65538);
    std::iota(halves.begin(), halves.end(), std::uint16_t{0});
    const Bytes records = BytesOf(halves);
    std::vector<std::uint32_t> tables(std::begin(geomath::_to_float), std::end(geomath::_to_float));
    tables.insert(tables.end(), {tables[0], tables[1]});
    std::vector<std::uint32_t> quiet = tables;
    for (const std::uint16_t half : halves)
        if ((half & 0x7FFFU) > 0x7C00)
            quiet[half] = 0xFFC00000;
    ExpectAsPlain("halves", records, 2, [&](const RunCodecs& codecs) {
        Bytes converted(4 * halves.size()), decoded = converted, back(records.size());
        Converter(codecs)(AsFloats(converted), records.data(), halves.size());
        EXPECT_TRUE(converted == BytesOf(quiet));
        codecs.decodeHalfVectors3(records.data(), halves.size() / 3, AsFloats(decoded));
        EXPECT_TRUE(decoded == BytesOf(tables));
        codecs.encodeHalfVectors3(AsFloats(decoded), halves.size() / 3, back.data());
        EXPECT_TRUE(back == records);
        return Arrays{converted};
    });
    HalfToFloat(nullptr, records.data(), 65536);
    HalfToFloat(std::vector<float>(65536).data(), nullptr, 65536);
}

TEST_F(WideCodecsTest, HalfRotationsDecodeAsPlainOnes)
{
    // What the guard tells apart: lengths close to its limits, zeros, infinities, NaNs of both kinds,
    // subnormals.
    ExpectSameDecoded(
        kHalves4, BytesOf(Fours<std::uint16_t>({0, 0x8000, 1, 0x83FF, 0x3800, 0xB7FF, 0x3801, 0x37CC, 0x3C00,
                                                0xBBFF, 0x3BCC, 0x7BFF, 0x7C00, 0xFC00, 0x7C01, 0xFE00})));
    std::vector<float> keys = Rotations(0.96F, 1.01F);
    Bytes nearUnit(2 * keys.size());
    EncodeHalfRotations(keys.data(), keys.size() / 4, nearUnit.data());
    ExpectSameDecoded(kHalves4, nearUnit);
}

TEST_F(WideCodecsTest, RotationsEncodeAsPlainOnes)
{
    const Bytes odd = BytesOf(Fours<float>({0, -0.0F, 0.5F, -0.5F, 0.70710677F, -0.70710677F, 1, -1, 1.5F,
                                            1e-40F, 3e6F, -3e6F, 4e9F, INFINITY, -INFINITY, NAN, -NAN}));
    for (const Codec& codec : {kPacked32, kPacked48, kHalves4})
        for (const Bytes& keys : {odd, BytesOf(Rotations(1, 1))})
            ExpectSameEncoded(codec, keys);
    ForPieces([](const Bytes& singles) { ExpectSameEncoded(kHalves4, singles); });
}

TEST_F(WideCodecsTest, RunsOfAnyLengthStayInside)
{
    std::vector<std::size_t> counts(71);
    std::iota(counts.begin(), counts.end(), 0U);
    counts.push_back(131'085);  // from memory, in two places by turns
    std::mt19937 random(70);
    Bytes noise(1 + 8 * counts.back());
    for (unsigned char& byte : noise)
        byte = static_cast<unsigned char>(random());
    for (const std::size_t count : counts) {
        for (const Codec& codec : {kPacked32, kPacked48, kHalves4, kHalves3})
            ExpectAsPlain(codec.name, {1}, 1, [&](const RunCodecs& best) {
                // Keys 4 bytes and records 1 byte off any alignment, with room on both sides that nobody touches.
                const RunCodecs& codecs = count < kShortestRun ? kPlainCodecs : best;
                Bytes keys(68 + 4 * codec.width * count + 64, 0xEE),
                    records(65 + codec.recordSize * count + 64, 0xEE);
                const Bytes file = test::Prefix(noise, 1 + codec.recordSize * count);
                (codecs.*codec.decode)(file.data() + 1, count, AsFloats(keys) + 17);
                const Bytes decoded = keys;
                (codecs.*codec.encode)(AsFloats(keys) + 17, count, records.data() + 65);
                return Arrays{decoded, keys, records};
            });
        ExpectAsPlain("halves", {1}, 1, [&](const RunCodecs& codecs) {
            Bytes vertices(68 + 4 * count + 64, 0xEE);
            const Bytes file = test::Prefix(noise, 1 + 2 * count);
            Converter(codecs)(AsFloats(vertices) + 17, file.data() + 1, count);
            return Arrays{vertices};
        });
    }
}

}  // namespace vela::vlgim::keys
