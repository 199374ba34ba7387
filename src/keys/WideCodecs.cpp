#include "keys/WideCodecs.h"

#include "keys/InstructionSets.h"
#include "keys/PackedGrid.h"
#include "keys/WideTargets.h"

#include <cstddef>
#include <limits>

// Compiled once for each instruction set, by including itself.
#define HWY_TARGET_INCLUDE "keys/WideCodecs.cpp"
#include <hwy/foreach_target.h>

#include "keys/WideRuns-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vela::vlgim::keys::HWY_NAMESPACE {

#if VLGIM_HAS_VECTORS

// --- keys of four floats ---

// A vector for each component, lane by lane of as many keys. The keys lie in block order: with B blocks of
// four lanes, key B * j + b in lane 4 * b + j. So a transposition needs no step from block to block, which
// would be as many again, and it is its own inverse.
template <class V>
struct Components {
    V x, y, z, w;
};

template <class D, class V>
HWY_INLINE Components<V> Transpose(D d, V v0, V v1, V v2, V v3)
{
    const hn::Repartition<double, D> dd;
    const auto xy0 = hn::BitCast(dd, hn::InterleaveLower(d, v0, v1));
    const auto zw0 = hn::BitCast(dd, hn::InterleaveUpper(d, v0, v1));
    const auto xy1 = hn::BitCast(dd, hn::InterleaveLower(d, v2, v3));
    const auto zw1 = hn::BitCast(dd, hn::InterleaveUpper(d, v2, v3));
    return {
        hn::BitCast(d, hn::InterleaveLower(dd, xy0, xy1)), hn::BitCast(d, hn::InterleaveUpper(dd, xy0, xy1)),
        hn::BitCast(d, hn::InterleaveLower(dd, zw0, zw1)), hn::BitCast(d, hn::InterleaveUpper(dd, zw0, zw1))};
}

template <class D>
HWY_INLINE Components<hn::Vec<D>> LoadKeys(D d, const float* keys)
{
    constexpr std::size_t kLanes = hn::MaxLanes(D());
    return Transpose(d, hn::LoadU(d, keys), hn::LoadU(d, keys + kLanes), hn::LoadU(d, keys + 2 * kLanes),
                     hn::LoadU(d, keys + 3 * kLanes));
}

template <class D, class V>
HWY_INLINE void StoreKeys(D d, const Components<V>& q, float* keys)
{
    constexpr std::size_t kLanes = hn::MaxLanes(D());
    const auto k = Transpose(d, q.x, q.y, q.z, q.w);
    hn::StoreU(k.x, d, keys);
    hn::StoreU(k.y, d, keys + kLanes);
    hn::StoreU(k.z, d, keys + 2 * kLanes);
    hn::StoreU(k.w, d, keys + 3 * kLanes);
}

// Of 32-bit values that lie as in a file.
template <class D, class V>
HWY_INLINE V ToBlockOrder(D d, V v)
{
    if constexpr (hn::MaxLanes(D()) == 16) {
        alignas(64) static constexpr std::uint32_t kOrder[] = {0, 4, 8,  12, 1, 5, 9,  13,
                                                               2, 6, 10, 14, 3, 7, 11, 15};
        return hn::TableLookupLanes(v, hn::SetTableIndices(d, kOrder));
    } else if constexpr (hn::MaxLanes(D()) == 8) {
        alignas(32) static constexpr std::uint32_t kOrder[] = {0, 2, 4, 6, 1, 3, 5, 7};
        return hn::TableLookupLanes(v, hn::SetTableIndices(d, kOrder));
    } else {
        return v;
    }
}

template <class D, class V>
HWY_INLINE V FromBlockOrder(D d, V v)
{
    if constexpr (hn::MaxLanes(D()) == 8) {
        alignas(32) static constexpr std::uint32_t kOrder[] = {0, 4, 1, 5, 2, 6, 3, 7};
        return hn::TableLookupLanes(v, hn::SetTableIndices(d, kOrder));
    } else {
        return ToBlockOrder(d, v);
    }
}

// --- packed rotations ---

// The three codes of each key, and the tag in the two uppermost bits above whatever else.
template <class V>
struct Fields {
    V tag, a, b, c;
};

template <std::uint32_t kLargestCode, class D, class V>
HWY_INLINE hn::Vec<D> FromCode(D d, V code)
{
    const auto number = hn::ConvertTo(d, hn::BitCast(hn::RebindToSigned<D>(), code));
    return hn::Sub(hn::Div(number, hn::Set(d, kScale<kLargestCode>)), hn::Set(d, kMost));
}

