// What a key costs: each form decoded and encoded, as a ratio to copying the decoded floats. The copy runs
// beside it, round by round, so that a busy machine slows both.

#include <keys/KeyCodecs.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using namespace vela::vlgim;
using Clock = std::chrono::steady_clock;

// A clip's worth that stays in the second-level cache, so that the codec is measured and not the memory.
constexpr std::uint64_t kKeys = 4096;
constexpr int kRoundsPerSample = 8;

// A bone that tumbles: signs and the largest component change from time to time, as in a real clip.
std::vector<float> Rotations()
{
    std::vector<float> keys;
    for (std::uint64_t i = 0; i < kKeys; ++i) {
        const float t = 0.01F * static_cast<float>(i);
        const float q[] = {std::sin(t) * std::cos(0.7F * t), std::sin(t) * std::sin(0.7F * t),
                           std::cos(t) * std::sin(0.3F * t), std::cos(t) * std::cos(0.3F * t)};
        keys.insert(keys.end(), q, q + 4);
    }
    return keys;
}

template <class Work>
double Nanoseconds(Work work)
{
    const auto start = Clock::now();
    for (int i = 0; i < kRoundsPerSample; ++i)
        work();
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / kRoundsPerSample;
}

double Median(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

template <class Work>
void AgainstCopy(benchmark::State& state, std::uint64_t floats, Work work)
{
    const std::vector<float> from = Rotations();
    std::vector<float> to(from.size());
    std::vector<double> ratios, copyTimes, workTimes;
    for (auto _ : state) {
        const double copying = Nanoseconds([&] {
            std::memcpy(to.data(), from.data(), floats * sizeof(float));
            benchmark::DoNotOptimize(to.data());
            benchmark::ClobberMemory();
        });
        const double working = Nanoseconds([&] {
            work();
            benchmark::ClobberMemory();
        });
        ratios.push_back(working / copying);
        copyTimes.push_back(copying);
        workTimes.push_back(working);
        state.SetIterationTime(working * 1e-9);
    }
    state.counters["ratio"] = Median(ratios);
    state.counters["ratio_of_best"] = std::ranges::min(workTimes) / std::ranges::min(copyTimes);
    state.counters["ns_per_key"] = Median(workTimes) / kKeys;
}

using Encoder = void (*)(float*, std::uint64_t, void*);
using Decoder = void (*)(const void*, std::uint64_t, float*);

void Encode(benchmark::State& state, Encoder encode, std::uint64_t width)
{
    std::vector<float> keys = Rotations();
    std::vector<unsigned char> records(kKeys * 8);
    AgainstCopy(state, kKeys * width, [&] { encode(keys.data(), kKeys, records.data()); });
}

void Decode(benchmark::State& state, Encoder encode, Decoder decode, std::uint64_t width)
{
    std::vector<float> keys = Rotations();
    std::vector<unsigned char> records(kKeys * 8 + 1);
    unsigned char* const unaligned = records.data() + 1;  // as in a file
    encode(keys.data(), kKeys, unaligned);
    AgainstCopy(state, kKeys * width, [&] { decode(unaligned, kKeys, keys.data()); });
}

BENCHMARK_CAPTURE(Decode, PackedRotation32, keys::EncodeRotations32, keys::DecodeRotations32, 4)
    ->UseManualTime();
BENCHMARK_CAPTURE(Decode, PackedRotation48, keys::EncodeRotations48, keys::DecodeRotations48, 4)
    ->UseManualTime();
BENCHMARK_CAPTURE(Decode, HalfRotation, keys::EncodeHalfRotations, keys::DecodeHalfRotations, 4)
    ->UseManualTime();
BENCHMARK_CAPTURE(Decode, HalfVector3, keys::EncodeHalfVectors3, keys::DecodeHalfVectors3, 3)
    ->UseManualTime();
BENCHMARK_CAPTURE(Encode, PackedRotation32, keys::EncodeRotations32, 4)->UseManualTime();
BENCHMARK_CAPTURE(Encode, PackedRotation48, keys::EncodeRotations48, 4)->UseManualTime();
BENCHMARK_CAPTURE(Encode, HalfRotation, keys::EncodeHalfRotations, 4)->UseManualTime();
BENCHMARK_CAPTURE(Encode, HalfVector3, keys::EncodeHalfVectors3, 3)->UseManualTime();

}  // namespace
