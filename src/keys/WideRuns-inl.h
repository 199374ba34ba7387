// Converts runs of values block by block, and half floats to floats and back. Included once for each instruction set,
// so the include guard toggles.
#if defined(VLGIM_KEYS_WIDE_RUNS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VLGIM_KEYS_WIDE_RUNS_INL_H
#undef VLGIM_KEYS_WIDE_RUNS_INL_H
#else
#define VLGIM_KEYS_WIDE_RUNS_INL_H
#endif

#include "keys/WideCodecs.h"

#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

// True if the target has vector instructions. The compiler's baseline often has none, and uses the plain code.
#undef VLGIM_HAS_VECTORS
#define VLGIM_HAS_VECTORS (HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128)

#if VLGIM_HAS_VECTORS
HWY_BEFORE_NAMESPACE();
namespace vela::vlgim::keys::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Converts a run that fits one or two blocks of some width: one at its start and one at its end. The blocks overlap, so
// converting an item twice must give the same result.
template <class Kernel, class D, class From, class To>
HWY_INLINE void ForShortRun(D d, From* from, std::uint64_t count, To* to)
{
    constexpr std::uint64_t kItems = Kernel::kVectors * hn::MaxLanes(D());
    if (count >= kItems) {
        const std::uint64_t last = count - kItems;
        for (std::uint64_t i = 0;; i = last) {
            Kernel::Block(d, from + i * Kernel::Step(from), to + i * Kernel::Step(to));
            if (i == last)
                return;
        }
    }
    if constexpr (hn::MaxLanes(D()) > 4)
        ForShortRun<Kernel>(hn::Half<D>(), from, count, to);
}

// Runs of this many items come from memory instead of the cache. Packed rotations never reach it: a channel has at most
// 65,535 keys. Half floats can, since each value is an item.
constexpr std::uint64_t kLongRun = 1U << 17;

// Converts a run block by block. The last block is moved so that it ends with the run. Runs that are shorter than one
// block use narrower vectors.
template <class Kernel, class From, class To>
HWY_INLINE void ForRun(From* from, std::uint64_t count, To* to)
{
    using D = hn::ScalableTag<float>;
    constexpr std::uint64_t kItems = Kernel::kVectors * hn::MaxLanes(D());
    if (count < kItems)
        return ForShortRun<Kernel>(D(), from, count, to);
    const auto block = [&](std::uint64_t i) HWY_ATTR {
        Kernel::Block(D(), from + i * Kernel::Step(from), to + i * Kernel::Step(to));
    };
    std::uint64_t i = 0;
    if (count >= kLongRun) {
        // Two alternating places in memory are read faster than one: reading alone takes 0.66 of a copy instead of
        // 0.84.
        const std::uint64_t half = count / 2 / kItems * kItems;
        for (; i < half; i += kItems) {
            block(i);
            block(half + i);
        }
        i = 2 * half;
    }
    for (; i + kItems <= count; i += kItems)
        block(i);
    if (i < count)
        block(count - kItems);
}

// The distance between items, in bytes and in floats. A kernel derives from this and adds Block, which converts as many
// items as kVectors vectors have lanes.
template <std::uint64_t kRecordSize, std::uint64_t kWidth>
struct Steps {
    static constexpr std::uint64_t Step(const unsigned char*) { return kRecordSize; }
    static constexpr std::uint64_t Step(const float*) { return kWidth; }
};

// The result for a NaN.
enum class NanRule {
    kKept,  // sign and payload are kept, moved up by 13 bits; signalling NaNs stay signalling
    kOne,   // 0xFFC00000
};

// Loads and stores vectors at any address, as in a file.
template <class D>
HWY_INLINE hn::Vec<D> LoadFrom(D d, const unsigned char* bytes)
{
    const hn::Repartition<std::uint8_t, D> du8;
    return hn::BitCast(d, hn::LoadU(du8, bytes));
}

template <class V, class D>
HWY_INLINE void StoreTo(V v, D d, unsigned char* bytes)
{
    const hn::Repartition<std::uint8_t, D> du8;
    hn::StoreU(hn::BitCast(du8, v), du8, bytes);
}

