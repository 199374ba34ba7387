#include "support/Bytes.h"
#include "support/LogCapture.h"

#include <keys/KeyCodecs.h>
#include <keys/Rotations.h>
#include <keys/TransKeysBlock.h>
#include <vlgim/vlTransKeysData.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

using namespace vela::vlgim;
using namespace vela::vlgim::test;

// PackKeys is only ever called for all components; an explicit instantiation may name a private member.
template <void (vlTransKeysData::*kMember)(unsigned short)>
struct PrivateCall {
    friend void CallPackKeys(vlTransKeysData& data, unsigned short mask) { (data.*kMember)(mask); }
};
template struct PrivateCall<&vlTransKeysData::PackKeys>;
void CallPackKeys(vlTransKeysData& data, unsigned short mask);

namespace {

using Bytes = std::vector<unsigned char>;
using Floats = std::vector<float>;

std::shared_ptr<float[]> Array(const Floats& values)
{
    std::shared_ptr<float[]> array(new float[values.size()]);
    std::copy(values.begin(), values.end(), array.get());
    return array;
}

// Bits of the first floats of an array: what a test compares, so that -0 and NaN count.
std::vector<std::uint32_t> Bits(const float* values, std::size_t count)
{
    std::vector<std::uint32_t> bits;
    for (std::size_t i = 0; i < count; ++i)
        bits.push_back(std::bit_cast<std::uint32_t>(values[i]));
    return bits;
}

void ExpectFloats(const std::shared_ptr<float[]>& array, const Floats& expected)
{
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(Bits(array.get(), expected.size()), Bits(expected.data(), expected.size()));
}

Bytes Write(vlTransKeysData& data)
{
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* stream = open_memstream(&text, &size);
    data.WriteData(stream);
    std::fclose(stream);
    const Bytes bytes(text, text + size);
    std::free(text);
    return bytes;
}

// Two keys, all components keyed.
vlTransKeysData TwoKeys(unsigned char rotOrder, const Floats& rot, unsigned char flags)
{
    vlTransKeysData data;
    data.m_posKeyed = data.m_rotKeyed = data.m_scaleKeyed = 1;
    data.m_rotOrder = rotOrder;
    data.m_compressFlags = flags;
    data.m_keyCount = 2;
    data.m_pos = Array({1, 2, 3, 4, 5, 6});
    data.m_rot = Array(rot);
    data.m_scale = Array({1, 1, 1, 2, 0.5F, 1});
    return data;
}

constexpr float kInv = std::bit_cast<float>(0x3F3504F3U);

const Bytes kPos = ByteBuilder().F32s({1, 2, 3, 4, 5, 6});
const Bytes kScale = ByteBuilder().F32s({1, 1, 1, 2, 0.5F, 1});
const Bytes kHalfScale = ByteBuilder().U16s({0x3C00, 0x3C00, 0x3C00, 0x4000, 0x3800, 0x3C00});

// (0.5, 0.5, 0.5, 0.5) and (0, 0, 0, 1) or two triples of angles, in each form.
const struct Form {
    const char* name;
    unsigned char rotOrder, flags;
    Bytes rot, scale;
} kForms[] = {
    {"quaternions", 0, 0, ByteBuilder().F32s({0.5F, 0.5F, 0.5F, 0.5F, 0, 0, 0, 1}), kScale},
    {"half quaternions", 0, 2,
     ByteBuilder().U16s({0x3800, 0x3800, 0x3800, 0x3800, 0x0000, 0x0000, 0x0000, 0x3C00}), kScale},
    {"32 bits", 0, 8, ByteBuilder().U32(0x769DA769).U32(0xE0080200), kScale},
    {"48 bits", 0, 16, ByteBuilder().U16s({0x76A0, 0x6D40, 0x6D40, 0xDFFF, 0xBFFF, 0x3FFF}), kScale},
    {"32 bits first", 0, 2 | 4 | 8 | 16, ByteBuilder().U32(0x769DA769).U32(0xE0080200), kHalfScale},
    {"48 bits before halves", 0, 2 | 16, ByteBuilder().U16s({0x76A0, 0x6D40, 0x6D40, 0xDFFF, 0xBFFF, 0x3FFF}),
     kScale},
    {"half scales", 0, 4, ByteBuilder().F32s({0.5F, 0.5F, 0.5F, 0.5F, 0, 0, 0, 1}), kHalfScale},
    {"angles", 5, 0, ByteBuilder().F32s({0.5F, -1, 2, 0, 0.25F, -0.0F}), kScale},
    {"half angles", 6, 2 | 4 | 8, ByteBuilder().U16s({0x3800, 0xBC00, 0x4000, 0x0000, 0x3400, 0x8000}),
     kHalfScale},
    {"angles are never packed", 1, 8 | 16, ByteBuilder().F32s({0.5F, -1, 2, 0, 0.25F, -0.0F}), kScale},
    {"unknown order and bits", 200, 0xE1, ByteBuilder().F32s({0.5F, -1, 2, 0, 0.25F, -0.0F}), kScale},
};

Floats FloatKeys(const Form& form)
{
    return form.rotOrder ? Floats{0.5F, -1, 2, 0, 0.25F, -0.0F} : Floats{0.5F, 0.5F, 0.5F, 0.5F, 0, 0, 0, 1};
}

// The packed forms have no code for 0.
Floats DecodedKeys(const Form& form)
{
    Floats keys = FloatKeys(form);
    for (float* q = keys.data(); !form.rotOrder && (form.flags & 24) && q != keys.data() + 8; q += 4) {
        if (form.flags & 8) {
            keys::DecodeRotation32(q[0] != 0 ? 0x769DA769 : 0xE0080200, &q[0], &q[1], &q[2], &q[3]);
        } else if (q[0] != 0) {
            keys::DecodeRotation48(0x76A0, 0x6D40, 0x6D40, &q[0], &q[1], &q[2], &q[3]);
        } else {
            keys::DecodeRotation48(0xDFFF, 0xBFFF, 0x3FFF, &q[0], &q[1], &q[2], &q[3]);
        }
    }
    return keys;
}

Bytes Block(const Form& form)
{
    return ByteBuilder().U8(1).U8(1).U8(1).U8(form.rotOrder).Raw(kPos).Raw(form.rot).Raw(form.scale);
}

}  // namespace

