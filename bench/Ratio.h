#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace vela::vlgim::bench {

template <class Work>
double SecondsOf(Work& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Runs work and floor in turn, so that a machine whose speed drifts slows both, and reports the time of work
/// and, as the counter "ratio", its median over that of floor.
template <class Work, class Floor>
void ReportRatio(benchmark::State& state, Work work, Floor floor)
{
    std::vector<double> workTimes, floorTimes;
    for ([[maybe_unused]] auto _ : state) {
        floorTimes.push_back(SecondsOf(floor));
        workTimes.push_back(SecondsOf(work));
        state.SetIterationTime(workTimes.back());
    }
    state.counters["ratio"] = Median(workTimes) / Median(floorTimes);
}

}  // namespace vela::vlgim::bench