// Moves all four round by as many places as the tag says, whose bits the masks are: the first ends at the
// tag's place.
template <class V, class M>
HWY_INLINE Components<V> TurnRight(const Components<V>& q, M odd, M upper)
{
    const Components<V> r{hn::IfThenElse(odd, q.w, q.x), hn::IfThenElse(odd, q.x, q.y),
                          hn::IfThenElse(odd, q.y, q.z), hn::IfThenElse(odd, q.z, q.w)};
    return {hn::IfThenElse(upper, r.z, r.x), hn::IfThenElse(upper, r.w, r.y), hn::IfThenElse(upper, r.x, r.z),
            hn::IfThenElse(upper, r.y, r.w)};
}

// The reverse: what was at the tag's place comes first.
template <class V, class M>
HWY_INLINE Components<V> TurnLeft(const Components<V>& q, M odd, M upper)
{
    const Components<V> r{hn::IfThenElse(odd, q.y, q.x), hn::IfThenElse(odd, q.z, q.y),
                          hn::IfThenElse(odd, q.w, q.z), hn::IfThenElse(odd, q.x, q.w)};
    return {hn::IfThenElse(upper, r.z, r.x), hn::IfThenElse(upper, r.w, r.y), hn::IfThenElse(upper, r.x, r.z),
            hn::IfThenElse(upper, r.y, r.w)};
}

template <class D, class V>
HWY_INLINE auto HighBit(D d, V v)
{
    const hn::RebindToSigned<D> di;
    return hn::RebindMask(d, hn::Lt(hn::BitCast(di, v), hn::Zero(di)));
}

template <std::uint32_t kLargestCode, class D, class V>
HWY_INLINE void DecodeFields(D d, const Fields<V>& fields, float* keys)
{
    const auto a = FromCode<kLargestCode>(d, fields.a);
    const auto b = FromCode<kLargestCode>(d, fields.b);
    const auto c = FromCode<kLargestCode>(d, fields.c);
    const auto upper = HighBit(d, fields.tag);
    const auto odd = HighBit(d, hn::ShiftLeft<1>(fields.tag));
    // The squares go off in the order y, z, w, with x in the place of the missing component.
    const auto aa = hn::Mul(a, a), bb = hn::Mul(b, b), cc = hn::Mul(c, c);
    const auto first = hn::IfThenElse(upper, hn::IfThenElse(odd, bb, cc), hn::IfThenElse(odd, cc, aa));
    const auto second = hn::IfThenElse(odd, hn::IfThenElse(upper, cc, aa), bb);
    const auto third = hn::IfThenElse(upper, aa, hn::IfThenElse(odd, bb, cc));
    const auto missing = hn::Sqrt(hn::Sub(hn::Sub(hn::Sub(hn::Set(d, 1.0F), first), second), third));
    StoreKeys(d, TurnRight<hn::Vec<D>>({missing, a, b, c}, odd, upper), keys);
}

// What is no 32-bit integer, NaN too, becomes one whose lower bits are 0.
#if HWY_ARCH_X86
// The instruction's own 0x80000000 is one. To let Highway mend it to the largest integer, and to come before
// it, costs more than a third of the encoder's time: 7.3 of a copy instead of 5.4 with AVX2, for 4,096 keys.
#if HWY_TARGET <= HWY_AVX3
HWY_INLINE hn::Vec512<std::int32_t> Truncate(hn::Full512<float>, hn::Vec512<float> v)
{
    return hn::Vec512<std::int32_t>{_mm512_cvttps_epi32(v.raw)};
}
#endif
#if HWY_TARGET <= HWY_AVX2
HWY_INLINE hn::Vec256<std::int32_t> Truncate(hn::Full256<float>, hn::Vec256<float> v)
{
    return hn::Vec256<std::int32_t>{_mm256_cvttps_epi32(v.raw)};
}
#endif
HWY_INLINE hn::Vec128<std::int32_t> Truncate(hn::Full128<float>, hn::Vec128<float> v)
{
    return hn::Vec128<std::int32_t>{_mm_cvttps_epi32(v.raw)};
}
#else
template <class D, class V>
HWY_INLINE auto Truncate(D d, V v)
{
    const auto fits = hn::Lt(v, hn::Set(d, 0x1p31F));
    return hn::ConvertTo(hn::RebindToSigned<D>(), hn::IfThenElseZero(fits, v));
}
#endif