TEST(vlTransKeysData, ReadsEachForm)
{
    for (const Form& form : kForms) {
        SCOPED_TRACE(form.name);
        const Bytes block = ByteBuilder().U8(9).Raw(Block(form));  // at an odd address
        const unsigned char* end = block.data() + block.size();
        vlTransKeysData data;
        data.m_keyCount = 2;
        data.m_compressFlags = form.flags;
        EXPECT_EQ(data.ReadData(block.data() + 1, end), end);
        EXPECT_EQ(data.m_rotOrder, form.rotOrder);
        ExpectFloats(data.m_pos, {1, 2, 3, 4, 5, 6});
        ExpectFloats(data.m_rot, DecodedKeys(form));
        ExpectFloats(data.m_scale, {1, 1, 1, 2, 0.5F, 1});
        EXPECT_EQ(data.m_compressFlags, 0);
        EXPECT_EQ(data.m_keyCount, 2);
#ifndef VLGIM_SEPARATE_ARRAYS
        EXPECT_EQ(data.m_pos.use_count(), 3) << "one allocation for the channel";
#endif
        data.m_compressFlags = form.flags;
        EXPECT_EQ(data.ReadData(block.data() + 1), end) << "vouched for by the caller";
    }
}

TEST(vlTransKeysData, WritesEachForm)
{
    for (const Form& form : kForms) {
        SCOPED_TRACE(form.name);
        vlTransKeysData data = TwoKeys(form.rotOrder, FloatKeys(form), form.flags);
        EXPECT_EQ(Write(data), Block(form));
        EXPECT_EQ(Write(data), Block(form)) << "again";
        EXPECT_EQ(data.m_compressFlags, form.flags);
        ExpectFloats(data.m_rot, FloatKeys(form));
    }
}

