// Each instruction set that the machine has against the plain code, on bits: over a stride of the inputs, or
// with VLGIM_TEST_WHOLE=1 over the whole of them, which takes minutes.

#include <keys/InstructionSets.h>
#include <keys/KeyCodecs.h>
#include <keys/WideCodecs.h>
#include <mesh/HalfToFloat.h>

#include <geomath/HalfTables.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

using namespace vela::vlgim;
using namespace vela::vlgim::keys;

namespace {

using Bytes = std::vector<unsigned char>;

const bool kWhole = std::getenv("VLGIM_TEST_WHOLE") != nullptr;

// How many inputs there are from one tested to the next; a prime, so that all of their bits change.
std::uint64_t Stride(std::uint64_t prime)
{
    return kWhole ? 1 : prime;
}

struct Codec {
    const char* name;
    std::size_t recordSize, width;
    RunCodecs::Encode RunCodecs::*encode;
    RunCodecs::Decode RunCodecs::*decode;
};
const Codec kPacked32{"packed 32", 4, 4, &RunCodecs::encodeRotations32, &RunCodecs::decodeRotations32};
const Codec kPacked48{"packed 48", 6, 4, &RunCodecs::encodeRotations48, &RunCodecs::decodeRotations48};
const Codec kHalves4{"half rotations", 8, 4, &RunCodecs::encodeHalfRotations,
                     &RunCodecs::decodeHalfRotations};
const Codec kHalves3{"half vectors", 6, 3, &RunCodecs::encodeHalfVectors3, &RunCodecs::decodeHalfVectors3};
const Codec kCodecs[] = {kPacked32, kPacked48, kHalves4, kHalves3};

class WideCodecsTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (BestInstructionSet() == InstructionSet::kBase)
            GTEST_SKIP() << "this machine has the plain code, or is held to it";
    }
};

// Runs a check on each instruction set that the machine has.
void ForEachSet(const std::function<void(const RunCodecs&)>& check)
{
    const InstructionSet best = BestInstructionSet();
    for (const auto& [set, name] :
         {std::pair(InstructionSet::kSse4, "SSE4"), std::pair(InstructionSet::kAvx2, "AVX2"),
          std::pair(InstructionSet::kAvx512, "AVX-512")}) {
        if (set > best)
            break;
        const testing::ScopedTrace trace(__FILE__, __LINE__, name);
        HoldTo(set);
        const RunCodecs* const wide = WideCodecs();
        ASSERT_NE(wide, nullptr);
        check(*wide);
    }
    HoldTo(best);
}

// Compares items of `size` bytes; counts those that differ and shows the input of the first.
template <class Values>
void ExpectSame(const Values& wide, const Values& plain, std::size_t size, const void* inputs,
                std::size_t inputSize)
{
    const std::size_t bytes = plain.size() * sizeof plain[0];
    if (std::memcmp(wide.data(), plain.data(), bytes) == 0)
        return;
    const auto* a = reinterpret_cast<const unsigned char*>(wide.data());
    const auto* b = reinterpret_cast<const unsigned char*>(plain.data());
    std::size_t differences = 0, first = 0;
    for (std::size_t i = bytes / size; i-- > 0;)
        if (std::memcmp(a + i * size, b + i * size, size) != 0) {
            ++differences;
            first = i;
        }
    const auto* input = static_cast<const unsigned char*>(inputs) + first * inputSize;
    ADD_FAILURE() << differences << " of " << bytes / size << " differ, first that of "
                  << testing::PrintToString(Bytes(input, input + inputSize));
}

void ExpectSameDecoded(const Codec& codec, const Bytes& records)
{
    const testing::ScopedTrace trace(__FILE__, __LINE__, codec.name);
    const std::size_t count = records.size() / codec.recordSize;
    static std::vector<float> expected, keys;  // pages that are new to a process cost more than the check
    expected.resize(count * codec.width);
    keys.resize(expected.size());
    (kPlainCodecs.*codec.decode)(records.data(), count, expected.data());
    ForEachSet([&](const RunCodecs& wide) {
        (wide.*codec.decode)(records.data(), count, keys.data());
        ExpectSame(keys, expected, 4 * codec.width, records.data(), codec.recordSize);
    });
}

