#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <type_traits>

// How a work and its floor are timed.
namespace vela::vlgim::bench {

/// Calls of operator new in this process so far.
std::uint64_t Allocations();

struct Sample {
    double nanoseconds = 0;
    double allocations = 0;
};

class Stopwatch {
public:
    Sample Stop() const
    {
        const std::chrono::duration<double, std::nano> time = Clock::now() - m_start;
        return {time.count(), static_cast<double>(Allocations() - m_allocations)};
    }

private:
    using Clock = std::chrono::steady_clock;

    std::uint64_t m_allocations = Allocations();
    Clock::time_point m_start = Clock::now();
};

/// Takes one sample of a work or of a floor each time that it is called.
using Side = std::function<Sample()>;

struct Pair {
    Side work, floor;
};

/// Makes the compiler believe that someone looks at the memory behind the pointer.
inline void Keep(const void* memory)
{
    asm volatile("" : : "r"(memory) : "memory");
}

struct Nothing {
    void operator()() const {}
};

/// The mean of `rounds` rounds, with `before` ahead of each, outside of the time.
template <class Work, class Before>
Sample Take(int rounds, Work& work, Before& before)
{
    // A clock takes as long as a small work, so that only rounds which must be are timed one by one.
    const int batches = std::is_same_v<Before, Nothing> ? 1 : rounds;
    Sample sum;
    for (int batch = 0; batch < batches; ++batch) {
        before();
        const Stopwatch watch;
        for (int round = 0; round < rounds / batches; ++round)
            work();
        const Sample sample = watch.Stop();
        sum.nanoseconds += sample.nanoseconds;
        sum.allocations += sample.allocations;
    }
    return {sum.nanoseconds / rounds, sum.allocations / rounds};
}

/// Work and floor in this process, both as often in a sample as gives the floor 100 microseconds.
/// before   what is done ahead of each of them, outside of the time
template <class Work, class Floor, class Before = Nothing>
Pair InProcess(Work work, Floor floor, Before before = {})
{
    int rounds = 1;
    while (Take(rounds, floor, before).nanoseconds * rounds < 100'000)
        rounds *= 2;
    return {[=]() mutable { return Take(rounds, work, before); },
            [=]() mutable { return Take(rounds, floor, before); }};
}

}  // namespace vela::vlgim::bench
