#pragma once

#include <cstdint>

namespace vela::vlgim::keys {

/// The codecs of runs of KeyCodecs.h, once for each instruction set. All of them give the same bits.
struct RunCodecs {
    using Encode = void (*)(float* keys, std::uint64_t count, void* records);
    using Decode = void (*)(const void* records, std::uint64_t count, float* keys);

    Encode encodeRotations32, encodeRotations48, encodeHalfRotations, encodeHalfVectors3;
    Decode decodeRotations32, decodeRotations48, decodeHalfRotations, decodeHalfVectors3;
};

/// Key by key, for runs of any length.
extern const RunCodecs kPlainCodecs;

/// Many keys at a time, in the best instruction set that the machine has; null where it has none. For runs of
/// kShortestRun keys and more.
const RunCodecs* WideCodecs();
constexpr std::uint64_t kShortestRun = 4;

}  // namespace vela::vlgim::keys