// Integer arithmetic: correct for each half float with either rule.
template <NanRule kRule, class D, class V16>
HWY_INLINE hn::Vec<D> SinglesByArithmetic(D d, V16 halves)
{
    const hn::RebindToSigned<D> di;
    const auto half = hn::PromoteTo(di, halves);  // sign-extended
    const auto sign = hn::And(half, hn::Set(di, INT32_MIN));
    const auto magnitude = hn::And(half, hn::Set(di, 0x7FFF));
    const auto rebias = hn::Set(di, 112 << 23);
    const auto normal = hn::Add(hn::ShiftLeft<13>(magnitude), rebias);
    // A subnormal half is its mantissa times 2^-24; both steps are exact in single precision.
    const auto subnormal = hn::BitCast(di, hn::Mul(hn::ConvertTo(d, magnitude), hn::Set(d, 0x1p-24F)));
    const auto finite = hn::IfThenElse(hn::Lt(magnitude, hn::Set(di, 0x0400)), subnormal, normal);
    auto number =
        hn::Or(sign, hn::IfThenElse(hn::Lt(magnitude, hn::Set(di, 0x7C00)), finite, hn::Add(normal, rebias)));
    if constexpr (kRule == NanRule::kOne)
        number = hn::IfThenElse(hn::Gt(magnitude, hn::Set(di, 0x7C00)),
                                hn::Set(di, static_cast<std::int32_t>(0xFFC00000U)), number);
    return hn::BitCast(d, number);
}

// True if an instruction converts vectors of half floats.
constexpr bool kConvertsHalves = HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3;

// The fast conversion. It is wrong for NaNs: the hardware makes signalling ones quiet.
template <class D, class V16>
HWY_INLINE hn::Vec<D> Singles(D d, V16 halves)
{
    const hn::Rebind<hwy::float16_t, D> df16;
    if constexpr (kConvertsHalves)
        return hn::PromoteTo(d, hn::BitCast(df16, halves));
    else
        return SinglesByArithmetic<NanRule::kKept>(d, halves);
}

template <class D, class V>
HWY_INLINE auto HalvesByArithmetic(D d, V singles)
{
    const hn::RebindToSigned<D> di;
    const hn::Rebind<std::uint16_t, D> d16;
    const auto bits = hn::BitCast(di, singles);
    const auto magnitude = hn::And(bits, hn::Set(di, 0x7FFFFFFF));
    // Too large values become infinity, and so do NaNs here.
    const auto infinity = hn::Set(di, 0x7C00);
    const auto normal = hn::Min(hn::Sub(hn::ShiftRight<13>(magnitude), hn::Set(di, 112 << 10)), infinity);
    const auto subnormal = hn::ConvertTo(di, hn::Mul(hn::BitCast(d, magnitude), hn::Set(d, 0x1p24F)));
    const auto number = hn::IfThenElse(hn::Lt(magnitude, hn::Set(di, 0x38800000)), subnormal, normal);
    const auto payload = hn::IfThenElseZero(hn::Gt(magnitude, hn::Set(di, 0x7F800000)),
                                            hn::And(hn::ShiftRight<13>(magnitude), hn::Set(di, 0x3FF)));
    const auto sign = hn::And(hn::ShiftRight<16>(bits), hn::Set(di, 0x8000));
    return hn::DemoteTo(d16, hn::Or(hn::Or(sign, number), payload));
}

