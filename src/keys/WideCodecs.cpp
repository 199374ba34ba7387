#include "keys/InstructionSets.h"
#include "keys/KeyCodecs.h"
#include "keys/WideTargets.h"

#include <array>

// Compiled once for each instruction set, by including itself.
#define HWY_TARGET_INCLUDE "keys/WideCodecs.cpp"
#include <hwy/foreach_target.h>

#include "keys/WideRuns-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vela::vlgim::keys::HWY_NAMESPACE {

#if VLGIM_HAS_VECTORS

template <class V, class D>
HWY_INLINE void StoreTo(V v, D d, unsigned char* bytes)
{
    const hn::Repartition<std::uint8_t, D> du8;
    hn::StoreU(hn::BitCast(du8, v), du8, bytes);
}

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

// Takes the lanes, as a matrix in rows of kWidth, column by column. Values that lie as in a file are in rows of as
// many as there are blocks, and in block order in rows of four.
template <std::size_t kWidth, class D, class V>
HWY_INLINE V ByColumns(D d, V v)
{
    constexpr std::size_t kLanes = hn::MaxLanes(D());
    static constexpr auto kOrder = [] {
        std::array<std::uint32_t, kLanes> order{};
        for (std::uint32_t i = 0; i < kLanes; ++i)
            order[i] = i * kWidth % kLanes + i * kWidth / kLanes;
        return order;
    }();
    return kLanes == 4 ? v : hn::TableLookupLanes(v, hn::SetTableIndices(d, kOrder.data()));
}

template <class D, class V>
HWY_INLINE V ToBlockOrder(D d, V v)
{
    return ByColumns<hn::MaxLanes(D()) / 4>(d, v);
}

template <class D, class V>
HWY_INLINE V FromBlockOrder(D d, V v)
{
    return ByColumns<4>(d, v);
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
    return number / hn::Set(d, kScale<kLargestCode>) - hn::Set(d, kMost);
}

// Moves all four round, x to y, by one place where `odd` is set and by two where `upper` is.
template <class V, class M>
HWY_INLINE Components<V> Turn(const Components<V>& q, M odd, M upper)
{
    const Components<V> r{hn::IfThenElse(odd, q.w, q.x), hn::IfThenElse(odd, q.x, q.y),
                          hn::IfThenElse(odd, q.y, q.z), hn::IfThenElse(odd, q.z, q.w)};
    return {hn::IfThenElse(upper, r.z, r.x), hn::IfThenElse(upper, r.w, r.y), hn::IfThenElse(upper, r.x, r.z),
            hn::IfThenElse(upper, r.y, r.w)};
}

template <class D, class V>
HWY_INLINE auto HighBit(D d, V v)
{
    const hn::RebindToSigned<D> di;
    return hn::RebindMask(d, hn::BitCast(di, v) < hn::Zero(di));
}

template <std::uint32_t kLargestCode, class D, class V>
HWY_INLINE void DecodeFields(D d, const Fields<V>& fields, float* keys)
{
    const auto code = [d](V field) HWY_ATTR {
        return FromCode<kLargestCode>(d, field & hn::Set(hn::RebindToUnsigned<D>(), kLargestCode));
    };
    const auto a = code(fields.a), b = code(fields.b), c = code(fields.c);
    const auto upper = HighBit(d, fields.tag);
    const auto odd = HighBit(d, hn::ShiftLeft<1>(fields.tag));
    // The squares go off in the order y, z, w, with x in the place of the missing component.
    const auto aa = a * a, bb = b * b, cc = c * c;
    const auto first = hn::IfThenElse(upper, hn::IfThenElse(odd, bb, cc), hn::IfThenElse(odd, cc, aa));
    const auto second = hn::IfThenElse(odd, hn::IfThenElse(upper, cc, aa), bb);
    const auto third = hn::IfThenElse(upper, aa, hn::IfThenElse(odd, bb, cc));
    const auto missing = hn::Sqrt(hn::Set(d, 1.0F) - first - second - third);
    StoreKeys(d, Turn<hn::Vec<D>>({missing, a, b, c}, odd, upper), keys);
}

