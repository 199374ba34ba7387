#include <platform/Processor.h>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace vela::platform {

// What Highway lets the compiler use for each, and that the system saves the registers.
InstructionSet FindInstructionSet()
{
#if defined(__x86_64__)
    unsigned a = 0, b = 0, c = 0, d = 0;
    const bool hasF16c = __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_F16C) != 0;
    const bool hasSse4 =
        __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("aes") && __builtin_cpu_supports("pclmul");
    const bool hasAvx2 = hasSse4 && hasF16c && __builtin_cpu_supports("avx2") &&
                         __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
                         __builtin_cpu_supports("fma");
    const bool hasAvx512 = hasAvx2 && __builtin_cpu_supports("avx512f") &&
                           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
                           __builtin_cpu_supports("avx512bw");
    // Each includes those before it, so their number is the best one's.
    return static_cast<InstructionSet>(hasSse4 + hasAvx2 + hasAvx512);
#else
    return InstructionSet::kBase;
#endif
}

}  // namespace vela::platform
