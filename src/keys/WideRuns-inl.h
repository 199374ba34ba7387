// Runs of values block by block, and half floats to singles and back. Included once for every instruction set,
// so the guard toggles instead of staying.
#if defined(VLGIM_KEYS_WIDE_RUNS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VLGIM_KEYS_WIDE_RUNS_INL_H
#undef VLGIM_KEYS_WIDE_RUNS_INL_H
#else
#define VLGIM_KEYS_WIDE_RUNS_INL_H
#endif

#include "keys/WideCodecs.h"

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

// Whether these are instructions for vectors at all. The baseline of a compiler often is none, and has the plain
// code.
#undef VLGIM_HAS_VECTORS
#define VLGIM_HAS_VECTORS (HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128)

#if VLGIM_HAS_VECTORS
HWY_BEFORE_NAMESPACE();
namespace vela::vlgim::keys::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Widest = hn::ScalableTag<float>;

// Works a run off in blocks of as many items as a vector has lanes. The last block is moved up to the end of the
// run and does some items twice, which must give the same; a run shorter than a block takes shorter vectors.
template <class Kernel, class D, class From, class To>
HWY_INLINE void ForBlocks(D d, From* from, std::uint64_t count, To* to)
{
    constexpr std::uint64_t kLanes = hn::MaxLanes(D());
    constexpr std::uint64_t kFromStep = Kernel::Step(static_cast<From*>(nullptr));
    constexpr std::uint64_t kToStep = Kernel::Step(static_cast<To*>(nullptr));
    if (count >= kLanes) {
        std::uint64_t i = 0;
        for (; i + kLanes <= count; i += kLanes)
            Kernel::Block(d, from + i * kFromStep, to + i * kToStep);
        if (i < count)
            Kernel::Block(d, from + (count - kLanes) * kFromStep, to + (count - kLanes) * kToStep);
    } else if constexpr (kLanes > kShortestRun) {
        ForBlocks<Kernel>(hn::Half<D>(), from, count, to);
    }
}

// How far apart items lie.
template <std::uint64_t kRecordSize, std::uint64_t kWidth>
struct Steps {
    static constexpr std::uint64_t Step(const unsigned char*) { return kRecordSize; }
    static constexpr std::uint64_t Step(const float*) { return kWidth; }
};

// What a NaN becomes.
enum class NanRule {
    kKept,  // sign and payload stay, moved up by 13 bits; a signalling one stays so
    kOne,   // 0xFFC00000
};

// Vectors at any address, as a file has them.
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

// By integer arithmetic: right for every half under either rule.
template <NanRule kRule, class D, class V16>
HWY_INLINE hn::Vec<D> SinglesByArithmetic(D d, V16 halves)
{
    const hn::RebindToSigned<D> di;
    const auto half = hn::PromoteTo(di, halves);  // with its sign spread over the upper half
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

template <class D16, class V16>
HWY_INLINE bool AnyNan(D16 d16, V16 halves)
{
    return !hn::AllFalse(d16, hn::Gt(hn::And(halves, hn::Set(d16, 0x7FFF)), hn::Set(d16, 0x7C00)));
}

// Whether vectors of halves are converted by an instruction.
constexpr bool kConvertsHalves = HWY_TARGET != HWY_SSE4;

// Converts a vector of halves. The hardware makes signalling NaNs quiet, so the halves themselves are asked.
template <NanRule kRule, class D>
HWY_INLINE void SinglesFrom(D d, const unsigned char* halves, float* singles)
{
    const hn::Rebind<std::int16_t, D> d16;
    const hn::Rebind<hwy::float16_t, D> df16;
    const auto half = LoadFrom(d16, halves);
    if (HWY_LIKELY(kConvertsHalves && !AnyNan(d16, half)))
        hn::StoreU(hn::PromoteTo(d, hn::BitCast(df16, half)), d, singles);
    else
        hn::StoreU(SinglesByArithmetic<kRule>(d, half), d, singles);
}

template <class D, class V>
HWY_INLINE auto HalvesByArithmetic(D d, V singles)
{
    const hn::RebindToSigned<D> di;
    const hn::Rebind<std::uint16_t, D> d16;
    const auto bits = hn::BitCast(di, singles);
    const auto magnitude = hn::And(bits, hn::Set(di, 0x7FFFFFFF));
    // What is too large ends in the infinity, NaNs as well.
    const auto infinity = hn::Set(di, 0x7C00);
    const auto normal = hn::Min(hn::Sub(hn::ShiftRight<13>(magnitude), hn::Set(di, 112 << 10)), infinity);
    const auto subnormal = hn::ConvertTo(di, hn::Mul(hn::BitCast(d, magnitude), hn::Set(d, 0x1p24F)));
    const auto number = hn::IfThenElse(hn::Lt(magnitude, hn::Set(di, 0x38800000)), subnormal, normal);
    const auto payload = hn::IfThenElseZero(hn::Gt(magnitude, hn::Set(di, 0x7F800000)),
                                            hn::And(hn::ShiftRight<13>(magnitude), hn::Set(di, 0x3FF)));
    const auto sign = hn::And(hn::ShiftRight<16>(bits), hn::Set(di, 0x8000));
    return hn::DemoteTo(d16, hn::Or(hn::Or(sign, number), payload));
}

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

// Cuts a vector of singles to halves.
template <class D>
HWY_INLINE void HalvesFrom(D d, const float* singles, unsigned char* halves)
{
    const hn::Rebind<std::uint16_t, D> d16;
    const auto single = hn::LoadU(d, singles);
#if HWY_TARGET <= HWY_AVX2
    // The instruction leaves what is too large at the largest number, and makes NaNs quiet.
    const hn::RebindToSigned<D> di;
    const auto magnitude = hn::And(hn::BitCast(di, single), hn::Set(di, 0x7FFFFFFF));
    if (HWY_LIKELY(hn::AllTrue(di, hn::Lt(magnitude, hn::Set(di, 0x47800000)))))
        return StoreTo(Cut(single), d16, halves);
#endif
    StoreTo(HalvesByArithmetic(d, single), d16, halves);
}

// Single values.
template <NanRule kRule>
struct Halves : Steps<2, 1> {
    template <class D>
    static HWY_INLINE void Block(D d, const unsigned char* halves, float* singles)
    {
        SinglesFrom<kRule>(d, halves, singles);
    }

    template <class D>
    static HWY_INLINE void Block(D d, const float* singles, unsigned char* halves)
    {
        HalvesFrom(d, singles, halves);
    }
};

}  // namespace vela::vlgim::keys::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif

#endif
