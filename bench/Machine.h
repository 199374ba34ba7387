#pragma once

#include <string>

namespace vela::vlgim::bench {

/// What of the machine decides which goal holds.
struct Machine {
    long pageSize;               ///< bytes
    long hugePageSize;           ///< bytes; 0: the system has none
    std::string hugePages;       ///< for whom: "always", "madvise" (who asks for them), "never"
    const char* instructionSet;  ///< "AVX-512", "AVX2" or "baseline"

    bool HasHugePages() const { return hugePages == "always" || hugePages == "madvise"; }
    bool HasAvx512() const { return instructionSet == std::string("AVX-512"); }
};

const Machine& ThisMachine();

}  // namespace vela::vlgim::bench
