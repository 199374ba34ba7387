#pragma once

namespace platform {

/// The arguments of main in UTF-8, which is what paths are everywhere else. They live as long as the process.
char** Arguments(int argc, char** argv);

}  // namespace platform
