#pragma once

#include <platform/Processor.h>

// Which of the wide code, compiled once for each instruction set, runs on this machine. Highway would choose by itself,
// but its library measures a clock when it is loaded, at the start of every process, for as long as ten meshes of
// 144 KB take. So its headers alone are used.
namespace vela::vlgim::keys {

using platform::InstructionSet;

/// The best one of this machine.
InstructionSet BestInstructionSet();

/// For tests: from here on none is better than `most`. Not while another thread reads or writes a file.
void HoldTo(InstructionSet most);

/// The best of a function for this machine; null stands for one that was not compiled.
template <class Function>
Function BestOf(Function avx512, Function avx2, Function sse4, Function base)
{
    const InstructionSet best = BestInstructionSet();
    if (avx512 && best >= InstructionSet::kAvx512)
        return avx512;
    if (avx2 && best >= InstructionSet::kAvx2)
        return avx2;
    return sse4 && best >= InstructionSet::kSse4 ? sse4 : base;
}

}  // namespace vela::vlgim::keys