TEST(vlTransKeysData, CountsOfRecords)
{
    const struct {
        unsigned char keyed;
        unsigned short keyCount;
        unsigned char flags;
        std::size_t size;
    } cases[] = {
        {1, 100, 8 | 4, 2204}, {0, 100, 8 | 4, 422 - 396},      {0, 0, 0, 4 + 12 + 16 + 12},
        {1, 0, 0, 4},          {255, 65535, 0, 4 + 65535 * 40}, {1, 1, 16, 4 + 12 + 6 + 12},
    };
    for (const auto& c : cases) {
        const Bytes block = ByteBuilder().Fill(3, c.keyed).U8(0).Fill(c.size - 4, 0x3C);
        vlTransKeysData data;
        data.m_keyCount = c.keyCount;
        data.m_compressFlags = c.flags;
        const unsigned char* end = block.data() + block.size();
        ASSERT_EQ(data.ReadData(block.data(), end), end) << c.size;
        EXPECT_EQ(data.m_posKeyed, c.keyed);
        EXPECT_EQ(data.m_rot == nullptr, c.size == 4) << c.size;
        data.m_compressFlags = c.flags;
        EXPECT_EQ(data.ReadData(block.data(), end - 1), nullptr) << c.size;
    }
}

TEST(vlTransKeysData, EveryPrefixIsRefused)
{
    for (const Form& form : kForms) {
        ForEachPrefix(Block(form), [&form](const unsigned char* bytes, const unsigned char* end) {
            vlTransKeysData data = TwoKeys(0, {1, 2, 3, 4, 5, 6, 7, 8}, form.flags);
            const auto rot = data.m_rot;
            EXPECT_EQ(data.ReadData(bytes, end), nullptr) << form.name << end - bytes;
            EXPECT_EQ(data.m_rot, rot);
            EXPECT_EQ(data.m_compressFlags, form.flags);
        });
        ForEachByteChange(Block(form), [&form](const Bytes& bytes) {
            vlTransKeysData data;
            data.m_keyCount = 2;
            data.m_compressFlags = form.flags;
            const unsigned char* end = bytes.data() + bytes.size();
            const unsigned char* behind = data.ReadData(bytes.data(), end);
            ASSERT_LE(behind, end);
            if (behind)
                Write(data);
        });
    }
    EXPECT_EQ(vlTransKeysData().ReadData(nullptr), nullptr);
}

// A copy made before the second read keeps what it shows.
TEST(vlTransKeysData, ASecondReadStartsAnew)
{
    const Bytes block = Block(kForms[2]);
    vlTransKeysData data = TwoKeys(0, {0, 0, 0, 1, 0, 1, 0, 0}, 8 | 4);
    Write(data);
    const vlTransKeysData copy = data;
    ASSERT_NE(data.ReadData(block.data(), block.data() + block.size() - 12), nullptr);
    EXPECT_EQ(data.m_packedRot, nullptr);
    EXPECT_EQ(data.m_packedScale, nullptr);
    ExpectFloats(copy.m_rot, {0, 0, 0, 1, 0, 1, 0, 0});
    EXPECT_EQ(copy.m_packedScale[1][1], 0x3800);
}

