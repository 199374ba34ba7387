#include "Machine.h"

#include <keys/InstructionSets.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace vela::vlgim::bench {

namespace {

std::string HugePageFile(const char* name)
{
    std::ifstream file(std::string("/sys/kernel/mm/transparent_hugepage/") + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The choice that is in force stands in brackets: "always [madvise] never".
std::string HugePages()
{
    const std::string choices = HugePageFile("enabled");
    const auto begin = choices.find('['), end = choices.find(']');
    return end == std::string::npos ? "never" : choices.substr(begin + 1, end - begin - 1);
}

const char* InstructionSet()
{
    constexpr const char* kNames[] = {"baseline", "SSE4", "AVX2", "AVX-512"};
    return kNames[static_cast<int>(keys::BestInstructionSet())];
}

}  // namespace

const Machine& ThisMachine()
{
    static const Machine machine{::sysconf(_SC_PAGESIZE), std::atol(HugePageFile("hpage_pmd_size").c_str()),
                                 HugePages(), InstructionSet()};
    return machine;
}

}  // namespace vela::vlgim::bench
