#pragma once

#include "batch/Progress.h"

#include <vlgim/Findings.h>

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace vela::vlgim::tools {

struct Input {
    std::string path;
    std::string trouble;  ///< why the folder of this path can't be read; empty: it is a file
    FileKind kind = FileKind::Unknown;
};

/// The files that a command goes through, in ascending order of the bytes of their paths, each path once.
struct Inputs {
    std::vector<Input> leaders;      ///< models, animations, tracks, and whatever is of no known kind
    std::vector<Input> followers;    ///< meshes, documents, side files of clips: they belong to other files
    std::vector<std::string> roots;  ///< folders that were given, and those that hold a file that was given
};

/// The paths that a command is given.
struct InputOptions {
    std::vector<std::string>
        paths;  ///< files, whatever they are and whether they exist; folders; "-": a list on stdin
    bool isNulSeparated = false;  ///< the list on stdin; otherwise it has a path on each line
    bool allowsNone = false;      ///< no file is no error
};

/// Gives a command the paths, --null and --allow-empty.
/// description  of the paths
void AddInputs(CLI::App& command, InputOptions& options, const std::string& description);

/// Finds the files of models. Below a folder those with an extension of theirs, and tracks, which have none; what begins
/// with a dot is passed over, links to folders are not followed, those to files are. A side file that has its animation
/// beside its folder is passed over, too: it is read with that.
/// progress  shows now and then how many were found, and is erased at the end
/// Throws std::runtime_error if there is no file and that is not allowed.
Inputs FindInputs(const InputOptions& options, Progress& progress);

}  // namespace vela::vlgim::tools
