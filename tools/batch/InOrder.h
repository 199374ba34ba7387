#pragma once

#include <platform/Interrupt.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace vela::vlgim::tools {

/// Results of numbered pieces of work that several threads do, in the order of the numbers. A piece that takes long lets
/// the others run ahead of it by a few pieces only, so that a million results never wait in memory.
template <class Result>
class InOrder {
public:
    /// jobs  threads, at least one
    explicit InOrder(unsigned jobs) : m_jobs(jobs), m_waiting(std::size_t{jobs} * kAheadPerJob) {}

    /// Calls work(i) for each i below count, on the threads, and take(i, result) on the calling one, in ascending order
    /// of i. Once the program is interrupted, no further work is begun; what was begun is finished and taken.
    /// work  does not throw; after an exception of take or idle what was begun is finished and dropped
    /// idle  called about ten times a second while there is nothing to take
    template <class Work, class Take, class Idle>
    void Run(std::size_t count, const Work& work, const Take& take, const Idle& idle)
    {
        m_count = count;
        m_begun = m_taken = 0;
        m_isAbandoned = false;
        std::vector<std::jthread> threads;
        const Abandon abandon{*this};  // ahead of the end of the threads, which wait for it
        for (unsigned job = 0; job < m_jobs && job < count; ++job)
            threads.emplace_back([&] {
                platform::ShieldThread();
                RunWorker(work);
            });
        std::unique_lock lock(m_mutex);
        while (m_taken < m_begun || (m_taken < m_count && !IsStopped())) {
            std::optional<Result>& slot = Slot(m_taken);
            if (!slot) {
                m_changed.wait_for(lock, std::chrono::milliseconds(100));
                Unlocked(lock, idle);
                continue;
            }
            const std::optional<Result> result = std::exchange(slot, std::nullopt);
            const std::size_t index = m_taken++;
            m_changed.notify_all();
            Unlocked(lock, [&] { take(index, *result); });
        }
    }

private:
    static constexpr std::size_t kAheadPerJob = 16;

    struct Abandon {
        InOrder& all;

        ~Abandon()
        {
            const std::lock_guard lock(all.m_mutex);
            all.m_isAbandoned = true;
            all.m_changed.notify_all();
        }
    };

    bool IsStopped() const { return m_isAbandoned || platform::IsInterrupted(); }

    std::optional<Result>& Slot(std::size_t index) { return m_waiting[index % m_waiting.size()]; }

    template <class Call>
    static void Unlocked(std::unique_lock<std::mutex>& lock, const Call& call)
    {
        lock.unlock();
        call();
        lock.lock();
    }

    template <class Work>
    void RunWorker(const Work& work)
    {
        std::unique_lock lock(m_mutex);
        while (!IsStopped() && m_begun < m_count) {
            if (m_begun == m_taken + m_waiting.size()) {
                m_changed.wait(lock);
                continue;
            }
            const std::size_t index = m_begun++;
            std::optional<Result> result;
            Unlocked(lock, [&] { result = work(index); });
            Slot(index) = std::move(result);
            m_changed.notify_all();
        }
    }

    unsigned m_jobs;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::optional<Result>> m_waiting;
    std::size_t m_count = 0, m_begun = 0, m_taken = 0;
    bool m_isAbandoned = false;
};

}  // namespace vela::vlgim::tools
