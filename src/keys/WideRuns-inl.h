// Converts runs of values block by block, and half floats to floats. Included once for each instruction set, so the
// include guard toggles.
#if defined(VLGIM_KEYS_WIDE_RUNS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VLGIM_KEYS_WIDE_RUNS_INL_H
#undef VLGIM_KEYS_WIDE_RUNS_INL_H
#else
#define VLGIM_KEYS_WIDE_RUNS_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

// True if the target has vector instructions. The compiler's baseline often has none, and uses the plain code.
#undef VLGIM_HAS_VECTORS
#define VLGIM_HAS_VECTORS (HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128)

#if VLGIM_HAS_VECTORS
HWY_BEFORE_NAMESPACE();
namespace vela::vlgim::keys::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Runs of this many items come from memory instead of the cache. Packed rotations never reach it: a channel has at most
// 65,535 keys. Half floats can, since each value is an item.
constexpr std::uint64_t kLongRun = 1U << 17;

// Converts a run block by block, with a kernel for vectors D of floats: its Block converts as many items as they have
// lanes. The last block is moved so that it ends with the run. The two last blocks overlap, so converting an item twice
// must give the same result. Runs that are shorter than one block use narrower vectors; none may be shorter than 4.
// Returns false if the kernel met an item that it can't convert. The plain code then has to convert the run.
template <template <class D> class Kernel, class D = hn::ScalableTag<float>, class From, class To>
HWY_INLINE bool ForRun(From* from, std::uint64_t count, To* to)
{
    constexpr std::uint64_t kItems = hn::MaxLanes(D());
    if constexpr (kItems > 4)
        if (count < kItems)
            return ForRun<Kernel, hn::Half<D>>(from, count, to);
    Kernel<D> kernel;
    const auto block = [&](std::uint64_t i)
                           HWY_ATTR { kernel.Block(from + i * kernel.Step(from), to + i * kernel.Step(to)); };
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
    // Half floats take few instructions a block: unrolled, AVX2 decodes 4,096 half vectors in three quarters of the time.
#pragma GCC unroll 4
    for (; i + kItems <= count; i += kItems)
        block(i);
    if (i < count)
        block(count - kItems);
    return kernel.HasConverted();
}

// The distance between items, in bytes and in floats. A kernel derives from this and adds Block.
template <std::uint64_t kRecordSize, std::uint64_t kWidth>
struct Steps {
    static constexpr std::uint64_t Step(const unsigned char*) { return kRecordSize; }
    static constexpr std::uint64_t Step(const float*) { return kWidth; }
    static constexpr bool HasConverted() { return true; }
};

// Loads a vector from any address, as in a file.
template <class D>
HWY_INLINE hn::Vec<D> LoadFrom(D d, const unsigned char* bytes)
{
    const hn::Repartition<std::uint8_t, D> du8;
    return hn::BitCast(d, hn::LoadU(du8, bytes));
}

// Right for finite values only: instructions make signalling NaNs quiet, and Highway's arithmetic knows no infinity.
template <class D, class V16>
HWY_INLINE hn::Vec<D> FromHalves(D d, V16 halves)
{
    return hn::PromoteTo(d, hn::BitCast(hn::Rebind<hwy::float16_t, D>(), halves));
}

// Converts single values. One test for all of a run takes less time than one for each block.
template <class D>
class DecodeHalves : public Steps<2, 1> {
public:
    HWY_INLINE DecodeHalves() : m_largest(hn::Zero(d16)) {}

    HWY_INLINE void Block(const unsigned char* halves, float* singles)
    {
        const auto half = LoadFrom(d16, halves);
        m_largest = hn::Max(m_largest, half & hn::Set(d16, 0x7FFF));
        hn::StoreU(FromHalves(D(), half), D(), singles);
    }

    HWY_INLINE bool HasConverted() const { return hn::AllTrue(d16, m_largest < hn::Set(d16, 0x7C00)); }

private:
    static constexpr hn::Rebind<std::int16_t, D> d16{};
    hn::Vec<hn::Rebind<std::int16_t, D>> m_largest;
};

}  // namespace vela::vlgim::keys::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif

#endif