TEST(vlTransKeysData, ChannelsOfAContainerShareOneAllocation)
{
    const Bytes file = ByteBuilder().Raw(Block(kForms[2])).Raw(Block(kForms[4]));
    io::BlockReader in(file.data(), file.data() + file.size(), "clip");
    io::ArrayBlock arrays;
    const keys::MeasuredKeys first = keys::MeasureKeys(in, arrays, 2, 8);
    const keys::MeasuredKeys second = keys::MeasureKeys(in, arrays, 2, 8 | 4);
    EXPECT_EQ(in.Position(), file.data() + file.size());
    ASSERT_TRUE(arrays.Allocate(in));
    vlTransKeysData a, b;
    keys::FillKeys(first, arrays, a);
    keys::FillKeys(second, arrays, b);
    ExpectFloats(a.m_rot, DecodedKeys(kForms[2]));
    ExpectFloats(b.m_scale, {1, 1, 1, 2, 0.5F, 1});
    EXPECT_EQ(b.m_keyCount, 2);
#ifndef VLGIM_SEPARATE_ARRAYS
    EXPECT_EQ(a.m_pos.use_count(), 7);  // six arrays and the block itself
#endif
    keys::MeasureKeys(in, arrays, 2, 0);
    EXPECT_STREQ(in.WhyRefused().block, "clip");
}

TEST(vlTransKeysData, OnlyWhatChangesStaysKeyed)
{
    const float tolerance = std::bit_cast<float>(0x358637BDU);
    const float beyond = std::nextafter(tolerance, 1.0F);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const struct {
        unsigned char rotOrder, flags;
        Floats keys;  // the first numbers of keys that are 0 otherwise, 1 in a quaternion's w
        bool posKeyed, rotKeyed, scaleKeyed;
    } cases[] = {
        {0, 0, {0, tolerance, -tolerance}, false, false, false},
        {0, 0, {0, beyond, 0}, true, true, true},
        {0, 0, {0, -beyond, 0}, true, true, true},
        {1, 0, {0, 0, beyond}, true, true, true},
        {1, 0, {0, tolerance, nan}, false, false, false},
        {0, 0, {0, 0.6e-6F, 1.2e-6F}, true, true, true},  // against key 0, not against the one before
        {0, 8, {0, 5e-6F, 5e-6F}, true, true, true},      // one word for all, but the floats differ
        {0, 16, {0, 5e-6F, 5e-6F}, true, true, true},
        {0, 2, {1, 1.0002F, 1.0004F}, true, true, true},
        {1, 2, {1, 1.0002F, 1.0004F}, true, false, true},
        {1, 4, {1, 1.0002F, 1.0004F}, true, true, false},  // halves that are equal are all that is looked at
        {1, 2 | 4, {1, 1.001F, 1}, true, true, true},
        {1, 2 | 4, {0, 0.6e-6F, 1.2e-6F}, true, true, true},
        {0, 2 | 8 | 16, {0, 0, 0}, false, false, false},  // several forms: the first one is compared
        {0, 2 | 16, {0, 0, 0}, false, false, false},
    };
    for (const auto& c : cases) {
        vlTransKeysData data;
        data.m_posKeyed = data.m_rotKeyed = data.m_scaleKeyed = 2;
        data.m_rotOrder = c.rotOrder;
        data.m_compressFlags = c.flags;
        data.m_keyCount = 3;
        Floats vectors, quats;
        for (const float key : c.keys) {
            vectors.insert(vectors.end(), {0, key, 0});
            quats.insert(quats.end(), {key, 0, 0, 1});
        }
        data.m_pos = Array(vectors);
        data.m_rot = Array(c.rotOrder ? vectors : quats);
        data.m_scale = Array(vectors);
        const Bytes block = Write(data);
        SCOPED_TRACE(testing::Message() << +c.flags << testing::PrintToString(c.keys));
        EXPECT_EQ(block[0], c.posKeyed ? 2 : 0);
        EXPECT_EQ(block[1], c.rotKeyed ? 2 : 0);
        EXPECT_EQ(block[2], c.scaleKeyed ? 2 : 0);
        EXPECT_EQ(data.m_keyCount, 3);
        EXPECT_EQ(Write(data), block);
        vlTransKeysData back;
        back.m_keyCount = 3;
        back.m_compressFlags = c.flags;
        EXPECT_EQ(back.ReadData(block.data(), block.data() + block.size()), block.data() + block.size());
    }
}