// The records, and the keys as they are left.
void ExpectSameEncoded(const Codec& codec, const std::vector<float>& keys)
{
    const testing::ScopedTrace trace(__FILE__, __LINE__, codec.name);
    const std::size_t count = keys.size() / codec.width;
    static std::vector<float> plainKeys, wideKeys;
    static Bytes expected, records;
    plainKeys = keys;
    expected.resize(count * codec.recordSize);
    records.resize(expected.size());
    (kPlainCodecs.*codec.encode)(plainKeys.data(), count, expected.data());
    ForEachSet([&](const RunCodecs& wide) {
        wideKeys = keys;
        (wide.*codec.encode)(wideKeys.data(), count, records.data());
        ExpectSame(records, expected, codec.recordSize, keys.data(), 4 * codec.width);
        ExpectSame(wideKeys, plainKeys, 4 * codec.width, keys.data(), 4 * codec.width);
    });
}

// Runs a check on the numbers below 2^32, a stride apart, in pieces that stay in the cache.
void ForPieces(std::uint64_t stride, const std::function<void(const std::vector<std::uint32_t>&)>& check)
{
    std::vector<std::uint32_t> piece;
    for (std::uint64_t i = 0; i <= 0xFFFFFFFF; i += stride) {
        piece.push_back(static_cast<std::uint32_t>(i));
        if (piece.size() == 6004 || i + stride > 0xFFFFFFFF) {
            check(piece);
            piece.clear();
        }
    }
}

template <class T>
Bytes BytesOf(const std::vector<T>& values)
{
    Bytes bytes(values.size() * sizeof(T));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
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

}  // namespace

TEST_F(WideCodecsTest, Packed32DecodesAsThePlainOne)
{
    ForPieces(Stride(8191),
              [](const std::vector<std::uint32_t>& words) { ExpectSameDecoded(kPacked32, BytesOf(words)); });
}

TEST_F(WideCodecsTest, Packed48DecodesAsThePlainOne)
{
    // Every code in every field under every tag, the others at random.
    std::mt19937 random(48);
    for (std::uint32_t pass = 0; pass < (kWhole ? 2000U : 1U); ++pass) {
        Bytes records;
        for (std::uint32_t i = 0; i < 0x60000; ++i) {
            std::uint64_t fields = (std::uint64_t{random()} << 32 | random()) & 0xFFFF'FFFFFFFF;
            // Tag, third field, first and second one.
            const int shift = i % 3 == 0 ? 32 : i % 3 == 1 ? 15 : 0;
            fields = (fields & ~(std::uint64_t{0x7FFF} << shift)) | std::uint64_t{i / 3 & 0x7FFF} << shift;
            fields = (fields & ~(std::uint64_t{3} << 30)) | std::uint64_t{i / 0x18000} << 30;
            const std::uint16_t words[] = {static_cast<std::uint16_t>(fields >> 16),
                                           static_cast<std::uint16_t>(fields),
                                           static_cast<std::uint16_t>(fields >> 32)};
            records.insert(records.end(), reinterpret_cast<const unsigned char*>(words),
                           reinterpret_cast<const unsigned char*>(words) + 6);
        }
        ExpectSameDecoded(kPacked48, records);
    }
}

TEST_F(WideCodecsTest, HalvesConvertAsTheTablesSay)
{
    std::vector<std::uint16_t> halves(65536);
    std::vector<float> kept(65536), one(65536), singles(65536);
    for (std::uint32_t half = 0; half < 65536; ++half) {
        halves[half] = static_cast<std::uint16_t>(half);
        kept[half] = std::bit_cast<float>(vela::geomath::_to_float[half]);
        one[half] = (half & 0x7FFFU) > 0x7C00 ? std::bit_cast<float>(0xFFC00000U) : kept[half];
    }
    const Bytes records = BytesOf(halves);
    PlainHalfToFloat(singles.data(), records.data(), 65536);
    ExpectSame(singles, one, 4, records.data(), 2);
    HalfToFloat(nullptr, records.data(), 65536);
    HalfToFloat(singles.data(), nullptr, 65536);
    ForEachSet([&](const RunCodecs&) {
        HalfToFloat(singles.data(), records.data(), 65536);
        ExpectSame(singles, one, 4, records.data(), 2);
    });
    ForEachSet([&](const RunCodecs& wide) {
        wide.decodeHalfVectors3(records.data(), 65536 / 3, singles.data());
        std::copy_n(kept.end() - 1, 1, singles.end() - 1);
        ExpectSame(singles, kept, 4, records.data(), 2);
    });
}