template <std::uint32_t kLargestCode, class D, class V>
HWY_INLINE auto ToCode(D d, V component)
{
    const hn::RebindToUnsigned<D> du;
    const auto code = hn::Add(
        hn::Mul(hn::Add(component, hn::Set(d, kMost)), hn::Set(d, kScale<kLargestCode>)), hn::Set(d, 0.5F));
    return hn::And(hn::BitCast(du, Truncate(d, code)), hn::Set(du, kLargestCode));
}

template <std::uint32_t kLargestCode, class D>
HWY_INLINE auto EncodeFields(D d, float* keys)
{
    const hn::RebindToSigned<D> di;
    const hn::RebindToUnsigned<D> du;
    const auto q = LoadKeys(d, keys);
    const auto x = hn::BitCast(di, hn::Abs(q.x)), y = hn::BitCast(di, hn::Abs(q.y));
    const auto z = hn::BitCast(di, hn::Abs(q.z)), w = hn::BitCast(di, hn::Abs(q.w));
    // As integers a NaN is the largest of all, and as a float it equals nothing, which leaves x.
    const auto largest = hn::BitCast(d, hn::Max(hn::Max(x, y), hn::Max(z, w)));
    const auto isY = hn::Eq(hn::BitCast(d, y), largest);
    const auto isZ = hn::AndNot(isY, hn::Eq(hn::BitCast(d, z), largest));
    const auto isW = hn::AndNot(hn::Or(isY, isZ), hn::Eq(hn::BitCast(d, w), largest));
    const auto odd = hn::Or(isY, isW);
    const auto upper = hn::Or(isZ, isW);

    auto turned = TurnLeft(q, odd, upper);
    const auto negative = hn::Lt(turned.x, hn::Zero(d));
    if (!hn::AllFalse(d, negative)) {
        const auto sign = hn::IfThenElseZero(negative, hn::SignBit(d));
        StoreKeys(d,
                  Components<hn::Vec<D>>{hn::Xor(q.x, sign), hn::Xor(q.y, sign), hn::Xor(q.z, sign),
                                         hn::Xor(q.w, sign)},
                  keys);
        turned = {turned.x, hn::Xor(turned.y, sign), hn::Xor(turned.z, sign), hn::Xor(turned.w, sign)};
    }
    const auto tag = hn::Or(hn::IfThenElseZero(hn::RebindMask(du, odd), hn::Set(du, 1U << 30)),
                            hn::IfThenElseZero(hn::RebindMask(du, upper), hn::Set(du, 1U << 31)));
    return Fields<hn::Vec<decltype(du)>>{tag, ToCode<kLargestCode>(d, turned.y),
                                         ToCode<kLargestCode>(d, turned.z),
                                         ToCode<kLargestCode>(d, turned.w)};
}

struct Packed32 : Steps<4, 4> {
    static constexpr std::uint64_t kVectors = 1;

    template <class D>
    static HWY_INLINE void Block(D d, const unsigned char* records, float* keys)
    {
        const hn::RebindToUnsigned<D> du;
        const auto word = ToBlockOrder(du, LoadFrom(du, records));
        const auto mask = hn::Set(du, kLargest32);
        DecodeFields<kLargest32>(d,
                                 Fields<hn::Vec<decltype(du)>>{word, hn::And(hn::ShiftRight<20>(word), mask),
                                                               hn::And(hn::ShiftRight<10>(word), mask),
                                                               hn::And(word, mask)},
                                 keys);
    }

    template <class D>
    static HWY_INLINE void Block(D d, float* keys, unsigned char* records)
    {
        const hn::RebindToUnsigned<D> du;
        const auto f = EncodeFields<kLargest32>(d, keys);
        const auto word = hn::Or(hn::Or(f.tag, hn::ShiftLeft<20>(f.a)), hn::Or(hn::ShiftLeft<10>(f.b), f.c));
        StoreTo(FromBlockOrder(du, word), du, records);
    }
};

// A block of 16 bytes from every 24, which is as much as four records of 6 bytes take.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks24(D d, const unsigned char* bytes)
{
    if constexpr (hn::MaxLanes(D()) == 16) {
        return hn::LoadU(d, bytes);
    } else {
        const hn::Half<D> half;
        return hn::Combine(d, LoadBlocks24(half, bytes + 24 * (hn::MaxLanes(D()) / 32)),
                           LoadBlocks24(half, bytes));
    }
}

// The reverse, for 16 bytes and 8 more.
template <class D, class V>
HWY_INLINE void StoreBlocks24(D d, V blocks, V rest, unsigned char* bytes)
{
    const hn::Half<D> half;
    if constexpr (hn::MaxLanes(D()) == 16) {
        hn::StoreU(blocks, d, bytes);
        hn::StoreU(hn::LowerHalf(half, rest), half, bytes + 16);
    } else {
        StoreBlocks24(half, hn::LowerHalf(half, blocks), hn::LowerHalf(half, rest), bytes);
        StoreBlocks24(half, hn::UpperHalf(half, blocks), hn::UpperHalf(half, rest),
                      bytes + 24 * (hn::MaxLanes(D()) / 32));
    }
}