// Truncates mantissas; Highway's own conversion rounds them. Arithmetic would take 3.2 of a copy instead of 1.2, with
// AVX2 6.4 instead of 1.3. The result is wrong for absolute values from 65,536 on, and for NaNs.
#if HWY_TARGET <= HWY_AVX3
HWY_INLINE hn::Vec256<std::uint16_t> Cut(hn::Vec512<float> v)
{
    return hn::Vec256<std::uint16_t>{_mm512_cvtps_ph(v.raw, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};
}
#endif
#if HWY_TARGET <= HWY_AVX2
HWY_INLINE hn::Vec128<std::uint16_t> Cut(hn::Vec256<float> v)
{
    return hn::Vec128<std::uint16_t>{_mm256_cvtps_ph(v.raw, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};
}
HWY_INLINE hn::Vec64<std::uint16_t> Cut(hn::Vec128<float> v)
{
    return hn::Vec64<std::uint16_t>{_mm_cvtps_ph(v.raw, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};
}
#endif

// Converts single values. Testing several vectors at once for the fast conversion takes AVX2's encoding of 4,096 keys
// from 1.9 to 1.3 of a copy.
template <NanRule kRule, std::size_t kCount>
struct Halves : Steps<2, 1> {
    static constexpr std::uint64_t kVectors = kCount;

    template <class D>
    static HWY_INLINE void Block(D d, const unsigned char* halves, float* singles)
    {
        constexpr std::size_t kLanes = hn::MaxLanes(D());
        const hn::Rebind<std::int16_t, D> d16;
        const auto half = [&](std::size_t i) HWY_ATTR { return LoadFrom(d16, halves + 2 * kLanes * i); };
        const auto noSign = hn::Set(d16, 0x7FFF);
        auto largest = hn::And(half(0), noSign);
        for (std::size_t i = 1; i < kVectors; ++i)
            largest = hn::Max(largest, hn::And(half(i), noSign));
        if (HWY_UNLIKELY(!kConvertsHalves || !hn::AllFalse(d16, hn::Gt(largest, hn::Set(d16, 0x7C00)))))
            return BlockByArithmetic(d, halves, singles);
        for (std::size_t i = 0; i < kVectors; ++i)
            hn::StoreU(Singles(d, half(i)), d, singles + kLanes * i);
    }

    template <class D>
    static HWY_INLINE void Block(D d, const float* singles, unsigned char* halves)
    {
#if HWY_TARGET <= HWY_AVX2
        constexpr std::size_t kLanes = hn::MaxLanes(D());
        const hn::Rebind<std::uint16_t, D> d16;
        const auto single = [&](std::size_t i) HWY_ATTR { return hn::LoadU(d, singles + kLanes * i); };
        const hn::RebindToSigned<D> di;
        auto largest = hn::BitCast(di, hn::Abs(single(0)));
        for (std::size_t i = 1; i < kVectors; ++i)
            largest = hn::Max(largest, hn::BitCast(di, hn::Abs(single(i))));
        if (HWY_UNLIKELY(!hn::AllTrue(di, hn::Lt(largest, hn::Set(di, 0x47800000)))))
            return BlockByArithmetic(d, singles, halves);
        for (std::size_t i = 0; i < kVectors; ++i)
            StoreTo(Cut(single(i)), d16, halves + 2 * kLanes * i);
#else
        BlockByArithmetic(d, singles, halves);
#endif
    }

private:
    template <class D>
    static HWY_INLINE void BlockByArithmetic(D d, const unsigned char* halves, float* singles)
    {
        constexpr std::size_t kLanes = hn::MaxLanes(D());
        const hn::Rebind<std::int16_t, D> d16;
        for (std::size_t i = 0; i < kVectors; ++i)
            hn::StoreU(SinglesByArithmetic<kRule>(d, LoadFrom(d16, halves + 2 * kLanes * i)), d,
                       singles + kLanes * i);
    }

    template <class D>
    static HWY_INLINE void BlockByArithmetic(D d, const float* singles, unsigned char* halves)
    {
        constexpr std::size_t kLanes = hn::MaxLanes(D());
        const hn::Rebind<std::uint16_t, D> d16;
        for (std::size_t i = 0; i < kVectors; ++i)
            StoreTo(HalvesByArithmetic(d, hn::LoadU(d, singles + kLanes * i)), d16, halves + 2 * kLanes * i);
    }
};

// Converts at least 4 single values.
template <NanRule kRule, class From, class To>
HWY_INLINE void ConvertHalves(From* from, std::uint64_t count, To* to)
{
    if (count < 16)
        ForRun<Halves<kRule, 1>>(from, count, to);
    else
        ForRun<Halves<kRule, 4>>(from, count, to);
}

}  // namespace vela::vlgim::keys::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif

#endif
