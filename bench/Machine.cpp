#include "Machine.h"

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
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512vl"))
        return "AVX-512";
    if (__builtin_cpu_supports("avx2"))
        return "AVX2";
#endif
    return "baseline";
}

}  // namespace

const Machine& ThisMachine()
{
    static const Machine machine{::sysconf(_SC_PAGESIZE), std::atol(HugePageFile("hpage_pmd_size").c_str()),
                                 HugePages(), InstructionSet()};
    return machine;
}

}  // namespace vela::vlgim::bench
