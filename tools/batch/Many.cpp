#include "batch/Many.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace vela::vlgim::tools {

namespace {

void EndBy(int number)
{
    ::signal(number, SIG_DFL);
    ::raise(number);
}

}  // namespace

unsigned DefaultJobs()
{
    return std::max(1U, std::thread::hardware_concurrency());
}

void AddJobs(CLI::App& command, unsigned& jobs)
{
    command.add_option("-j,--jobs", jobs, "Files at a time; the processors, if not given")
        ->check(CLI::Range(1U, 1024U));
}

void EndIfReaderIsGone()
{
    if (Interruptible::Signal() == SIGPIPE)
        EndBy(SIGPIPE);
}

void EndIfInterrupted()
{
    const int number = Interruptible::Signal();
    if (number == 0)
        return;
    std::fflush(stdout);
    std::fprintf(stderr, "vlgim: interrupted\n");
    EndBy(number);
}

void RequireOutput()
{
    if (std::ferror(stdout) && Interruptible::Signal() == 0)
        throw std::runtime_error("the output can't be written");
}

}  // namespace vela::vlgim::tools
