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
#include <random>

namespace vela::vlgim::keys {

namespace {

using test::Bytes;
using test::BytesOf;

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

// Holds what a run gives in each instruction set that the machine has to what it gives in the plain one.
void ExpectAsPlain(const char* name, const std::function<Bytes(const RunCodecs&)>& run)
{
    const InstructionSet best = BestInstructionSet();
    const Bytes plain = run(kPlainCodecs);
    for (const InstructionSet set : {InstructionSet::kSse4, InstructionSet::kAvx2, InstructionSet::kAvx512}) {
        if (set > best)
            break;
        HoldTo(set);
        ASSERT_NE(&WideCodecs(), &kPlainCodecs);
        const Bytes wide = run(WideCodecs());
        EXPECT_TRUE(wide == plain) << name << ", instruction set " << static_cast<int>(set) << ": from byte "
                                   << std::ranges::mismatch(wide, plain).in1 - wide.begin() << " on";
    }
    HoldTo(best);
}

float* AsFloats(Bytes& bytes, std::size_t first = 0)
{
    return reinterpret_cast<float*>(bytes.data()) + first;
}

// One odd half float leaves a whole run to the plain code, so only short runs show what the wide code makes of the
// others. This length takes a block of the widest vectors and a part of one.
constexpr std::size_t kRun = 19;

// Where runs of the items begin.
std::vector<std::size_t> Runs(std::size_t items)
{
    std::vector<std::size_t> starts;
    for (std::size_t first = 0; first < items; first += kRun)
        starts.push_back(std::min(first, items - kRun));
    return starts;
}

enum class Way { kDecode, kEncode };

// Decodes records or encodes keys: what comes out, and what the input is left as.
void ExpectSame(const Form& form, Way way, const Bytes& input)
{
    ExpectAsPlain(form.name, [&](const RunCodecs& codecs) {
        const bool decodes = way == Way::kDecode;
        const std::size_t count = input.size() / (decodes ? form.recordSize : 4 * form.width);
        Bytes records = decodes ? input : Bytes(form.recordSize * count);
        Bytes keys = decodes ? Bytes(4 * form.width * count) : input;
        const auto& [encode, decode] = codecs.*form.codec;
        for (const std::size_t first : Runs(count)) {
            float* const run = AsFloats(keys, first * form.width);
            unsigned char* const recordRun = &records[first * form.recordSize];
            decodes ? decode(recordRun, kRun, run) : encode(run, kRun, recordRun);
        }
        return records.insert(records.end(), keys.begin(), keys.end()), records;
    });
}

// Hands on the numbers below 2^32, a prime apart, so that all of their bits change, in pieces that stay in the cache.
void ForPieces(const std::function<void(const Bytes&)>& check)
{
    const std::uint64_t stride = kWhole ? 1 : 8191, size = 6004;
    for (std::uint64_t first = 0; first <= 0xFFFFFFFF; first += size * stride) {
        std::vector<std::uint32_t> piece;
        for (std::uint64_t i = 0; i < size; ++i)
            piece.push_back(static_cast<std::uint32_t>(first + i * stride));
        check(BytesOf(piece));
    }
}

// All selections of four out of some values.
template <class T>
Bytes Fours(const std::vector<T>& values)
{
    const std::size_t n = values.size();
    std::vector<T> fours;
    for (std::size_t i = 0; i < n * n * n * n; ++i)
        for (const std::size_t digit : {i / n / n / n, i / n / n, i / n, i})
            fours.push_back(values[digit % n]);
    return BytesOf(fours);
}

// Quaternions at random, whose lengths lie between the two.
std::vector<float> Rotations(float shortest, float longest, int count = kWhole ? 10'000'000 : 100'000)
{
    std::mt19937 random(32);
    std::normal_distribution<float> component;
    std::uniform_real_distribution<float> length(shortest, longest);
    std::vector<float> keys;
    for (int i = 0; i < count; ++i) {
        std::array<float, 4> q;
        std::ranges::generate(q, [&] { return component(random); });
        const float factor = length(random) / std::hypot(q[0], q[1], std::hypot(q[2], q[3]));
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
    ForPieces([](const Bytes& words) { ExpectSame(kPacked32, Way::kDecode, words); });
}

TEST_F(WideCodecsTest, Packed48DecodesAsThePlainOne)
{
    // So many that every code comes up in every field.
    std::mt19937 random(48);
    for (int pass = 0; pass < (kWhole ? 2000 : 1); ++pass) {
        std::vector<std::uint16_t> words(3 << 20);
        for (std::uint16_t& word : words)
            word = static_cast<std::uint16_t>(random());
        ExpectSame(kPacked48, Way::kDecode, BytesOf(words));
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
        ExpectAsPlain("halves", [&](const RunCodecs& codecs) {
            // A vertex block's halves are converted by other code, of the same instruction sets.
            const auto convert = &codecs == &kPlainCodecs ? PlainHalfToFloat : HalfToFloat;
            Bytes converted(4 * halves.size()), decoded = converted, back(records.size());
            for (const std::size_t first : Runs(halves.size()))
                convert(AsFloats(converted, first), &records[2 * first], kRun);
            EXPECT_TRUE(converted == BytesOf(quiet));
            for (const std::size_t first : Runs(halves.size() / 3)) {
                codecs.halfVectors.decode(&records[6 * first], kRun, AsFloats(decoded, 3 * first));
                codecs.halfVectors.encode(AsFloats(decoded, 3 * first), kRun, &back[6 * first]);
            }
            EXPECT_TRUE(decoded == BytesOf(tables));
            EXPECT_TRUE(back == records);
            return converted;
        });
    }
}

TEST_F(WideCodecsTest, HalfRotationsDecodeAsPlainOnes)
{
    // What the guard tells apart: lengths close to its limits, zeros, infinities, NaNs of both kinds,
    // subnormals.
    const Bytes odd = Fours<std::uint16_t>({0, 0x8000, 1, 0x83FF, 0x3800, 0xB7FF, 0x3801, 0x37CC, 0x3C00,
                                            0xBBFF, 0x3BCC, 0x7BFF, 0x7C00, 0xFC00, 0x7C01, 0xFE00});
    ExpectSame(kHalves4, Way::kDecode, odd);
    for (const Bytes& records : {odd, Halves(Rotations(0.96F, 1.01F, 100'000))}) {
        Bytes runs;  // of the same key, which alone decides about the run
        for (std::size_t at = 0; at < records.size(); at += 8)
            for (std::size_t i = 0; i < kRun; ++i)
                runs.insert(runs.end(), &records[at], &records[at] + 8);
        ExpectSame(kHalves4, Way::kDecode, runs);
    }
    ExpectSame(kHalves4, Way::kDecode, Halves(Rotations(0.98F, 1)));
}

TEST_F(WideCodecsTest, RotationsEncodeAsPlainOnes)
{
    const Bytes odd = Fours<float>({0, -0.0F, 0.5F, -0.5F, 0.70710677F, -0.70710677F, 1, -1, 1.5F, 1e-40F,
                                    3e6F, -3e6F, 4e9F, INFINITY, -INFINITY, NAN, -NAN});
    for (const Form& form : {kPacked32, kPacked48, kHalves4})
        for (const Bytes& keys : {odd, BytesOf(Rotations(1, 1))})
            ExpectSame(form, Way::kEncode, keys);
    ForPieces([](const Bytes& singles) { ExpectSame(kHalves4, Way::kEncode, singles); });
}

TEST_F(WideCodecsTest, RunsOfAnyLengthStayInside)
{
    const std::size_t longest = 131'085;  // from memory, in two places by turns
    // Halves that all are rotations, or the plain code would do the work.
    Bytes file = Halves(Rotations(0.98F, 1, static_cast<int>(longest)));
    file.insert(file.begin(), 0xEE);
    for (std::size_t i = 0; i < 72; ++i) {
        const std::size_t count = i < 71 ? i : longest;
        for (const Form& form : {kPacked32, kPacked48, kHalves4, kHalves3})
            ExpectAsPlain(form.name, [&](const RunCodecs& best) {
                // Keys 4 bytes and records 1 byte off any alignment, with room on both sides that nobody touches.
                const RunCodecs& codecs = count < kShortestRun ? kPlainCodecs : best;
                Bytes keys(68 + 4 * form.width * count + 64, 0xEE),
                    records(65 + form.recordSize * count + 64, 0xEE);
                const Bytes from = test::Prefix(file, 1 + form.recordSize * count);
                (codecs.*form.codec).decode(from.data() + 1, count, AsFloats(keys, 17));
                const Bytes decoded = keys;
                (codecs.*form.codec).encode(AsFloats(keys, 17), count, records.data() + 65);
                return test::ByteBuilder().Raw(decoded).Raw(keys).Raw(records).Bytes();
            });
    }
}

}  // namespace vela::vlgim::keys