// Quaternions whose floats agree, but which lie on both sides of a step of their small form.
TEST(vlTransKeysData, KeysOfTwoCodesStayKeyed)
{
    const struct {
        unsigned char flags;
        float step;
    } cases[] = {{8, 599.5F / (kInv * 1023) - kInv}, {16, 19999.5F / (kInv * 32767) - kInv}, {2, 0.125F}};
    for (const auto& c : cases) {
        vlTransKeysData data = TwoKeys(0, {c.step - 4e-7F, 0, 0, 1, c.step + 4e-7F, 0, 0, 1}, c.flags);
        EXPECT_EQ(Write(data)[1], 1) << +c.flags;
        data.m_compressFlags = 0;
        EXPECT_EQ(Write(data)[1], 0) << +c.flags;
    }
}

// Which array a collapse replaces, and what stays readable in the other one.
TEST(vlTransKeysData, CollapseShrinksTheArrayOfItsForm)
{
    const Floats same{0, 0, 0, 1, 0, 0, 0, 1};
    for (const unsigned char flags : Bytes{0, 2, 8, 16}) {
        vlTransKeysData data = TwoKeys(0, same, flags);
        const vlTransKeysData before = data;
        const Bytes block = Write(data);
        SCOPED_TRACE(+flags);
        EXPECT_EQ(data.m_rotKeyed, 0);
        EXPECT_EQ(block.size(), 4U + 24 + (flags == 0 ? 16 : flags == 2 ? 8 : flags == 8 ? 4 : 6) + 24);
        EXPECT_EQ(data.m_rot == before.m_rot, flags == 2);
        ExpectFloats(before.m_rot, same);
        EXPECT_EQ(data.m_pos, before.m_pos);
        if (flags >= 8) {
            EXPECT_EQ(data.m_packedRot[7], flags == 8 ? 0xE0 : 0xDF) << "still as long as there were keys";
        }
    }
    vlTransKeysData data = TwoKeys(1, {1, 2, 3, 1, 2, 3}, 2 | 4);
    data.m_scale = Array({1, 1, 1, 1, 1, 1});
    const vlTransKeysData before = data;
    Write(data);
    EXPECT_EQ(data.m_rotKeyed + data.m_scaleKeyed, 0);
    EXPECT_EQ(data.m_rot, before.m_rot);
    EXPECT_EQ(data.m_scale, before.m_scale);
}

// The sign that the packed forms need is turned in the keys themselves, where copies see it.
TEST(vlTransKeysData, PackingTurnsSigns)
{
    const Floats signs{0, 0, 0, 1, 0, 0, 0, -1};
    for (const unsigned char flags : Bytes{0, 2, 8, 16}) {
        vlTransKeysData data = TwoKeys(0, signs, flags);
        const vlTransKeysData copy = data;
        Write(data);
        EXPECT_EQ(data.m_rotKeyed, flags < 8) << +flags;
        ExpectFloats(copy.m_rot, flags < 8 ? signs : Floats{0, 0, 0, 1, -0.0F, -0.0F, -0.0F, 1});
    }
}

TEST(vlTransKeysData, PackKeysLooksAtTheComponentsOfItsMask)
{
    for (unsigned short mask = 0; mask < 8; ++mask) {
        vlTransKeysData data = TwoKeys(1, {1, 2, 3, 1, 2, 3}, 0);
        data.m_pos = data.m_scale = data.m_rot;
        CallPackKeys(data, mask);
        EXPECT_EQ(data.m_posKeyed + 2 * data.m_rotKeyed + 4 * data.m_scaleKeyed, 7 - mask);
    }
}

