#pragma once

#include "batch/InOrder.h"
#include "batch/Progress.h"

#include <cstddef>

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

/// Work on many files, in order, with its progress on stderr.
template <class Result>
class Many {
public:
    explicit Many(unsigned jobs) : m_results(jobs) {}

    Progress& Status() { return m_progress; }

    /// As InOrder::Run. take gives the bytes that were read for the result.
    template <class Work, class Take>
    void Run(std::size_t count, const Work& work, const Take& take)
    {
        m_progress.Begin(count);
        m_results.Run(
            count, work,
            [&](std::size_t i, const Result& result) {
                m_progress.Add(take(i, result));
                RequireOutput();
            },
            [this] { m_progress.Show(); });
        m_progress.Erase();
    }

private:
    InOrder<Result> m_results;
    Progress m_progress;
};

}  // namespace vela::vlgim::tools