struct Packed48 : Steps<6, 4> {
    static constexpr std::uint64_t kVectors = 1;

    template <class D>
    static HWY_INLINE void Block(D d, const unsigned char* records, float* keys)
    {
        const hn::RebindToUnsigned<D> du;
        const hn::Repartition<std::uint8_t, D> du8;
        const hn::Repartition<std::uint64_t, D> du64;
        // Tags, first and second codes of two records, then their third codes: from the beginning of the
        // lower block and the end of the upper one, so that nothing past the last record is read.
        alignas(16) static constexpr std::uint8_t kLower[] = {2, 3, 0,   1,   8,  9,  6,   7,
                                                              4, 5, 128, 128, 10, 11, 128, 128};
        alignas(16) static constexpr std::uint8_t kUpper[] = {6, 7, 4,   5,   12, 13, 10,  11,
                                                              8, 9, 128, 128, 14, 15, 128, 128};
        const auto lower = hn::BitCast(
            du64, hn::TableLookupBytesOr0(LoadBlocks24(du8, records), hn::LoadDup128(du8, kLower)));
        const auto upper = hn::BitCast(
            du64, hn::TableLookupBytesOr0(LoadBlocks24(du8, records + 8), hn::LoadDup128(du8, kUpper)));
        const auto high = ToBlockOrder(du, hn::BitCast(du, hn::InterleaveLower(du64, lower, upper)));
        const auto low = ToBlockOrder(du, hn::BitCast(du, hn::InterleaveUpper(du64, lower, upper)));
        const auto mask = hn::Set(du, kLargest48);
        DecodeFields<kLargest48>(d,
                                 Fields<hn::Vec<decltype(du)>>{high, hn::And(hn::ShiftRight<15>(high), mask),
                                                               hn::And(high, mask), hn::And(low, mask)},
                                 keys);
    }

    template <class D>
    static HWY_INLINE void Block(D d, float* keys, unsigned char* records)
    {
        const hn::RebindToUnsigned<D> du;
        const hn::Repartition<std::uint8_t, D> du8;
        const hn::Repartition<std::uint64_t, D> du64;
        const auto f = EncodeFields<kLargest48>(d, keys);
        const auto high =
            hn::BitCast(du64, FromBlockOrder(du, hn::Or(hn::Or(f.tag, hn::ShiftLeft<15>(f.a)), f.b)));
        const auto low = hn::BitCast(du64, FromBlockOrder(du, f.c));
        // Two records with 4 bytes of the third, and 8 more.
        alignas(16) static constexpr std::uint8_t kLower[] = {2, 3, 0,  1,  8,   9,   6,   7,
                                                              4, 5, 12, 13, 128, 128, 128, 128};
        alignas(16) static constexpr std::uint8_t kUpper[] = {128, 128, 128, 128, 128, 128, 128, 128,
                                                              128, 128, 128, 128, 2,   3,   0,   1};
        alignas(16) static constexpr std::uint8_t kRest[] = {8,   9,   6,   7,   4,   5,   12,  13,
                                                             128, 128, 128, 128, 128, 128, 128, 128};
        const auto lower = hn::BitCast(du8, hn::InterleaveLower(du64, high, low));
        const auto upper = hn::BitCast(du8, hn::InterleaveUpper(du64, high, low));
        StoreBlocks24(du8,
                      hn::Or(hn::TableLookupBytesOr0(lower, hn::LoadDup128(du8, kLower)),
                             hn::TableLookupBytesOr0(upper, hn::LoadDup128(du8, kUpper))),
                      hn::TableLookupBytesOr0(upper, hn::LoadDup128(du8, kRest)), records);
    }
};

// --- half rotations ---

template <class D, class V>
HWY_INLINE auto WithinGuard(D d, V squared)
{
    return hn::And(hn::Ge(squared, hn::Set(d, 0.95F)), hn::Le(squared, hn::Set(d, 1.0F)));
}

template <class D, class V>
HWY_INLINE V GuardedSquare(D, const Components<V>& q)
{
    return hn::Add(hn::Add(hn::Add(hn::Mul(q.x, q.x), hn::Mul(q.y, q.y)), hn::Mul(q.z, q.z)),
                   hn::Mul(q.w, q.w));
}

