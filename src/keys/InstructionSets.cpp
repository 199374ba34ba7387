#include "keys/InstructionSets.h"

#include <algorithm>
#include <atomic>

namespace vela::vlgim::keys {

namespace {

std::atomic<InstructionSet> allowed = InstructionSet::kAvx512;

}  // namespace

InstructionSet BestInstructionSet()
{
    // Asked for once: a virtual machine takes long to tell.
    static const InstructionSet best = platform::FindInstructionSet();
    return std::min(best, allowed.load(std::memory_order_relaxed));
}

void HoldTo(InstructionSet most)
{
    allowed = most;
}

}  // namespace vela::vlgim::keys
