#pragma once

namespace platform {

/// Returns the arguments of main in UTF-8, like all paths in the program; on POSIX systems unchanged. They are valid as
/// long as the process runs.
char** Arguments(int argc, char** argv);

}  // namespace platform