// As RotationNormalize, for the keys outside the guard.
template <class D, class V>
HWY_INLINE Components<V> Normalized(D d, const Components<V>& q)
{
    const auto guard = GuardedSquare(d, q);
    const auto kept = hn::Or(WithinGuard(d, guard), hn::IsNaN(guard));
    const auto squared =
        hn::Add(hn::Add(hn::Mul(q.x, q.x), hn::Mul(q.z, q.z)), hn::Add(hn::Mul(q.y, q.y), hn::Mul(q.w, q.w)));
    const auto length = hn::Sqrt(squared);
    const auto infinite = hn::Eq(squared, hn::Set(d, std::numeric_limits<float>::infinity()));
    const auto none = hn::Eq(length, hn::Zero(d));
    const auto nan = hn::BitCast(d, hn::Set(hn::RebindToUnsigned<D>(), 0x7FC00000U));
    const auto normal = [&](V v) HWY_ATTR {
        const auto divided = hn::IfThenElse(infinite, nan, hn::IfThenZeroElse(none, hn::Div(v, length)));
        return hn::IfThenElse(kept, v, divided);
    };
    return {normal(q.x), normal(q.y), normal(q.z), normal(q.w)};
}

struct HalfRotation : Steps<8, 4> {
    static constexpr std::uint64_t kVectors = 1;

    template <class D>
    static HWY_INLINE void Block(D d, const unsigned char* records, float* keys)
    {
        constexpr std::size_t kLanes = hn::MaxLanes(D());
        const hn::Rebind<std::int16_t, D> d16;
        const auto h0 = LoadFrom(d16, records);
        const auto h1 = LoadFrom(d16, records + 2 * kLanes);
        const auto h2 = LoadFrom(d16, records + 4 * kLanes);
        const auto h3 = LoadFrom(d16, records + 6 * kLanes);
        const auto v0 = Singles(d, h0), v1 = Singles(d, h1), v2 = Singles(d, h2), v3 = Singles(d, h3);
        // A NaN is outside, too, and there it gets its bits right.
        if (HWY_LIKELY(hn::AllTrue(d, WithinGuard(d, GuardedSquare(d, Transpose(d, v0, v1, v2, v3)))))) {
            hn::StoreU(v0, d, keys);
            hn::StoreU(v1, d, keys + kLanes);
            hn::StoreU(v2, d, keys + 2 * kLanes);
            hn::StoreU(v3, d, keys + 3 * kLanes);
        } else {
            StoreKeys(d,
                      Normalized(d, Transpose(d, SinglesByArithmetic<NanRule::kKept>(d, h0),
                                              SinglesByArithmetic<NanRule::kKept>(d, h1),
                                              SinglesByArithmetic<NanRule::kKept>(d, h2),
                                              SinglesByArithmetic<NanRule::kKept>(d, h3))),
                      keys);
        }
    }
};

// --- runs ---

template <class Kernel>
void Encode(float* keys, std::uint64_t count, void* records)
{
    ForRun<Kernel>(keys, count, static_cast<unsigned char*>(records));
}

template <class Kernel>
void Decode(const void* records, std::uint64_t count, float* keys)
{
    ForRun<Kernel>(static_cast<const unsigned char*>(records), count, keys);
}

template <std::uint64_t kWidth>
void EncodeHalves(float* keys, std::uint64_t count, void* records)
{
    ConvertHalves<NanRule::kKept>(keys, kWidth * count, static_cast<unsigned char*>(records));
}

void DecodeHalfVectors3(const void* records, std::uint64_t count, float* keys)
{
    ConvertHalves<NanRule::kKept>(static_cast<const unsigned char*>(records), 3 * count, keys);
}

constexpr RunCodecs kCodecs{Encode<Packed32>, Encode<Packed48>, EncodeHalves<4>,      EncodeHalves<3>,
                            Decode<Packed32>, Decode<Packed48>, Decode<HalfRotation>, DecodeHalfVectors3};

const RunCodecs* Codecs()
{
    return &kCodecs;
}

#else

const RunCodecs* Codecs()
{
    return nullptr;
}

#endif

}  // namespace vela::vlgim::keys::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vela::vlgim::keys {

const RunCodecs* WideCodecs()
{
    using Choice = const RunCodecs* (*)();
    return BestOf<Choice>(HWY_CHOOSE_AVX3(Codecs), HWY_CHOOSE_AVX2(Codecs), HWY_CHOOSE_SSE4(Codecs),
                          HWY_STATIC_DISPATCH(Codecs))();
}

}  // namespace vela::vlgim::keys
#endif
