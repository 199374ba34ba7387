#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace vela::vlgim::fuzz {

/// Ends the run with a message, so that the input is kept.
[[noreturn]] inline void Fail(const std::string& message)
{
    std::fprintf(stderr, "== vlgim: %s\n", message.c_str());
    std::abort();
}

inline void Check(bool holds, const std::string& message)
{
    if (!holds)
        Fail(message);
}

}  // namespace vela::vlgim::fuzz
