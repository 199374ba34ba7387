#pragma once

namespace platform {

/// Each has what the one ahead of it has. kBase is what the compiler was told that every machine has.
enum class InstructionSet { kBase, kSse4, kAvx2, kAvx512 };

/// The best that both the processor and the system have, as Highway counts them. A virtual machine takes long to tell.
InstructionSet FindInstructionSet();

}  // namespace platform
