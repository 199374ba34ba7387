// Each instruction set that the machine has against the plain code, on bits: over a stride of the inputs, or
// with VLGIM_TEST_WHOLE=1 over the whole of them, which takes minutes.

#include "support/Bytes.h"

#include <keys/InstructionSets.h>
#include <keys/KeyCodecs.h>
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

struct Form {
    const char* name;
    std::size_t recordSize, width;
    Codec RunCodecs::*codec;
};
const Form kPacked32{"packed 32", 4, 4, &RunCodecs::packed32};
const Form kPacked48{"packed 48", 6, 4, &RunCodecs::packed48};
const Form kHalves4{"rotations", 8, 4, &RunCodecs::halfRotations};
const Form kHalves3{"vectors", 6, 3, &RunCodecs::halfVectors};

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
        ASSERT_NE(&WideCodecs(), &kPlainCodecs);
        const Arrays wide = run(WideCodecs());
        for (std::size_t i = 0; i < plain.size(); ++i)
            ExpectSameItems(wide[i], plain[i], inputs, inputSize);
    }
    HoldTo(best);
}

float* AsFloats(Bytes& bytes)
{
    return reinterpret_cast<float*>(bytes.data());
}

// One odd half float leaves a whole run to the plain code, so only short runs show what the wide code makes of the
// others. This length takes a block of the widest vectors and a part of one.
constexpr std::size_t kRun = 19;

// Calls convert(first, count) for runs of the items.
template <class Convert>
void ForRuns(std::size_t items, Convert convert)
{
    for (std::size_t first = 0; first < items; first += kRun)
        convert(std::min(first, items - kRun), kRun);
}

void ExpectSameDecoded(const Form& form, const Bytes& records)
{
    ExpectAsPlain(form.name, records, form.recordSize, [&](const RunCodecs& codecs) {
        const std::size_t count = records.size() / form.recordSize;
        Bytes keys(4 * form.width * count);
        ForRuns(count, [&](std::size_t first, std::size_t run) {
            (codecs.*form.codec)
                .decode(records.data() + first * form.recordSize, run, AsFloats(keys) + first * form.width);
        });
        return Arrays{keys};
    });
}

