#pragma once

#include <platform/Processor.h>

// Chooses among the vector code, which is compiled once for each instruction set. Highway could choose itself, but its
// library measures a clock when it is loaded, at the start of every process. That takes as long as loading ten meshes
// of 144 KB, so only its headers are used.
namespace vela::vlgim::keys {

using platform::InstructionSet;

/// Returns the best instruction set of this machine, or the limit set by HoldTo if that is lower.
InstructionSet BestInstructionSet();

/// For tests: limits BestInstructionSet to `most` until the next call; kAvx512 removes the limit. Not while another
/// thread reads or writes a file.
void HoldTo(InstructionSet most);

/// Returns the best version of a function or table for this machine. Null means that a version was not compiled; `base`
/// is never null.
template <class Version>
Version BestOf(Version avx512, Version avx2, Version sse4, Version base)
{
    const InstructionSet best = BestInstructionSet();
    if (avx512 && best >= InstructionSet::kAvx512)
        return avx512;
    if (avx2 && best >= InstructionSet::kAvx2)
        return avx2;
    return sse4 && best >= InstructionSet::kSse4 ? sse4 : base;
}

}  // namespace vela::vlgim::keys
