#pragma once

namespace vela::platform {

/// Each instruction set includes those before it. kBase is what the compiler may assume of every machine.
enum class InstructionSet { kBase, kSse4, kAvx2, kAvx512 };

/// Returns the best instruction set that both the processor and the system support, by Highway's definitions. The call
/// is slow on a virtual machine.
InstructionSet FindInstructionSet();

}  // namespace vela::platform