TEST(vlTransKeysData, MissingArrays)
{
    const char* const names[] = {"position", "rotation", "scale"};
    for (int missing = 0; missing < 3; ++missing) {
        vlTransKeysData data = TwoKeys(0, {0, 0, 0, -1, 0, 0, 0, -1}, 8);
        (missing == 0 ? data.m_pos : missing == 1 ? data.m_rot : data.m_scale) = nullptr;
        LogCapture log;
        EXPECT_EQ(Write(data), Bytes());
        EXPECT_EQ(log.lines,
                  std::vector<std::string>{"E unable to write transform keys: no array holds the " +
                                           std::string(names[missing]) + " keys"});
        EXPECT_EQ(data.m_packedRot, nullptr) << "the object is as it was";
        data.ConvertToDelta({});
        data.ConvertFromDelta({});
    }
    // Without keys there is nothing to miss: the keyed bytes stay, and the block reads back.
    vlTransKeysData none;
    none.m_posKeyed = none.m_rotKeyed = none.m_scaleKeyed = 3;
    none.m_compressFlags = 4 | 8;
    EXPECT_EQ(Write(none), (Bytes{3, 3, 3, 0}));
    EXPECT_TRUE(keys::WhyUnwritable(none, none.m_keyCount).empty());
    EXPECT_FALSE(keys::WhyUnwritable(vlTransKeysData(), 0).empty()) << "an unkeyed component has one key";
}

TEST(vlTransKeysData, TransformOfAKey)
{
    vlTransKeysData data = TwoKeys(0, {0, 0, 0, 1, 0.5F, 0.5F, 0.5F, -0.5F}, 0);
    data.m_scaleKeyed = 0;
    for (const unsigned key : {0U, 1U, 2U, 65535U}) {
        const bool first = key == 0;
        vela::geomath::_Vector3<float> position{}, scale{};
        vela::geomath::_Rotation<float> rotation{};
        data.GetKeyPRS(static_cast<unsigned short>(key), &position, &rotation, &scale);
        EXPECT_EQ(Bits(&position.x, 3), Bits(data.m_pos.get() + (first ? 0 : 3), 3)) << key;
        EXPECT_EQ(Bits(&rotation.x, 4), Bits(data.m_rot.get() + (first ? 0 : 4), 4)) << key;
        EXPECT_EQ(Bits(&scale.x, 3), Bits(data.m_scale.get(), 3)) << key;
    }
    data.GetKeyPRS(0, nullptr, nullptr, nullptr);

    data = TwoKeys(EULER_ZXY, {0, 0, 0, 0.5F, -1, 2}, 0);
    vela::geomath::_Rotation<float> rotation{}, expected{};
    data.GetKeyPRS(1, nullptr, &rotation, nullptr);
    keys::EulerToRotation(data.m_rot.get() + 3, &expected, 3);
    EXPECT_EQ(Bits(&rotation.x, 4), Bits(&expected.x, 4));

    vlTransKeysData none;
    for (const unsigned char keyed : Bytes{0, 1}) {
        none.m_posKeyed = none.m_rotKeyed = none.m_scaleKeyed = keyed;
        vela::geomath::_Vector3<float> position{9, 9, 9}, scale{9, 9, 9};
        none.GetKeyPRS(0, &position, &rotation, &scale);
        EXPECT_EQ(position.x + position.y + position.z, 0);
        EXPECT_EQ(rotation.x + rotation.y + rotation.z, 0);
        EXPECT_EQ(rotation.w, 1);
        EXPECT_EQ(scale.x + scale.y + scale.z, 3);
    }
}

