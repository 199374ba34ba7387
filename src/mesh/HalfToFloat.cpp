#include "mesh/HalfToFloat.h"

#include "keys/InstructionSets.h"
#include "keys/KeyCodecs.h"
#include "keys/WideTargets.h"

#include <bit>
#include <cstring>

// Compiled once for each instruction set, by including itself.
#define HWY_TARGET_INCLUDE "mesh/HalfToFloat.cpp"
#include <hwy/foreach_target.h>

#include "keys/WideRuns-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vela::vlgim::HWY_NAMESPACE {

void ConvertRun(float* target, const unsigned char* source, std::uint64_t count)
{
#if VLGIM_HAS_VECTORS
    namespace wide = keys::HWY_NAMESPACE;
    if (wide::ForRun<wide::DecodeHalves>(source, count, target))
        return;
#endif
    PlainHalfToFloat(target, source, count);
}

}  // namespace vela::vlgim::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vela::vlgim {

namespace {

std::uint32_t SingleBits(std::uint32_t half)
{
    const std::uint32_t sign = (half & 0x8000U) << 16;
    const std::uint32_t magnitude = half & 0x7FFFU;
    const std::uint32_t normal = (magnitude << 13) + (112U << 23);
    // A subnormal half is its mantissa times 2^-24; both steps are exact in single precision.
    const auto subnormal =
        std::bit_cast<std::uint32_t>(static_cast<float>(static_cast<int>(magnitude)) * 0x1p-24F);
    const std::uint32_t finite = magnitude < 0x0400U ? subnormal : normal;
    const std::uint32_t number = sign | (magnitude < 0x7C00U ? finite : 0x7F800000U);
    return magnitude > 0x7C00U ? 0xFFC00000U : number;
}

}  // namespace

void PlainHalfToFloat(float* target, const unsigned char* source, std::uint64_t count)
{
    for (std::uint64_t i = 0; i < count; ++i) {
        std::uint16_t half = 0;
        std::memcpy(&half, source + i * sizeof half, sizeof half);
        target[i] = std::bit_cast<float>(SingleBits(half));
    }
}

void HalfToFloat(float* target, const unsigned char* source, std::uint64_t count)
{
    if (!target || !source)
        return;
    if (count < keys::kShortestRun)
        PlainHalfToFloat(target, source, count);
    else
        keys::BestOf<decltype(&PlainHalfToFloat)>(HWY_CHOOSE_AVX3(ConvertRun), HWY_CHOOSE_AVX2(ConvertRun),
                                                  HWY_CHOOSE_SSE4(ConvertRun),
                                                  HWY_STATIC_DISPATCH(ConvertRun))(target, source, count);
}

}  // namespace vela::vlgim
#endif