// What is no 32-bit integer, NaN too, becomes one whose lower bits are 0. The instructions' own 0x80000000 is one. To
// let Highway mend it to the largest integer, and to come before it, costs more than a third of the encoder's time.
template <class D, class V>
HWY_INLINE auto Truncate(D d, V v)
{
    const auto fits = v < hn::Set(d, 0x1p31F);
    return hn::ConvertTo(hn::RebindToSigned<D>(), hn::IfThenElseZero(fits, v));
}
#if HWY_ARCH_X86
HWY_INLINE auto Truncate(hn::Full128<float>, hn::Vec128<float> v)
{
    return hn::Vec128<std::int32_t>{_mm_cvttps_epi32(v.raw)};
}
#endif
#if HWY_TARGET <= HWY_AVX2
HWY_INLINE auto Truncate(hn::Full256<float>, hn::Vec256<float> v)
{
    return hn::Vec256<std::int32_t>{_mm256_cvttps_epi32(v.raw)};
}
#endif
#if HWY_TARGET <= HWY_AVX3
HWY_INLINE auto Truncate(hn::Full512<float>, hn::Vec512<float> v)
{
    return hn::Vec512<std::int32_t>{_mm512_cvttps_epi32(v.raw)};
}
#endif

template <std::uint32_t kLargestCode, class D, class V>
HWY_INLINE auto ToCode(D d, V component)
{
    const hn::RebindToUnsigned<D> du;
    const auto code = (component + hn::Set(d, kMost)) * hn::Set(d, kScale<kLargestCode>) + hn::Set(d, 0.5F);
    return hn::BitCast(du, Truncate(d, code)) & hn::Set(du, kLargestCode);
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
    const auto isY = hn::BitCast(d, y) == largest;
    const auto isZ = hn::AndNot(isY, hn::BitCast(d, z) == largest);
    const auto isW = hn::AndNot(hn::Or(isY, isZ), hn::BitCast(d, w) == largest);
    const auto odd = hn::Or(isY, isW);
    const auto upper = hn::Or(isZ, isW);

    auto turned = Turn(q, odd, hn::Or(isY, isZ));  // the largest to x, by four places less
    const auto negative = turned.x < hn::Zero(d);
    if (!hn::AllFalse(d, negative)) {
        const auto sign = hn::IfThenElseZero(negative, hn::SignBit(d));
        StoreKeys<D, hn::Vec<D>>(d, {q.x ^ sign, q.y ^ sign, q.z ^ sign, q.w ^ sign}, keys);
        turned = {turned.x, turned.y ^ sign, turned.z ^ sign, turned.w ^ sign};
    }
    const auto tag = hn::IfThenElseZero(hn::RebindMask(du, odd), hn::Set(du, 1U << 30)) |
                     hn::IfThenElseZero(hn::RebindMask(du, upper), hn::Set(du, 1U << 31));
    return Fields<hn::Vec<decltype(du)>>{tag, ToCode<kLargestCode>(d, turned.y),
                                         ToCode<kLargestCode>(d, turned.z),
                                         ToCode<kLargestCode>(d, turned.w)};
}

template <class D>
struct Packed32 : Steps<4, 4> {
    static HWY_INLINE void Block(const unsigned char* records, float* keys)
    {
        const D d;
        const hn::RebindToUnsigned<D> du;
        const auto word = ToBlockOrder(du, LoadFrom(du, records));
        using Word = hn::Vec<decltype(du)>;
        DecodeFields<kLargest32, D, Word>(d, {word, hn::ShiftRight<20>(word), hn::ShiftRight<10>(word), word},
                                          keys);
    }

