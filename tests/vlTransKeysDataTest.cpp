#include "support/Blocks.h"

#include <keys/Rotations.h>
#include <vlgim/vlTransKeysData.h>

#include <bit>
#include <cmath>

namespace vela::vlgim::test {

namespace {

constexpr float kTolerance = std::bit_cast<float>(0x358637BDU);
const float kBeyond = std::nextafter(kTolerance, 1.0F);

Bytes Floats(std::initializer_list<float> values)
{
    return ByteBuilder().F32s(values);
}

Array<float> ArrayOf(const Bytes& floats)
{
    Array<float> array(floats.size() / sizeof(float));
    std::memcpy(array.data(), floats.data(), floats.size());
    return array;
}

void ExpectKeys(const vlTransKeysData& data, const Bytes& pos, const Bytes& rot, const Bytes& scale)
{
    EXPECT_EQ(std::tuple(BytesOf(data.m_pos), BytesOf(data.m_rot), BytesOf(data.m_scale)),
              std::tuple(pos, rot, scale));
}

const Bytes kPos = Floats({1, 2, 3, 4, 5, 6});
const Bytes kScale = Floats({1, 1, 1, 2, 0.5F, 1});
const Bytes kHalfScale = ByteBuilder().U16s({0x3C00, 0x3C00, 0x3C00, 0x4000, 0x3800, 0x3C00});
const Bytes kQuats = Floats({0.5F, 0.5F, 0.5F, 0.5F, 0, 0, 0, 1});
const Bytes kHalfQuats = ByteBuilder().U16s({0x3800, 0x3800, 0x3800, 0x3800, 0, 0, 0, 0x3C00});
const Bytes kQuats32 = ByteBuilder().U32s({0x769DA769, 0xE0080200});
const Bytes kQuats48 = ByteBuilder().U16s({0x76A0, 0x6D40, 0x6D40, 0xDFFF, 0xBFFF, 0x3FFF});
const Bytes kEuler = Floats({0.5F, -1, 2, 0, 0.25F, -0.0F});
const Bytes kHalfEuler = ByteBuilder().U16s({0x3800, 0xBC00, 0x4000, 0x0000, 0x3400, 0x8000});

// What the packed forms, which have no code for 0 or 0.5, give back.
const Bytes kFrom32 = ByteBuilder().U32s(
    {0x3EFFDE76, 0x3F003242, 0x3EFFDE76, 0x3EFFDE76, 0x3A353400, 0x3A353400, 0x3A353400, 0x3F7FFFF4});
const Bytes kFrom48 = ByteBuilder().U32s(
    {0x3EFFFDD6, 0x3F00033F, 0x3EFFFDD6, 0x3EFFFDD6, 0xB7B50000, 0xB7B50000, 0xB7B50000, 0x3F800000});

// Two keys, all components keyed.
vlTransKeysData TwoKeys(unsigned char rotOrder, const Bytes& rot, unsigned char flags = 0)
{
    return {1, 1, 1, rotOrder, flags, ArrayOf(kPos), ArrayOf(rot), ArrayOf(kScale), nullptr, nullptr, 2};
}

Bytes BlockOf(unsigned char rotOrder, const Bytes& rot, const Bytes& scale)
{
    return ByteBuilder().Fill(3, 1).U8(rotOrder).Raw(kPos).Raw(rot).Raw(scale);
}

vlTransKeysData Empty(unsigned char keyed, unsigned char flags, unsigned short keyCount)
{
    return {keyed, keyed, keyed, 0, flags, nullptr, nullptr, nullptr, nullptr, nullptr, keyCount};
}

}  // namespace

TEST(vlTransKeysData, EachForm)
{
    const std::tuple<const char*, unsigned char, unsigned char, Bytes, Bytes, Bytes, Bytes> forms[] = {
        // Name, order, flags; rotations in memory; rotations and scales in the file; rotations as read.
        {"quaternions", 0, 0, kQuats, kQuats, kScale, kQuats},
        {"half quaternions", 0, 2, kQuats, kHalfQuats, kScale, kQuats},
        {"32 bits before all others", 0, 2 | 4 | 8 | 16, kQuats, kQuats32, kHalfScale, kFrom32},
        {"48 bits before halves", 0, 2 | 16, kQuats, kQuats48, kScale, kFrom48},
        {"half scales", 0, 4, kQuats, kQuats, kHalfScale, kQuats},
        {"half angles", 6, 2 | 4 | 8, kEuler, kHalfEuler, kHalfScale, kEuler},
        {"angles are never packed", 1, 8 | 16, kEuler, kEuler, kScale, kEuler},
        {"unknown order and bits", 200, 0xE1, kEuler, kEuler, kScale, kEuler},
    };
    for (const auto& [name, rotOrder, flags, memory, rot, scale, asRead] : forms) {
        SCOPED_TRACE(name);
        const Bytes block = BlockOf(rotOrder, rot, scale);
        vlTransKeysData data = TwoKeys(rotOrder, memory, flags);
        EXPECT_EQ(Written(data), block);
        EXPECT_EQ(BytesOf(data.m_rot), memory);

        const auto read = [f = flags](vlTransKeysData& into, auto bytes, auto end) {
            into.m_compressFlags = f;
            return into.ReadData(bytes, end);
        };
        data = TwoKeys(0, kQuats, 8 | 4);  // a channel that holds packed keys, and that has a copy
        Written(data);
        const vlTransKeysData copy = data;
        ExpectWhole(data, block, read, [](vlTransKeysData& keys) {
            keys.m_compressFlags = 0;
            return Written(keys);
        });
        EXPECT_TRUE(read(data, block.data(), nullptr)) << "vouched for by the caller";
        EXPECT_TRUE(!data.m_packedRot && !data.m_packedScale);
        EXPECT_EQ(Written(data), BlockOf(rotOrder, asRead, kScale)) << "without the form";
        ExpectKeys(copy, kPos, kQuats, kScale);
    }
}

TEST(vlTransKeysData, CountsOfRecords)
{
    const std::tuple<unsigned char, unsigned short, unsigned char, std::size_t> cases[] = {
        // Keyed, keys, flags, size.
        {0, 100, 8 | 4, 26},
        {0, 0, 0, 44},
        {1, 0, 0, 4},
        {255, 65535, 0, 4 + 65535 * 40}};
    for (const auto& [keyed, keyCount, flags, size] : cases) {
        const Bytes block = ByteBuilder().Fill(3, keyed).Fill(size - 3, 0);
        vlTransKeysData data = Empty(0, flags, keyCount);
        const unsigned char* end = block.data() + block.size();
        EXPECT_EQ(data.ReadData(block.data(), end - 1), nullptr) << size;
        EXPECT_EQ(data.ReadData(block.data(), end), end) << size;
        EXPECT_EQ(std::tuple(data.m_posKeyed, data.m_rot == nullptr), std::tuple(keyed, size == 4)) << size;
    }
}

TEST(vlTransKeysData, OnlyWhatChangesStaysKeyed)
{
    // Steps of the packed forms: quaternions on both sides of one have floats that agree.
    const float inv = std::bit_cast<float>(0x3F3504F3U);
    const float step32 = 599.5F / (inv * 1023) - inv, step48 = 19999.5F / (inv * 32767) - inv;
    const std::tuple<unsigned char, unsigned char, std::array<float, 3>, Bytes> cases[] = {
        // Order and flags; the first numbers of quaternions of w 1, the second ones of vectors; what is keyed.
        {0, 0, {0, kTolerance, -kTolerance}, {0, 0, 0}},
        {0, 0, {0, kBeyond, 0}, {2, 2, 2}},
        {1, 0, {0, 0, -kBeyond}, {2, 2, 2}},
        {1, 0, {0, kTolerance, std::nanf("")}, {0, 0, 0}},
        {0, 0, {0, 0.6e-6F, 1.2e-6F}, {2, 2, 2}},  // against key 0, not against the one before
        {0, 8, {0, 5e-6F, 5e-6F}, {2, 2, 2}},      // one word for all, but the floats differ
        {0, 16, {0, 5e-6F, 5e-6F}, {2, 2, 2}},
        {0, 2, {1, 1.0002F, 1.0004F}, {2, 2, 2}},
        {0, 8, {step32 - 4e-7F, step32 + 4e-7F, step32}, {0, 2, 0}},
        {0, 16, {step48 - 4e-7F, step48 + 4e-7F, step48}, {0, 2, 0}},
        {0, 2, {0.125F - 4e-7F, 0.125F + 4e-7F, 0.125F}, {0, 2, 0}},
        {1, 2, {1, 1.0002F, 1.0004F}, {2, 0, 2}},  // halves that are equal are all that is looked at
        {1, 4, {1, 1.0002F, 1.0004F}, {2, 2, 0}},
        {1, 2 | 4, {0, 0.6e-6F, 1.2e-6F}, {2, 2, 2}},
    };
    for (const auto& [rotOrder, flags, keys, keyed] : cases) {
        const Bytes vectors = Floats({0, keys[0], 0, 0, keys[1], 0, 0, keys[2], 0});
        const Bytes quats = Floats({keys[0], 0, 0, 1, keys[1], 0, 0, 1, keys[2], 0, 0, 1});
        const Array<float> array = ArrayOf(vectors);
        vlTransKeysData data{
            2, 2, 2, rotOrder, flags, array, rotOrder ? array : ArrayOf(quats), array, nullptr, nullptr, 3};
        const Bytes block = Written(data);
        SCOPED_TRACE(testing::Message() << +flags << testing::PrintToString(keys));
        EXPECT_EQ(Prefix(block, 3), keyed);
        EXPECT_EQ(data.m_scale.size(), keyed[2] != 0 || flags & KEY_HALF_SCALE ? 9 : 3)
            << "or halves are cut";
        EXPECT_EQ(Written(data), block);
    }
}

// Which array a collapse replaces, and that signs are turned in a new one: copies show the old ones.
TEST(vlTransKeysData, WritesLeaveTheArraysOfCopiesAlone)
{
    const Bytes one = Floats({0, 0, 0, 1}), same = Floats({0, 0, 0, 1, 0, 0, 0, 1}),
                signs = Floats({0, 0, 0, 1, 0, 0, 0, -1}), turns = Floats({1, 0, 0, 0, 0, 0, 0, -1}),
                turned = Floats({1, 0, 0, 0, -0.0F, -0.0F, -0.0F, 1});
    const std::tuple<unsigned char, Bytes, Bytes, Bytes, Bytes> cases[] = {
        {0, one, one, signs, turns},
        {2, ByteBuilder().U16s({0, 0, 0, 0x3C00}), same, signs, turns},
        {8, ByteBuilder().U32(0xE0080200), one, one, turned},
        {16, ByteBuilder().U16s({0xDFFF, 0xBFFF, 0x3FFF}), one, one, turned}};
    for (const auto& [flags, record, sameBecome, signsBecome, turnsBecome] : cases) {
        const Bytes constant = ByteBuilder().U32(0x00010001).Raw(kPos).Raw(record).Raw(kScale);
        for (const auto& [before, after] :
             {std::pair(same, sameBecome), {signs, signsBecome}, {turns, turnsBecome}}) {
            SCOPED_TRACE(testing::Message() << +flags << testing::PrintToString(before));
            vlTransKeysData data = TwoKeys(0, before, flags);
            const vlTransKeysData copy = data;
            const bool isConstant = before == same || after == one;
            EXPECT_EQ(Written(data) == constant, isConstant);
            EXPECT_EQ(data.m_rotKeyed, isConstant ? 0 : 1);
            EXPECT_EQ(BytesOf(data.m_rot), after);
            EXPECT_EQ(BytesOf(copy.m_rot), before);
        }
    }
}

TEST(vlTransKeysData, MissingArrays)
{
    ExpectRefusedAtWrite<vlTransKeysData>(
        "E unable to write transform keys: the ", [] { return TwoKeys(0, kQuats, 8); },
        {{"positions are missing", [](auto& data) { data.m_pos = nullptr; }},
         {"rotations have 4 entries, but 8 are needed", [](auto& data) { data.m_rot = Array<float>(4); }},
         {"scales are missing", [](auto& data) { data.m_scaleKeyed = 0, data.m_scale = nullptr; }}});
    // Without keys there is nothing to miss: the keyed bytes stay.
    EXPECT_EQ(Written(Empty(3, 4 | 8, 0)), (Bytes{3, 3, 3, 0}));
}

TEST(vlTransKeysData, TransformOfAKey)
{
    vlTransKeysData quats = TwoKeys(0, Floats({0, 0, 0, 1, 0.5F, 0.5F, 0.5F, -0.5F}));
    quats.m_scaleKeyed = 0;
    vlTransKeysData noKeys = TwoKeys(0, kQuats);
    noKeys.m_keyCount = 0;
    const auto keyAt = [](const vlTransKeysData& keys, unsigned short index) {
        vlTransInfo key{{9, 9, 9}, {9, 9, 9, 9}, {9, 9, 9}};
        keys.GetKeyPRS(index, &key.m_pos, &key.m_rot, &key.m_scale);
        keys.GetKeyPRS(index, nullptr, nullptr, nullptr);
        return BytesOf(std::span(&key, 1));
    };
    const Bytes none = Floats({0, 0, 0, 0, 0, 0, 1, 1, 1, 1});
    EXPECT_EQ(keyAt(quats, 0), Floats({1, 2, 3, 0, 0, 0, 1, 1, 1, 1}));
    EXPECT_EQ(keyAt(quats, 1), Floats({4, 5, 6, 0.5F, 0.5F, 0.5F, -0.5F, 1, 1, 1}));
    EXPECT_EQ(keyAt(quats, 65535), keyAt(quats, 1));
    const auto turn = keys::EulerToRotation(ArrayOf(kEuler).data() + 3, EULER_ZXY);
    EXPECT_EQ(keyAt(TwoKeys(EULER_ZXY, kEuler), 1),
              Floats({4, 5, 6, turn.x, turn.y, turn.z, turn.w, 2, 0.5F, 1}));
    EXPECT_EQ(keyAt(Empty(0, 0, 0), 0), none);
    EXPECT_EQ(keyAt(noKeys, 0), none);
}

TEST(vlTransKeysData, Deltas)
{
    const vlTransInfo ref{{1, 0.1F, -3}, {0.5F, -0.5F, 0.5F, 0.5F}, {2, 3, 0.1F}};
    vlTransKeysData data = TwoKeys(0, kQuats);
    data.m_scaleKeyed = 0;  // only key 0
    const vlTransKeysData copy = data;
    data.ConvertToDelta(ref);
    ExpectKeys(data, Floats({0, 2 - 0.1F, 6, 3, 5 - 0.1F, 9}),
               Floats({0.5F, 0.5F, -0.5F, 0.5F, -0.5F, 0.5F, -0.5F, 0.5F}),
               Floats({1 / 2.0F, 1 / 3.0F, 1 / 0.1F, 2, 0.5F, 1}));
    data.ConvertFromDelta(ref);
    data.ConvertFromDelta({{}, {0, 0, 0, 1}, {}});  // scales of 0 are for none
    ExpectKeys(data, Floats({1, 2 - 0.1F + 0.1F, 3, 4, 5 - 0.1F + 0.1F, 6}), kQuats,
               Floats({1, 1 / 3.0F * 3, 1 / 0.1F * 0.1F, 2, 0.5F, 1}));
    ExpectKeys(copy, kPos, kQuats, kScale);

    const float inf = INFINITY;
    const std::pair<geomath::_Vector3<float>, Bytes> scales[] = {
        {{kTolerance, -kTolerance, 0}, kScale},
        {{2, 0, -0.0F}, Floats({0.5F, inf, -inf, 1, inf, -inf})},
        {{kBeyond, 1, 1}, Floats({1 / kBeyond, 1, 1, 2 / kBeyond, 0.5F, 1})}};
    for (const auto& [scale, delta] : scales) {
        data = TwoKeys(0, kQuats);
        data.ConvertToDelta({{}, {}, scale});
        EXPECT_EQ(BytesOf(data.m_scale), delta);
    }
}

TEST(vlTransKeysData, DeltasOfAnglesAreInOneOrder)
{
    const Array<float> angles = ArrayOf(kEuler);
    vlTransKeysData data = TwoKeys(EULER_YXZ, kEuler);
    data.ConvertToDelta({{}, {0, 0.6F, 0, 0.8F}, {}});
    const auto q = keys::EulerToRotation(&angles[3], EULER_YZX);
    keys::RotationToEuler(keys::RotationMultiply({-0.0F, -0.6F, -0.0F, 0.8F}, q), &angles[3], EULER_YZX);
    EXPECT_EQ(std::memcmp(&data.m_rot[3], &angles[3], 12), 0);
}

}  // namespace vela::vlgim::test
