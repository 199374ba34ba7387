#include "batch/Many.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace vela::vlgim::tools {

unsigned DefaultJobs()
{
    return std::max(1U, std::thread::hardware_concurrency());
}

void AddJobs(CLI::App& command, unsigned& jobs)
{
    command
        .add_option("-j,--jobs", jobs,
                    "Number of files to process in parallel; default: number of processors")
        ->check(CLI::Range(1U, 1024U));
}

void EndIfReaderIsGone()
{
    std::fflush(stdout);  // which may be what meets no reader
    if (platform::IsReaderGone())
        platform::EndInterrupted();
}

void EndIfInterrupted()
{
    EndIfReaderIsGone();
    if (!platform::IsInterrupted())
        return;
    std::fprintf(stderr, "vlgim: interrupted\n");
    platform::EndInterrupted();
}

void RequireOutput()
{
    if (std::ferror(stdout) && !platform::IsInterrupted())
        throw std::runtime_error("the output can't be written");
}

}  // namespace vela::vlgim::tools