    static HWY_INLINE void Block(float* keys, unsigned char* records)
    {
        const D d;
        const hn::RebindToUnsigned<D> du;
        const auto f = EncodeFields<kLargest32>(d, keys);
        const auto word = f.tag | hn::ShiftLeft<20>(f.a) | hn::ShiftLeft<10>(f.b) | f.c;
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

// Shuffles the bytes of each block of 16; an index of 128 gives 0.
template <class D, class V>
HWY_INLINE V Shuffle(D du8, V v, const std::uint8_t (&order)[16])
{
    return hn::TableLookupBytesOr0(v, hn::LoadDup128(du8, order));
}

template <class D>
struct Packed48 : Steps<6, 4> {
    static HWY_INLINE void Block(const unsigned char* records, float* keys)
    {
        const D d;
        const hn::RebindToUnsigned<D> du;
        const hn::Repartition<std::uint8_t, D> du8;
        const hn::Repartition<std::uint64_t, D> du64;
        // Tags, first and second codes of two records, then their third codes: from the beginning of the
        // lower block and the end of the upper one, so that nothing past the last record is read.
        alignas(16) static constexpr std::uint8_t kLower[] = {2, 3, 0,   1,   8,  9,  6,   7,
                                                              4, 5, 128, 128, 10, 11, 128, 128};
        alignas(16) static constexpr std::uint8_t kUpper[] = {6, 7, 4,   5,   12, 13, 10,  11,
                                                              8, 9, 128, 128, 14, 15, 128, 128};
        const auto lower = hn::BitCast(du64, Shuffle(du8, LoadBlocks24(du8, records), kLower));
        const auto upper = hn::BitCast(du64, Shuffle(du8, LoadBlocks24(du8, records + 8), kUpper));
        const auto high = ToBlockOrder(du, hn::BitCast(du, hn::InterleaveLower(du64, lower, upper)));
        const auto low = ToBlockOrder(du, hn::BitCast(du, hn::InterleaveUpper(du64, lower, upper)));
        using Word = hn::Vec<decltype(du)>;
        DecodeFields<kLargest48, D, Word>(d, {high, hn::ShiftRight<15>(high), high, low}, keys);
    }

    static HWY_INLINE void Block(float* keys, unsigned char* records)
    {
        const D d;
        const hn::RebindToUnsigned<D> du;
        const hn::Repartition<std::uint8_t, D> du8;
        const hn::Repartition<std::uint64_t, D> du64;
        const auto f = EncodeFields<kLargest48>(d, keys);
        const auto high = hn::BitCast(du64, FromBlockOrder(du, f.tag | hn::ShiftLeft<15>(f.a) | f.b));
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
        StoreBlocks24(du8, Shuffle(du8, lower, kLower) | Shuffle(du8, upper, kUpper),
                      Shuffle(du8, upper, kRest), records);
    }
};

// --- half floats ---

template <class D>
class HalfRotations : public Steps<8, 4> {
public:
    HWY_INLINE HalfRotations() : m_areUnit(hn::Zero(D()) == hn::Zero(D())) {}

    HWY_INLINE void Block(const unsigned char* records, float* keys)
    {
        constexpr std::size_t kLanes = hn::MaxLanes(D());
        const D d;
        const hn::Rebind<std::int16_t, D> d16;
        const auto v0 = FromHalves(d, LoadFrom(d16, records));
        const auto v1 = FromHalves(d, LoadFrom(d16, records + 2 * kLanes));
        const auto v2 = FromHalves(d, LoadFrom(d16, records + 4 * kLanes));
        const auto v3 = FromHalves(d, LoadFrom(d16, records + 6 * kLanes));
        const auto q = Transpose(d, v0, v1, v2, v3);
        const auto squared = q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w;
        // What is not finite is outside, too.
        m_areUnit = hn::And(m_areUnit, hn::And(squared >= hn::Set(d, 0.95F), squared <= hn::Set(d, 1.0F)));
        hn::StoreU(v0, d, keys);
        hn::StoreU(v1, d, keys + kLanes);
        hn::StoreU(v2, d, keys + 2 * kLanes);
        hn::StoreU(v3, d, keys + 3 * kLanes);
    }

    HWY_INLINE bool HasConverted() const { return hn::AllTrue(D(), m_areUnit); }

private:
    hn::Mask<D> m_areUnit;
};

// Truncates mantissas; Highway's own conversion rounds them. The result is wrong for absolute values from 65,536 on, and
// for NaNs. Other instruction sets have no such conversion, so there the plain code converts all.
#if HWY_TARGET <= HWY_AVX2
constexpr int kTruncate = _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC;

HWY_INLINE auto Cut(hn::Vec128<float> v)
{
    return hn::Vec64<std::uint16_t>{_mm_cvtps_ph(v.raw, kTruncate)};
}
HWY_INLINE auto Cut(hn::Vec256<float> v)
{
    return hn::Vec128<std::uint16_t>{_mm256_cvtps_ph(v.raw, kTruncate)};
}
#if HWY_TARGET <= HWY_AVX3
HWY_INLINE auto Cut(hn::Vec512<float> v)
{
    return hn::Vec256<std::uint16_t>{_mm512_cvtps_ph(v.raw, kTruncate)};
}
#endif

template <class D>
class CutHalves : public Steps<2, 1> {
public:
    HWY_INLINE CutHalves() : m_largest(hn::Zero(di)) {}

    HWY_INLINE void Block(const float* singles, unsigned char* halves)
    {
        const auto single = hn::LoadU(D(), singles);
        m_largest = hn::Max(m_largest, hn::BitCast(di, hn::Abs(single)));
        StoreTo(Cut(single), hn::Rebind<std::uint16_t, D>(), halves);
    }

    HWY_INLINE bool HasConverted() const { return hn::AllTrue(di, m_largest < hn::Set(di, 0x47800000)); }

private:
    static constexpr hn::RebindToSigned<D> di{};
    hn::Vec<hn::RebindToSigned<D>> m_largest;
};
#else
template <class D>
struct CutHalves : Steps<2, 1> {
    static void Block(const float*, unsigned char*) {}
    static bool HasConverted() { return false; }
};
#endif

// --- runs ---

template <template <class D> class Kernel, std::uint64_t kItemsPerKey, Codec RunCodecs::*kPlain>
void Encode(float* keys, std::uint64_t count, void* records)
{
    if (!ForRun<Kernel>(keys, kItemsPerKey * count, static_cast<unsigned char*>(records)))
        (kPlainCodecs.*kPlain).encode(keys, count, records);
}

template <template <class D> class Kernel, std::uint64_t kItemsPerKey, Codec RunCodecs::*kPlain>
void Decode(const void* records, std::uint64_t count, float* keys)
{
    if (!ForRun<Kernel>(static_cast<const unsigned char*>(records), kItemsPerKey * count, keys))
        (kPlainCodecs.*kPlain).decode(records, count, keys);
}

constexpr RunCodecs kCodecs{
    {Encode<Packed32, 1, &RunCodecs::packed32>, Decode<Packed32, 1, &RunCodecs::packed32>},
    {Encode<Packed48, 1, &RunCodecs::packed48>, Decode<Packed48, 1, &RunCodecs::packed48>},
    {Encode<CutHalves, 4, &RunCodecs::halfRotations>, Decode<HalfRotations, 1, &RunCodecs::halfRotations>},
    {Encode<CutHalves, 3, &RunCodecs::halfVectors>, Decode<DecodeHalves, 3, &RunCodecs::halfVectors>}};

#else

constexpr const RunCodecs& kCodecs = kPlainCodecs;

#endif

}  // namespace vela::vlgim::keys::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vela::vlgim::keys {

const RunCodecs& WideCodecs()
{
    return *BestOf<const RunCodecs*>(HWY_CHOOSE_AVX3(kCodecs), HWY_CHOOSE_AVX2(kCodecs),
                                     HWY_CHOOSE_SSE4(kCodecs), &HWY_STATIC_DISPATCH(kCodecs));
}

}  // namespace vela::vlgim::keys
#endif