// The records, and the keys as they are left.
void ExpectSameEncoded(const Form& form, const Bytes& keys)
{
    ExpectAsPlain(form.name, keys, 4 * form.width, [&](const RunCodecs& codecs) {
        const std::size_t count = keys.size() / (4 * form.width);
        Bytes left = keys, records(form.recordSize * count);
        ForRuns(count, [&](std::size_t first, std::size_t run) {
            (codecs.*form.codec)
                .encode(AsFloats(left) + first * form.width, run, records.data() + first * form.recordSize);
        });
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
std::vector<float> Rotations(float shortest, float longest, int count = kWhole ? 10'000'000 : 100'000)
{
    std::mt19937 random(32);
    std::normal_distribution<float> component;
    std::uniform_real_distribution<float> length(shortest, longest);
    std::vector<float> keys;
    for (int i = 0; i < count; ++i) {
        float q[4], square = 0;
        for (float& c : q)
            c = component(random), square += c * c;
        const float factor = length(random) / std::sqrt(square);
        for (const float c : q)
            keys.push_back(c * factor);
    }
    return keys;
}

Bytes Halves(std::vector<float> rotations)
{
    Bytes halves(2 * rotations.size());
    kPlainCodecs.halfRotations.encode(rotations.data(), rotations.size() / 4, halves.data());
    return halves;
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
    // In order, and as runs of the same half, which alone decides whether the plain code takes the run.
    for (const std::size_t repeats : {std::size_t{1}, 3 * kRun}) {
        std::vector<std::uint16_t> halves;
        std::vector<std::uint32_t> tables, quiet;
        for (std::size_t i = 0; i < 65538 * repeats; ++i) {
            const auto half = static_cast<std::uint16_t>(i / repeats);
            halves.push_back(half);
            tables.push_back(geomath::_to_float[half]);
            quiet.push_back((half & 0x7FFFU) > 0x7C00 ? 0xFFC00000 : tables.back());
        }
        const Bytes records = BytesOf(halves);
        ExpectAsPlain("halves", records, 2, [&](const RunCodecs& codecs) {
            Bytes converted(4 * halves.size()), decoded = converted, back(records.size());
            ForRuns(halves.size(), [&](std::size_t first, std::size_t run) {
                Converter(codecs)(AsFloats(converted) + first, records.data() + 2 * first, run);
            });
            EXPECT_TRUE(converted == BytesOf(quiet));
            ForRuns(halves.size() / 3, [&](std::size_t first, std::size_t run) {
                codecs.halfVectors.decode(records.data() + 6 * first, run, AsFloats(decoded) + 3 * first);
            });
            EXPECT_TRUE(decoded == BytesOf(tables));
            ForRuns(halves.size() / 3, [&](std::size_t first, std::size_t run) {
                codecs.halfVectors.encode(AsFloats(decoded) + 3 * first, run, back.data() + 6 * first);
            });
            EXPECT_TRUE(back == records);
            return Arrays{converted};
        });
    }
    const Bytes two{0, 0};
    float single = 0;
    HalfToFloat(nullptr, two.data(), 1);
    HalfToFloat(&single, nullptr, 1);
}

TEST_F(WideCodecsTest, HalfRotationsDecodeAsPlainOnes)
{
    // What the guard tells apart: lengths close to its limits, zeros, infinities, NaNs of both kinds,
    // subnormals.
    const Bytes odd =
        BytesOf(Fours<std::uint16_t>({0, 0x8000, 1, 0x83FF, 0x3800, 0xB7FF, 0x3801, 0x37CC, 0x3C00, 0xBBFF,
                                      0x3BCC, 0x7BFF, 0x7C00, 0xFC00, 0x7C01, 0xFE00}));
    ExpectSameDecoded(kHalves4, odd);
    for (const Bytes& records : {odd, Halves(Rotations(0.96F, 1.01F, 100'000))}) {
        Bytes runs;  // of the same key, which alone decides about the run
        for (std::size_t at = 0; at < records.size(); at += 8)
            for (std::size_t i = 0; i < kRun; ++i)
                runs.insert(runs.end(), &records[at], &records[at] + 8);
        ExpectSameDecoded(kHalves4, runs);
    }
    ExpectSameDecoded(kHalves4, Halves(Rotations(0.98F, 1)));
}

TEST_F(WideCodecsTest, RotationsEncodeAsPlainOnes)
{
    const Bytes odd = BytesOf(Fours<float>({0, -0.0F, 0.5F, -0.5F, 0.70710677F, -0.70710677F, 1, -1, 1.5F,
                                            1e-40F, 3e6F, -3e6F, 4e9F, INFINITY, -INFINITY, NAN, -NAN}));
    for (const Form& form : {kPacked32, kPacked48, kHalves4})
        for (const Bytes& keys : {odd, BytesOf(Rotations(1, 1))})
            ExpectSameEncoded(form, keys);
    ForPieces([](const Bytes& singles) { ExpectSameEncoded(kHalves4, singles); });
}

TEST_F(WideCodecsTest, RunsOfAnyLengthStayInside)
{
    std::vector<std::size_t> counts(71);
    std::iota(counts.begin(), counts.end(), 0U);
    counts.push_back(131'085);  // from memory, in two places by turns
    // Halves that all are rotations, or the plain code would do the work.
    Bytes file = Halves(Rotations(0.98F, 1, static_cast<int>(counts.back())));
    file.insert(file.begin(), 0xEE);
    for (const std::size_t count : counts) {
        for (const Form& form : {kPacked32, kPacked48, kHalves4, kHalves3})
            ExpectAsPlain(form.name, {1}, 1, [&](const RunCodecs& best) {
                // Keys 4 bytes and records 1 byte off any alignment, with room on both sides that nobody touches.
                const RunCodecs& codecs = count < kShortestRun ? kPlainCodecs : best;
                Bytes keys(68 + 4 * form.width * count + 64, 0xEE),
                    records(65 + form.recordSize * count + 64, 0xEE);
                const Bytes from = test::Prefix(file, 1 + form.recordSize * count);
                (codecs.*form.codec).decode(from.data() + 1, count, AsFloats(keys) + 17);
                const Bytes decoded = keys;
                (codecs.*form.codec).encode(AsFloats(keys) + 17, count, records.data() + 65);
                return Arrays{decoded, keys, records};
            });
        ExpectAsPlain("halves", {1}, 1, [&](const RunCodecs& codecs) {
            Bytes vertices(68 + 4 * count + 64, 0xEE);
            const Bytes halves = test::Prefix(file, 1 + 2 * count);
            Converter(codecs)(AsFloats(vertices) + 17, halves.data() + 1, count);
            return Arrays{vertices};
        });
    }
}

}  // namespace vela::vlgim::keys