TEST(vlTransKeysData, Deltas)
{
    const vlTransInfo ref{{1, 0.1F, -3}, {0.5F, -0.5F, 0.5F, 0.5F}, {2, 3, 0.1F}};
    vlTransKeysData data = TwoKeys(0, {0.5F, -0.5F, 0.5F, 0.5F, 0.1F, 0.2F, 0.3F, 0.9F}, 0);
    data.m_scaleKeyed = 0;
    const vlTransKeysData copy = data;
    vela::geomath::_Rotation<float> delta{0.1F, 0.2F, 0.3F, 0.9F};
    keys::RotationMultiply({-0.5F, 0.5F, -0.5F, 0.5F}, delta, &delta);
    data.ConvertToDelta(ref);
    ExpectFloats(data.m_pos, {0, 2 - 0.1F, 6, 3, 5 - 0.1F, 9});
    ExpectFloats(data.m_rot, {0, 0, 0, 1, delta.x, delta.y, delta.z, delta.w});
    ExpectFloats(data.m_scale, {1 / 2.0F, 1 / 3.0F, 1 / 0.1F, 2, 0.5F, 1});  // unkeyed: only key 0
    EXPECT_EQ(copy.m_pos, data.m_pos) << "in place";
    keys::RotationMultiply(ref.m_rot, delta, &delta);
    data.ConvertFromDelta(ref);
    ExpectFloats(data.m_pos, {1, 2 - 0.1F + 0.1F, 3, 4, 5 - 0.1F + 0.1F, 6});
    ExpectFloats(data.m_rot, {0.5F, -0.5F, 0.5F, 0.5F, delta.x, delta.y, delta.z, delta.w});
    ExpectFloats(data.m_scale, {1, 1 / 3.0F * 3, 1 / 0.1F * 0.1F, 2, 0.5F, 1});
}

TEST(vlTransKeysData, DeltasAgainstScalesAroundZero)
{
    const float tolerance = std::bit_cast<float>(0x358637BDU);
    const float beyond = std::nextafter(tolerance, 1.0F);
    const float inf = std::numeric_limits<float>::infinity();
    const struct {
        vela::geomath::_Vector3<float> ref;
        Floats toDelta, fromDelta;
    } cases[] = {
        {{0, 0, 0}, {1, 1, 1, 2, 0.5F, 1}, {1, 1, 1, 2, 0.5F, 1}},
        {{tolerance, -tolerance, 0}, {1, 1, 1, 2, 0.5F, 1}, {1, 1, 1, 2, 0.5F, 1}},
        {{2, 0, -0.0F}, {0.5F, inf, -inf, 1, inf, -inf}, {2, 0, -0.0F, 4, 0, -0.0F}},
        {{beyond, 1, 1}, {1 / beyond, 1, 1, 2 / beyond, 0.5F, 1}, {beyond, 1, 1, 2 * beyond, 0.5F, 1}},
    };
    for (const auto& c : cases) {
        vlTransInfo ref;
        ref.m_pos = {1, 1, 1};
        ref.m_scale = c.ref;
        vlTransKeysData to = TwoKeys(0, {0, 0, 0, 1, 0, 0, 0, 1}, 0);
        vlTransKeysData from = TwoKeys(0, {0, 0, 0, 1, 0, 0, 0, 1}, 0);
        to.ConvertToDelta(ref);
        from.ConvertFromDelta(ref);
        ExpectFloats(to.m_scale, c.toDelta);
        ExpectFloats(from.m_scale, c.fromDelta);
        ExpectFloats(to.m_pos, {0, 1, 2, 3, 4, 5});
    }
}

TEST(vlTransKeysData, DeltasOfAnglesAreInOneOrder)
{
    const vlTransInfo ref{{0, 0, 0}, {0, 0.6F, 0, 0.8F}, {1, 1, 1}};
    const Floats angles{0.5F, -1, 0.7F, 0, 0.25F, -0.5F};
    for (const unsigned char order : Bytes{1, 5, 9}) {
        vlTransKeysData data = TwoKeys(order, angles, 0);
        data.ConvertToDelta(ref);
        Floats expected;
        for (const unsigned key : {0U, 3U}) {
            vela::geomath::_Rotation<float> q{};
            keys::EulerToRotation(&angles[key], &q, 2);
            keys::RotationMultiply({-0.0F, -0.6F, -0.0F, 0.8F}, q, &q);
            float delta[3] = {};
            keys::RotationToEuler(q, delta, 2);
            expected.insert(expected.end(), delta, delta + 3);
        }
        ExpectFloats(data.m_rot, expected);
        EXPECT_EQ(data.m_rotOrder, order);
    }
}
