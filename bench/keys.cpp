// What a key costs: each form decoded and encoded, as a ratio to copying the floats. The copy is timed beside
// it, sample by sample, so that a busy machine slows both.

#include <keys/KeyForms.h>
#include <vlgim/vlTransKeysData.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using namespace vela::vlgim;
using keys::KeyForm;
using Clock = std::chrono::steady_clock;

// As many as stay in the second-level cache, so that the codec is measured and not the memory.
constexpr std::uint64_t kKeys = 4096;
constexpr int kRoundsPerSample = 8;

// A bone that tumbles: signs and the largest component change from time to time, as in a real clip.
std::vector<float> Tumble()
{
    std::vector<float> rotations;
    for (std::uint64_t i = 0; i < kKeys; ++i) {
        const float t = 0.01F * static_cast<float>(i);
        const float q[] = {std::sin(t) * std::cos(0.7F * t), std::sin(t) * std::sin(0.7F * t),
                           std::cos(t) * std::sin(0.3F * t), std::cos(t) * std::cos(0.3F * t)};
        rotations.insert(rotations.end(), q, q + 4);
    }
    return rotations;
}

template <class Work>
double Nanoseconds(Work work)
{
    const auto start = Clock::now();
    for (int i = 0; i < kRoundsPerSample; ++i) {
        work();
        benchmark::ClobberMemory();
    }
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / kRoundsPerSample;
}

double Median(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

template <class Work>
void AgainstCopy(benchmark::State& state, std::uint64_t width, Work work)
{
    const std::vector<float> from = Tumble();
    std::vector<float> to(from.size());
    benchmark::DoNotOptimize(to.data());
    std::vector<double> ratios, copyTimes, workTimes;
    for (auto _ : state) {
        copyTimes.push_back(
            Nanoseconds([&] { std::memcpy(to.data(), from.data(), kKeys * width * sizeof(float)); }));
        workTimes.push_back(Nanoseconds(work));
        ratios.push_back(workTimes.back() / copyTimes.back());
        state.SetIterationTime(workTimes.back() * 1e-9);
    }
    state.counters["ratio"] = Median(ratios);
    state.counters["ratio_of_best"] = std::ranges::min(workTimes) / std::ranges::min(copyTimes);
    state.counters["ns_per_key"] = Median(workTimes) / kKeys;
}

void Encode(benchmark::State& state, const KeyForm& form)
{
    std::vector<float> floats = Tumble();
    std::vector<unsigned char> records(kKeys * form.recordSize);
    AgainstCopy(state, form.width, [&] { form.encode(floats.data(), kKeys, records.data()); });
}

void Decode(benchmark::State& state, const KeyForm& form)
{
    std::vector<float> floats = Tumble();
    std::vector<unsigned char> file(kKeys * form.recordSize + 1);
    unsigned char* const records = file.data() + 1;  // at no alignment, as in a file
    if (form.encode)
        form.encode(floats.data(), kKeys, records);
    AgainstCopy(state, form.width, [&] { form.decode(records, kKeys, floats.data()); });
}

BENCHMARK_CAPTURE(Decode, Floats, keys::RotationForm(0, 0))->UseManualTime();
BENCHMARK_CAPTURE(Decode, PackedRotation32, keys::RotationForm(0, KEY_PACKED_ROT32))->UseManualTime();
BENCHMARK_CAPTURE(Decode, PackedRotation48, keys::RotationForm(0, KEY_PACKED_ROT48))->UseManualTime();
BENCHMARK_CAPTURE(Decode, HalfRotation, keys::RotationForm(0, KEY_HALF_ROT))->UseManualTime();
BENCHMARK_CAPTURE(Decode, HalfVector3, keys::ScaleForm(KEY_HALF_SCALE))
    ->UseManualTime();  // half to float alone
BENCHMARK_CAPTURE(Encode, PackedRotation32, keys::RotationForm(0, KEY_PACKED_ROT32))->UseManualTime();
BENCHMARK_CAPTURE(Encode, PackedRotation48, keys::RotationForm(0, KEY_PACKED_ROT48))->UseManualTime();
BENCHMARK_CAPTURE(Encode, HalfRotation, keys::RotationForm(0, KEY_HALF_ROT))->UseManualTime();
BENCHMARK_CAPTURE(Encode, HalfVector3, keys::ScaleForm(KEY_HALF_SCALE))->UseManualTime();

}  // namespace
