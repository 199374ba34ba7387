#include "support/Bytes.h"

#include <keys/KeyForms.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <limits>

namespace vela::vlgim::keys {

namespace {

using test::Bytes;
using test::BytesOf;
using Quat = std::array<float, 4>;
using QuatBits = std::array<std::uint32_t, 4>;

constexpr float kInv = std::bit_cast<float>(0x3F3504F3U);
constexpr float kNan = std::bit_cast<float>(0x7FC00000U);
constexpr float kInf = std::numeric_limits<float>::infinity();

// Lengths of runs: one for the plain code alone, and one that is long enough for wide code.
constexpr std::size_t kRuns[] = {1, 5};

// So many times the record, at an odd address in the file.
Bytes FileOf(const KeyForm& form, std::size_t count, std::uint64_t record)
{
    Bytes file(1);
    for (std::size_t i = 0; i < count * form.recordSize; ++i)
        file.push_back(static_cast<unsigned char>(record >> i % form.recordSize * 8));
    return file;
}

void ExpectEncodes(const KeyForm& form, const Quat& before, std::uint64_t record, const Quat& after)
{
    for (const std::size_t count : kRuns) {
        std::vector<Quat> run(count, before);
        Bytes file(1 + form.recordSize * count);
        form.encode(run[0].data(), count, &file[1]);
        EXPECT_EQ(file, FileOf(form, count, record));
        EXPECT_EQ(BytesOf(run), BytesOf(std::vector(count, after)));
    }
}

void ExpectDecodes(const KeyForm& form, std::uint64_t record, const QuatBits& expected)
{
    for (const std::size_t count : kRuns) {
        std::vector<Quat> run(count);
        form.decode(&FileOf(form, count, record)[1], count, run[0].data());
        EXPECT_EQ(BytesOf(run), BytesOf(std::vector(count, expected))) << std::hex << record;
    }
}

}  // namespace

TEST(KeyCodecs, PacksRotations)
{
    const std::tuple<Quat, std::uint64_t, std::uint64_t, bool> cases[] = {
        // Before; in 32 and 48 bits; whether the signs turn.
        {{0, 0, 0, 1}, 0xE0080200, 0x3FFFBFFFDFFF, false},
        {{0, 0, 0, -1}, 0xE0080200, 0x3FFFBFFFDFFF, true},
        {{0.5F, 0.5F, 0.5F, 0.5F}, 0x769DA769, 0x6D406D4076A0, false},
        {{0.9F, 0.1F, -0.2F, 0.3F}, 0x2485BED9, 0x5B262DE62486, false},  // each one missing
        {{0.3F, 0.9F, 0.1F, -0.2F}, 0x6485BED9, 0x5B262DE66486, false},
        {{-0.2F, 0.3F, -0.9F, 0.1F}, 0x9B7A4126, 0x24D9D2199B79, true},
        {{0.1F, -0.2F, 0.3F, 0.9F}, 0xE485BED9, 0x5B262DE6E486, false},
        {{1, 1, 0, 0}, 0x600800D3, 0x1A81BFFF5FFF, false},  // ties: y before z before w before x
        {{0, -1, 1, -1}, 0x72D34E00, 0x3FFF9A8172BF, true},
        {{0, 0, 1, 1}, 0x8D380200, 0x3FFFBFFF8D40, false},
        {{1, 0, 1, 0}, 0xA0034E00, 0x3FFF9A819FFF, false},
        {{kInv, 0, 0, kInv}, 0xFFF80200, 0x3FFFBFFFFFFF, false},
        {{1.5F, 0, 0, 2}, 0xE3D80200, 0x3FFF3FFFE3E1, false},  // 1597 and 51138 wrap
        {{kNan, 0.5F, 0.25F, -0.125F}, 0x369AD1A5, 0x34AF56A036A0, false},
        {{0.5F, kNan, 0.25F, 0}, 0x000AD200, 0x3FFF56A00000, false},
        {{0, 0, kInf, -kInf}, 0x80080200, 0x3FFF3FFF8000, false},
        {{-2e9F, 0, 0, -3e9F}, 0xC0080200, 0x3FFF3FFFC000, true},
    };
    for (const auto& [before, record32, record48, isTurned] : cases) {
        SCOPED_TRACE(testing::PrintToString(before));
        Quat after = before;
        for (float& component : after)
            component = isTurned ? -component : component;
        ExpectEncodes(kPacked32, before, record32, after);
        ExpectEncodes(kPacked48, before, record48, after);
    }
}

TEST(KeyCodecs, UnpacksRotations)
{
    // The missing component's last bits tell the order in which the squares go off.
    const std::tuple<const KeyForm&, std::uint64_t, QuatBits> cases[] = {
        {kPacked32, 0xE0080200, {0x3A353400, 0x3A353400, 0x3A353400, 0x3F7FFFF4}},
        {kPacked32, 0x31CE2720, {0x3F1FF0EA, 0x3EC95E5A, 0x3F0B425F, 0x3ECC3322}},
        {kPacked32, 0x548DB375, {0x3F042E69, 0x3F24F1E7, 0xBE81E184, 0x3F00FF07}},
        {kPacked32, 0xB62DCA26, {0x3F031E9D, 0x3D5A0070, 0x3F340D27, 0x3EFAEA16}},
        {kPacked32, 0xF6998373, {0x3EFFDE76, 0x3E089AE4, 0x3F037935, 0x3F2F4361}},
        // The uppermost bit of all is ignored.
        {kPacked48, 0xBFFFBFFFDFFF, {0xB7B50000, 0xB7B50000, 0xB7B50000, 0x3F800000}},
        {kPacked48, 0x6AD5EC77172A, {0x3F346417, 0xBE47DFCC, 0x3EFB8CC6, 0x3EF25022}},
        {kPacked48, 0x2D69F24978E3, {0xBE524DEC, 0x3F16B725, 0x3F0CCD29, 0x3F0E3CDF}},
        {kPacked48, 0x31377248B668, {0x3F0E3A0B, 0xBE274208, 0x3F25CE32, 0x3EFD843E}},
        {kPacked48, 0x68B23129F98E, {0x3F1091AF, 0xBE27E06C, 0x3EE639BE, 0x3F2C1D54}}};
    for (const auto& [form, record, expected] : cases)
        ExpectDecodes(form, record, expected);
}

TEST(KeyCodecs, HalvesAreCutNotRounded)
{
    const std::pair<std::uint32_t, std::uint16_t> cases[] = {
        {0x3F801FFF, 0x3C00}, {0xBF801FFF, 0xBC00}, {0x477FEFFF, 0x7BFF},  // just under the largest half
        {0x477FFFFF, 0x7BFF}, {0x47800000, 0x7C00}, {0x7F7FFFFF, 0x7C00},  // and too large
        {0x7F800001, 0x7C00}, {0x7F802000, 0x7C01}, {0x387FFFFF, 0x03FF},  // the largest subnormal
        {0x33800000, 0x0001}, {0x337FFFFF, 0x0000}, {0x80000001, 0x8000}};
    for (const auto& [single, half] : cases) {
        const float value = std::bit_cast<float>(single);
        const Quat key{value, value, value, value};
        ExpectEncodes(kHalves4, key, half * 0x0001000100010001U, key);
        std::vector<float> values(15, value);
        std::vector<std::uint16_t> halves(15);
        kHalves3.encode(values.data(), 5, halves.data());
        EXPECT_EQ(halves, std::vector(15, half)) << std::hex << single;
    }
}

TEST(KeyCodecs, HalfRotationsOutOfLengthAreNormalised)
{
    const std::pair<std::array<std::uint16_t, 4>, QuatBits> cases[] = {
        // A squared length of 0.95 stays, one step less does not.
        {{0xB4F5, 0xB49F, 0x3515, 0xBA8C}, {0xBE9EA000, 0xBE93E000, 0x3EA2A000, 0xBF518000}},
        {{0xB82F, 0x337B, 0x39D7, 0xB4C6}, {0xBF095A55, 0x3E7597F4, 0x3F3FBACE, 0xBE9CB7DC}},
        // So does 1, where another sum of the squares would give more, and not one step more.
        {{0x0000, 0x0000, 0x3C00, 0x8000}, {0x00000000, 0x00000000, 0x3F800000, 0x80000000}},
        {{0x2085, 0x388A, 0x3A96, 0x2437}, {0x3C10A000, 0x3F114000, 0x3F52C000, 0x3C86E000}},
        {{0x38BD, 0x3A63, 0x2984, 0x2E66}, {0x3F17A000, 0x3F4C6000, 0x3D308000, 0x3DCCC000}},
        {{0x4000, 0x3C00, 0x0000, 0xC000}, {0x3F2AAAAB, 0x3EAAAAAB, 0x00000000, 0xBF2AAAAB}},
        {{0x0000, 0x8000, 0x0000, 0x8000}, {0, 0, 0, 0}},  // no length: all +0
        // A length that is no number leaves all four as they are; an infinite one leaves none.
        {{0x7C01, 0x3C00, 0x3C00, 0x3C00}, {0x7F802000, 0x3F800000, 0x3F800000, 0x3F800000}},
        {{0x7C00, 0x3C00, 0x0000, 0x0000}, {0x7FC00000, 0x7FC00000, 0x7FC00000, 0x7FC00000}},
    };
    for (const auto& [halves, expected] : cases)
        ExpectDecodes(kHalves4, std::bit_cast<std::uint64_t>(halves), expected);
}

}  // namespace vela::vlgim::keys
