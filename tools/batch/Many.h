#pragma once

#include "batch/Progress.h"

#include <platform/Interrupt.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace vela::vlgim::tools {

/// Threads that a command takes unless it is told: the processor's.
unsigned DefaultJobs();

/// Gives a command the option -j.
void AddJobs(CLI::App& command, unsigned& jobs);

/// Behind all work: where a pipe's reader went, ends the program by SIGPIPE and without a word.
void EndIfReaderIsGone();

/// The same after any other signal, which it says: a shell sees what ended the program, and stops as well.
void EndIfInterrupted();

/// Throws std::runtime_error if stdout took no more: who goes on would work for nobody.
void RequireOutput();

/// Calls work(i) for each i below count on several threads, and take(i, result) on the calling one, in ascending order of
/// i. Work runs at most 16 calls per thread ahead of the next result to take, so only that many results wait in memory.
/// After an interrupt no call starts; the calls that run already finish, and their results are taken.
/// jobs      threads, at least one
/// progress  shows how far the work is, and is erased at the end
/// take      gives the bytes that were read for the result
/// After an exception of work or take, what was begun is finished and dropped, and the exception goes on to the caller.
template <class Work, class Take>
void RunMany(unsigned jobs, std::size_t count, Progress& progress, const Work& work, const Take& take)
{
    constexpr std::size_t kAheadPerJob = 16;
    using Result = std::invoke_result_t<const Work&, std::size_t>;
    std::vector<std::optional<Result>> waiting(jobs * kAheadPerJob);
    std::size_t begun = 0, taken = 0;
    std::exception_ptr failure;  // the last one of a worker
    std::mutex mutex;
    std::condition_variable_any changed;
    std::stop_source abandoned;
    const auto isStopped = [&] { return abandoned.stop_requested() || platform::IsInterrupted(); };
    const auto runWorker = [&] {
        platform::ShieldThread();
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, abandoned.get_token(),
                         [&] { return isStopped() || begun < taken + waiting.size(); });
            if (isStopped() || begun == count)
                return;
            const std::size_t index = begun++;
            lock.unlock();
            try {
                std::optional<Result> result = work(index);
                lock.lock();
                waiting[index % waiting.size()] = std::move(result);
            } catch (...) {
                lock.lock();
                failure = std::current_exception();
            }
            changed.notify_all();
        }
    };
    progress.Begin(count);
    std::vector<std::jthread> threads;
    try {
        for (unsigned job = 0; job < jobs && job < count; ++job)
            threads.emplace_back(runWorker);
        std::unique_lock lock(mutex);
        while (taken < begun || (taken < count && !isStopped())) {
            std::optional<Result>& slot = waiting[taken % waiting.size()];
            if (failure)
                std::rethrow_exception(failure);
            if (!slot) {
                changed.wait_for(lock, std::chrono::milliseconds(100));
                progress.Show();
                continue;
            }
            const std::optional<Result> result = std::exchange(slot, std::nullopt);
            ++taken;
            changed.notify_all();
            lock.unlock();
            progress.Add(take(taken - 1, *result));
            RequireOutput();
            lock.lock();
        }
    } catch (...) {
        abandoned.request_stop();
        throw;
    }
    progress.Erase();
}

}  // namespace vela::vlgim::tools