TEST_F(WideCodecsTest, HalfRotationsDecodeAsPlainOnes)
{
    // What the guard tells apart: lengths close to its limits, zeros, infinities, NaNs of both kinds,
    // subnormals.
    Bytes records =
        BytesOf(Fours<std::uint16_t>({0, 0x8000, 1, 0x83FF, 0x3800, 0xB7FF, 0x3801, 0x37CC, 0x3C00, 0xBBFF,
                                      0x3BCC, 0x7BFF, 0x7C00, 0xFC00, 0x7C01, 0xFE00}));
    std::mt19937 random(16);
    std::normal_distribution<float> component;
    std::uniform_real_distribution<float> length(0.96F, 1.01F);
    std::vector<float> keys;
    for (int i = 0; i < (kWhole ? 10'000'000 : 100'000); ++i) {
        std::array<float, 4> q{component(random), component(random), component(random), component(random)};
        const float factor =
            length(random) / std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
        for (const float c : q)
            keys.push_back(c * factor);
    }
    Bytes nearUnit(2 * keys.size());
    EncodeHalfRotations(keys.data(), keys.size() / 4, nearUnit.data());
    ExpectSameDecoded(kHalves4, records);
    ExpectSameDecoded(kHalves4, nearUnit);
}

TEST_F(WideCodecsTest, SinglesAreCutAsPlainOnes)
{
    ForPieces(Stride(8191), [](const std::vector<std::uint32_t>& bits) {
        std::vector<float> singles(bits.size());
        std::memcpy(singles.data(), bits.data(), 4 * bits.size());
        ExpectSameEncoded(kHalves4, singles);
    });
}

TEST_F(WideCodecsTest, RotationsEncodeAsPlainOnes)
{
    const float nan = std::numeric_limits<float>::quiet_NaN(),
                infinity = std::numeric_limits<float>::infinity();
    std::vector<float> keys = Fours<float>({0, -0.0F, 0.5F, -0.5F, 0.70710677F, -0.70710677F, 1, -1, 1.5F,
                                            1e-40F, 3e6F, -3e6F, 4e9F, infinity, -infinity, nan, -nan});
    std::mt19937 random(32);
    std::normal_distribution<float> component;
    for (int i = 0; i < (kWhole ? 10'000'000 : 100'000); ++i) {
        const std::array<float, 4> q{component(random), component(random), component(random),
                                     component(random)};
        const float length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
        for (const float c : q)
            keys.push_back(c / length);
    }
    for (const Codec& codec : {kPacked32, kPacked48, kHalves4})
        ExpectSameEncoded(codec, keys);
}

TEST_F(WideCodecsTest, RunsOfAnyLengthStayInside)
{
    std::vector<std::size_t> counts(71);
    std::iota(counts.begin(), counts.end(), 0U);
    counts.push_back(131'085);  // from memory, in two places by turns
    std::mt19937 random(70);
    Bytes noise(8 * counts.back());
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<unsigned char>(random()); });
    for (const Codec& codec : kCodecs) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, codec.name);
        for (const std::size_t count : counts) {
            // Keys 4 bytes and records 1 byte off any alignment, with room on both sides that nobody touches.
            const auto run = [&](const RunCodecs& codecs) {
                std::vector<float> keys(17 + codec.width * count + 16, -77.0F);
                Bytes records(65 + codec.recordSize * count + 64, 0xEE);
                Bytes file(1 + codec.recordSize * count);
                std::copy_n(noise.begin(), codec.recordSize * count, file.begin() + 1);
                (codecs.*codec.decode)(file.data() + 1, count, keys.data() + 17);
                const Bytes decoded = BytesOf(keys);
                (codecs.*codec.encode)(keys.data() + 17, count, records.data() + 65);
                return std::array{decoded, BytesOf(keys), records};
            };
            const auto plain = run(kPlainCodecs);
            ForEachSet([&](const RunCodecs& wide) {
                EXPECT_TRUE(run(count < kShortestRun ? kPlainCodecs : wide) == plain) << count << " keys";
            });
        }
    }
    for (const std::size_t count : counts) {
        const auto run = [&](auto convert) {
            std::vector<float> vertices(17 + count + 16, -77.0F);
            const Bytes file(noise.begin(), noise.begin() + static_cast<std::ptrdiff_t>(1 + 2 * count));
            convert(vertices.data() + 17, file.data() + 1, count);
            return BytesOf(vertices);
        };
        ForEachSet(
            [&](const RunCodecs&) { EXPECT_TRUE(run(HalfToFloat) == run(PlainHalfToFloat)) << count; });
    }
}
